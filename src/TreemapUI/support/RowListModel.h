#pragma once
// A list of plain rows shown to QML by role: what every room's list of
// groups shares (the count QML binds to, replacing the rows whole or one at
// a time). A list adds only how its rows read by role.

#include <QAbstractListModel>

#include <vector>

namespace tessel {

class CountedListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    using QAbstractListModel::QAbstractListModel;

signals:
    void countChanged();
};

template <class Row>
class RowListModel : public CountedListModel {
public:
    using CountedListModel::CountedListModel;

    int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : static_cast<int>(rows_.size()); }
    const std::vector<Row>& rows() const { return rows_; }

    void reset(std::vector<Row> rows) {
        const bool counted = rows.size() != rows_.size();
        beginResetModel();
        rows_ = std::move(rows);
        endResetModel();
        if (counted) emit countChanged();
    }
    void replace(int row, Row value) {
        if (row < 0 || row >= rowCount()) return;
        rows_[static_cast<std::size_t>(row)] = std::move(value);
        emit dataChanged(index(row), index(row));
    }

protected:
    // The row at `index`, none outside the list.
    const Row* rowAt(const QModelIndex& index) const {
        if (!index.isValid() || index.row() >= rowCount()) return nullptr;
        return &rows_[static_cast<std::size_t>(index.row())];
    }

private:
    std::vector<Row> rows_;
};

} // namespace tessel
