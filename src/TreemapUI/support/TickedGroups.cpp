#include "support/TickedGroups.h"

namespace tessel {

QString tickWord(TickState state) {
    switch (state) {
    case TickState::all: return QStringLiteral("all");
    case TickState::some: return QStringLiteral("some");
    case TickState::none: break;
    }
    return QStringLiteral("none");
}

QVariant TickedGroupList::data(const QModelIndex& index, int role) const {
    const Row* at = rowAt(index);
    if (at == nullptr) return {};
    const Row& row = *at;
    switch (role) {
    case groupIdRole: return row.groupId;
    case titleRole: return row.title;
    case summaryRole: return row.summary;
    case sizeRole: return row.size;
    case tickStateRole: return row.tickState;
    case tickableRole: return row.tickable;
    case itemsRole: return row.items;
    default: return {};
    }
}

QHash<int, QByteArray> TickedGroupList::roleNames() const {
    return {{groupIdRole, "groupId"}, {titleRole, "title"},         {summaryRole, "summary"}, {sizeRole, "size"},
            {tickStateRole, "tickState"}, {tickableRole, "tickable"}, {itemsRole, "items"}};
}

QVariantMap TickedGroupList::tag(const QString& text, const QString& tone) {
    return {{QStringLiteral("text"), text}, {QStringLiteral("tone"), tone}};
}

} // namespace tessel
