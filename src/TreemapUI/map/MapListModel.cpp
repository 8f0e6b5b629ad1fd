#include "map/MapListModel.h"

#include "support/QtText.h"

namespace tessel {

void MapListModel::reset(std::vector<MapItem> items, std::int64_t total, MapListOrder order) {
    beginResetModel();
    entries_.clear();
    roots_ = MapRow::rows(std::move(items), order, total);
    entries_.reserve(roots_.size());
    for (MapRow& row : roots_) entries_.push_back({&row, 0});
    endResetModel();
}

int MapListModel::descendantCount(int index) const {
    const int depth = entries_[static_cast<std::size_t>(index)].depth;
    int count = 0;
    for (auto i = static_cast<std::size_t>(index) + 1; i < entries_.size() && entries_[i].depth > depth; ++i) ++count;
    return count;
}

void MapListModel::toggle(int row) {
    if (row < 0 || row >= rowCount()) return;
    Entry& entry = entries_[static_cast<std::size_t>(row)];
    if (!entry.row->hasChildren()) return;
    const QModelIndex changed = index(row);
    if (entry.expanded) {
        const int count = descendantCount(row);
        entry.expanded = false;
        if (count > 0) {
            beginRemoveRows({}, row + 1, row + count);
            entries_.erase(entries_.begin() + row + 1, entries_.begin() + row + 1 + count);
            endRemoveRows();
        }
    } else {
        std::vector<MapRow>& children = entry.row->children();
        const int depth = entry.depth + 1;
        entry.expanded = true;
        if (!children.empty()) {
            std::vector<Entry> added;
            added.reserve(children.size());
            for (MapRow& child : children) added.push_back({&child, depth});
            beginInsertRows({}, row + 1, row + static_cast<int>(added.size()));
            entries_.insert(entries_.begin() + row + 1, added.begin(), added.end());
            endInsertRows();
        }
    }
    emit dataChanged(changed, changed, {ExpandedRole});
}

void MapListModel::dimmingChanged() {
    if (rowCount() > 0) emit dataChanged(index(0), index(rowCount() - 1), {DimmedRole});
}

int MapListModel::rowOf(const QString& itemId) const {
    const std::string id = toBytes(itemId);
    for (std::size_t row = 0; row < entries_.size(); ++row)
        if (entries_[row].row->item().id == id) return static_cast<int>(row);
    return -1;
}

const MapItem* MapListModel::itemAt(int row) const {
    if (row < 0 || row >= rowCount()) return nullptr;
    return &entries_[static_cast<std::size_t>(row)].row->item();
}

int MapListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

QVariant MapListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Entry& entry = entries_[static_cast<std::size_t>(index.row())];
    const MapItem& item = entry.row->item();
    switch (role) {
    case Qt::DisplayRole:
    case NameRole: return toQString(item.name);
    case IdRole: return toQString(item.id);
    case BytesRole: return static_cast<qint64>(item.bytes);
    case ShareRole: return entry.row->share();
    case KindRole: return toQString(kindTitle(item));
    case DepthRole: return entry.depth;
    case ExpandableRole: return entry.row->hasChildren();
    case ExpandedRole: return entry.expanded;
    case SymbolRole: return toQString(symbol(item));
    case NavigableRole: return item.isNavigable();
    case DimmedRole: return dims_ && dims_(item);
    default: return {};
    }
}

QHash<int, QByteArray> MapListModel::roleNames() const {
    return {{IdRole, "itemId"},   {NameRole, "name"},     {BytesRole, "bytes"},           {ShareRole, "share"},
            {KindRole, "kind"},   {DepthRole, "depth"},   {ExpandableRole, "expandable"}, {ExpandedRole, "expanded"},
            {SymbolRole, "symbol"}, {NavigableRole, "navigable"}, {DimmedRole, "dimmed"}};
}

} // namespace tessel
