#pragma once
// Things found in groups, each to be ticked or not before they go to the
// Trash: the list a room shows (one row per group, its items in one role),
// a group's tick box over the items that may be ticked at all, and pressing
// it. The junk room and the leftovers room both stand on this.

#include <QString>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <set>
#include <string>

#include "support/RowListModel.h"

namespace tessel {

enum class TickState { none, some, all };

// "none", "some" or "all", as the rooms' tick boxes read it.
QString tickWord(TickState state);

// Over the tickable items of a group; a group with none of them is `none`.
template <class Items, class IsTickable>
TickState tickStateOf(const Items& items, const std::set<std::string>& selection, IsTickable isTickable) {
    std::size_t tickable = 0;
    std::size_t ticked = 0;
    for (const auto& item : items) {
        if (!isTickable(item)) continue;
        ++tickable;
        if (selection.contains(item.path)) ++ticked;
    }
    if (ticked == 0) return TickState::none;
    return ticked == tickable ? TickState::all : TickState::some;
}

// A group's tick box pressed: all of it ticked when some or none were, all unticked when all were.
template <class Items, class IsTickable>
void toggleGroup(const Items& items, std::set<std::string>& selection, IsTickable isTickable) {
    const bool untick = tickStateOf(items, selection, isTickable) == TickState::all;
    for (const auto& item : items) {
        if (untick) selection.erase(item.path);
        else if (isTickable(item)) selection.insert(item.path);
    }
}

struct TickedGroupRow {
    QString groupId;
    QString title;
    QString summary;
    QString size;
    QString tickState; // tickWord
    bool tickable = false;
    // Each a map: path, name, size, note, ticked, tickable, and tags (a list of {text, tone}).
    QVariantList items;
};

class TickedGroupList : public RowListModel<TickedGroupRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A room fills it")

public:
    enum Role { groupIdRole = Qt::UserRole + 1, titleRole, summaryRole, sizeRole, tickStateRole, tickableRole, itemsRole };
    using Row = TickedGroupRow;

    using RowListModel::RowListModel;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // A row's tag: "warning" or "quiet" tone.
    static QVariantMap tag(const QString& text, const QString& tone);
};

} // namespace tessel
