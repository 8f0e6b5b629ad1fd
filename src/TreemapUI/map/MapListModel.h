#pragma once
// The map as a list: one row per item of the place, in the chosen order, each
// opening into its children in place. Rows are built as they are opened, so
// a folder of a million files costs nothing until someone looks inside.

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <vector>

#include "map/MapList.h"

namespace tessel {

class MapListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The map owns its list")
public:
    enum Role { IdRole = Qt::UserRole + 1, NameRole, BytesRole, ShareRole, KindRole, DepthRole, ExpandableRole, ExpandedRole, SymbolRole, NavigableRole, DimmedRole };

    using QAbstractListModel::QAbstractListModel;

    void reset(std::vector<MapItem> items, std::int64_t total, MapListOrder order);
    // Which rows are shown faded; asked again of every row when dimmingChanged is called.
    void setDimming(std::function<bool(const MapItem&)> dims) { dims_ = std::move(dims); }
    void dimmingChanged();
    // The row showing the item `itemId`, or -1.
    Q_INVOKABLE int rowOf(const QString& itemId) const;
    Q_INVOKABLE void toggle(int row);
    const MapItem* itemAt(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    struct Entry {
        MapRow* row;
        int depth;
        bool expanded = false;
    };
    // How many entries below `index` belong to it (its open descendants).
    int descendantCount(int index) const;

    std::vector<MapRow> roots_;
    std::vector<Entry> entries_;
    std::function<bool(const MapItem&)> dims_;
};

} // namespace tessel
