#include "tools/systemdata/SystemDataModel.h"

#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>

#include "DiskScanKit/ByteFormat.h"
#include "TrashKit/RemovalSheet.h"
#include "support/QtText.h"

namespace tessel {

SystemDataModel::Dependencies SystemDataModel::Dependencies::system(const std::string& root) {
    Dependencies dependencies;
    dependencies.find = [settings = SystemDataFinder::forMachine(root)](const std::function<bool()>& isCancelled) {
        return SystemDataFinder(settings).find(isCancelled);
    };
    dependencies.copy = [](const QString& text) {
        if (QClipboard* clipboard = QGuiApplication::clipboard()) clipboard->setText(text);
    };
    return dependencies;
}

SystemDataModel::SystemDataModel(Dependencies dependencies, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)) {}

SystemDataModel::~SystemDataModel() = default;

void SystemDataModel::run() {
    if (!dependencies_.find) return;
    search_.start([find = dependencies_.find](const auto&, const auto& isCancelled) { return find(isCancelled); },
                  [this](SystemDataReport report) { received(std::move(report)); });
}

void SystemDataModel::cancel() { search_.stop(); }

void SystemDataModel::received(SystemDataReport report) {
    report_ = std::move(report);
    std::ranges::stable_sort(report_.rows, [](const SystemDataRow& a, const SystemDataRow& b) { return a.bytes > b.bytes; });
    emit resultChanged();
}

void SystemDataModel::copyCommand(const QString& command) {
    if (dependencies_.copy) dependencies_.copy(command);
}

QVariantList SystemDataModel::rows() const {
    QVariantList list;
    for (const SystemDataRow& row : report_.rows)
        list << QVariantMap{
            {QStringLiteral("id"), toQString(row.id)},
            {QStringLiteral("title"), toQString(row.title)},
            {QStringLiteral("path"), toQString(row.path)},
            {QStringLiteral("size"), toQString(ByteFormat::string(row.bytes))},
            {QStringLiteral("note"), toQString(row.note)},
            {QStringLiteral("command"), toQString(row.howToRemove)},
            {QStringLiteral("opensTrash"), row.id.starts_with("trash:")},
            {QStringLiteral("commandNote"), row.howToRemove.starts_with("sudo ") ? QStringLiteral("Only an administrator may remove this, with:")
                                            : row.howToRemove.empty()           ? QString()
                                                                                : QStringLiteral("Removed with:")},
        };
    return list;
}

QString SystemDataModel::openTrashHelp() const { return toQString(RemovalSheet::openTrashHelp()); }

QStringList SystemDataModel::unreadable() const {
    QStringList list;
    for (const std::string& path : report_.unreadable) list << toQString(path);
    return list;
}

} // namespace tessel
