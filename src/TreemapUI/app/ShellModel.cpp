#include "app/ShellModel.h"

#include <QDesktopServices>
#include <QUrl>

#include "support/QtText.h"

namespace tessel {

ShellModel::ShellModel(QObject* parent) : QObject(parent) {}

QString ShellModel::room() const { return toQString(room_.id()); }

void ShellModel::setRoom(const QString& id) {
    std::optional<AppShell::Room> room = AppShell::Room::fromId(id.toStdString());
    if (!room || *room == room_) return;
    room_ = *room;
    emit roomChanged();
}

QString ShellModel::roomTitle() const { return toQString(AppShell::title(room_)); }

QString ShellModel::comingSentence() const { return toQString(AppShell::comingSentence(room_)); }

QVariantList ShellModel::sections() const {
    QVariantList list;
    for (const AppShell::Section& section : AppShell::sections()) {
        QVariantList items;
        for (const AppShell::Item& item : section.items)
            items.append(QVariantMap{{"room", toQString(item.room.id())},
                                     {"title", toQString(item.title)},
                                     {"symbol", toQString(item.symbol)}});
        list.append(QVariantMap{{"title", section.title ? toQString(*section.title) : QString()},
                                {"items", items}});
    }
    return list;
}

QStringList ShellModel::roomIds() const { return sidebarRoomIds(); }

QStringList ShellModel::sidebarRoomIds() {
    QStringList ids;
    for (const AppShell::Section& section : AppShell::sections())
        for (const AppShell::Item& item : section.items) ids.append(toQString(item.room.id()));
    return ids;
}

QStringList ShellModel::allRoomIds() {
    QStringList ids = sidebarRoomIds();
    ids.append(toQString(AppShell::Room{AppShell::Room::Kind::tool, ToolsView::Tool::changes}.id()));
    return ids;
}

bool ShellModel::showRoom(const QString& name) {
    std::optional<AppShell::Room> room = AppShell::roomForRequest(name.toStdString());
    if (!room) return false;
    setRoom(toQString(room->id()));
    emit raiseRequested();
    return true;
}

void ShellModel::openHelp() { QDesktopServices::openUrl(QUrl(QStringLiteral("https://tesselworks.com/help"))); }

void ShellModel::contactSupport() { QDesktopServices::openUrl(QUrl(QStringLiteral("mailto:support@tesselworks.com"))); }

} // namespace tessel
