#include "tools/ToolModels.h"

#include "app/SettingsKeys.h"

namespace tessel {

ToolModels::ToolModels(QSettings* settings, ChangesModel::Environment changes, std::string home, QObject* parent)
    : QObject(parent), settings_(settings), hidden_(settings, this), changes_(std::move(changes), this),
      duplicates_({std::move(home), settings}, this), report_(this) {}

void ToolModels::scanCompleted(const std::shared_ptr<FileNode>& root, bool savesSnapshot) {
    scannedAt_ = QDateTime::currentDateTime();
    hidden_.scanCompleted(root);
    changes_.scanCompleted(root, savesSnapshot);
    duplicates_.scanCompleted(root);
    report_.scanCompleted(root, scannedAt_);
    emit scanned();
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
