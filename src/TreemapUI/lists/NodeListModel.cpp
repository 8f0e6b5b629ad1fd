#include "lists/NodeListModel.h"

#include <algorithm>

#include "support/QtText.h"

namespace tessel {

NodeListModel::Row NodeListModel::rowFor(FileNode* node) {
    Row row;
    row.item = MapItem::fromNode(node);
    row.folder = node->parent() != nullptr ? node->parent()->path() : std::string();
    row.note = FolderReadings::note(node->reading());
    return row;
}

void NodeListModel::reset(std::shared_ptr<FileNode> root, std::vector<Row> rows, std::int64_t total, MapListOrder order) {
    beginResetModel();
    root_ = std::move(root);
    rows_ = std::move(rows);
    total_ = total;
    std::stable_sort(rows_.begin(), rows_.end(), [&](const Row& a, const Row& b) { return order.before(a.item, b.item); });
    endResetModel();
    emit countChanged();
}

void NodeListModel::sort(MapListOrder order) {
    beginResetModel();
    std::stable_sort(rows_.begin(), rows_.end(), [&](const Row& a, const Row& b) { return order.before(a.item, b.item); });
    endResetModel();
}

void NodeListModel::selectionChanged() {
    if (!rows_.empty()) emit dataChanged(index(0), index(rowCount() - 1), {ChosenRole});
}

void NodeListModel::clear() { reset(nullptr, {}, 0, {}); }

int NodeListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant NodeListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case NameRole: return toQString(row.item.name);
    case IdRole: return toQString(row.item.id);
    case FolderRole: return toQString(row.folder);
    case KindRole: return toQString(kindTitle(row.item));
    case BytesRole: return static_cast<qint64>(row.item.bytes);
    case ShareRole: return total_ > 0 ? static_cast<double>(row.item.bytes) / static_cast<double>(total_) : 0.0;
    case SymbolRole: return toQString(symbol(row.item));
    case DirectoryRole: return row.item.isNavigable();
    case NoteRole: return toQString(row.note);
    case RebuildsRole: return row.rebuildsItself;
    case ChosenRole: return selection_ != nullptr && selection_->contains(row.item.id);
    default: return {};
    }
}

QHash<int, QByteArray> NodeListModel::roleNames() const {
    return {{IdRole, "itemId"}, {NameRole, "name"},     {FolderRole, "folder"},       {KindRole, "kind"},
            {BytesRole, "bytes"}, {ShareRole, "share"}, {SymbolRole, "symbol"},       {DirectoryRole, "isDirectory"},
            {NoteRole, "note"},   {RebuildsRole, "rebuildsItself"}, {ChosenRole, "chosen"}};
}

} // namespace tessel
