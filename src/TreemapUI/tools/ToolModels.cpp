#include "tools/ToolModels.h"

#include "app/SettingsKeys.h"

namespace tessel {

ToolModels::ToolModels(ScannedTree& tree, RemovalRoad& road, const Desktop& desktop, QSettings* settings,
                       ChangesModel::Environment changes, std::string home, JunkModel::Dependencies junk,
                       LeftoversModel::Dependencies leftovers, StartupItemsModel::Dependencies startup,
                       SystemDataModel::Dependencies systemData, AIDataModel::Dependencies aiData, QObject* parent)
    : QObject(parent), settings_(settings), hidden_(tree, {&road, desktop}, settings, this),
      changes_(std::move(changes), tree, {&road, desktop}, this),
      duplicates_({std::move(home), settings}, tree, road, this), junk_(std::move(junk), road, this),
      leftovers_(std::move(leftovers), road, this), startup_(std::move(startup), road, this),
      systemData_(std::move(systemData), this), aiData_(std::move(aiData), road, this),
      report_(tree, &QDateTime::currentDateTime, this) {
    connect(&tree, &ScannedTree::replaced, this, [this] {
        scannedAt_ = QDateTime::currentDateTime();
        emit scanned();
    });
}

QString ToolModels::reportTab() const {
    const QString stored = settings_ != nullptr ? settings_->value(SettingsKey::reportTab).toString() : QString();
    return stored == QStringLiteral("summary") ? stored : QStringLiteral("changes");
}

void ToolModels::setReportTab(const QString& tab) {
    if (tab == reportTab() || (tab != QStringLiteral("changes") && tab != QStringLiteral("summary"))) return;
    if (settings_ != nullptr) settings_->setValue(SettingsKey::reportTab, tab);
    emit reportTabChanged();
}

} // namespace tessel
