#pragma once
// Rows of the tree for the rooms that list things: the largest files, search
// results, hidden items. Each row is an item of the map (so it sorts, names
// and draws its icon the same way) with the folder it lies in and, for hidden
// items, a note on what it is. The model keeps the tree alive while it shows it.

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "map/MapList.h"
#include "support/RowSelection.h"

namespace tessel {

class NodeListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Rooms own their lists")
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
public:
    struct Row {
        MapItem item;
        std::string folder;
        std::string note;
        bool rebuildsItself = false;
    };
    enum Role { IdRole = Qt::UserRole + 1, NameRole, FolderRole, KindRole, BytesRole, ShareRole, SymbolRole,
                DirectoryRole, NoteRole, RebuildsRole, ChosenRole };

    using QAbstractListModel::QAbstractListModel;

    // Rows of the nodes of `root`'s tree, shares taken of `total`.
    static Row rowFor(FileNode* node);
    void reset(std::shared_ptr<FileNode> root, std::vector<Row> rows, std::int64_t total, MapListOrder order);
    void sort(MapListOrder order);
    void clear();
    const std::vector<Row>& rows() const { return rows_; }
    // Which rows are chosen; the room that owns the list owns the selection.
    void setSelection(const RowSelection* selection) { selection_ = selection; }
    // The selection changed: every row's chosen mark is read again.
    void selectionChanged();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();

private:
    std::shared_ptr<FileNode> root_;
    std::vector<Row> rows_;
    std::int64_t total_ = 0;
    const RowSelection* selection_ = nullptr;
};

} // namespace tessel
