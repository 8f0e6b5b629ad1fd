#pragma once
// A list of plain rows shown to QML by role: what every room's list of
// groups shares (the count QML binds to, replacing the rows whole or one at
// a time). A list adds only how its rows read by role, or lets the rows say
// it with a table of fields (FieldListModel).

#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QVariant>

#include <variant>
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

// A field of a plain row as QML reads it: the role's name and the member it reads.
template <class Row>
struct RowField {
    QByteArray name;
    std::variant<QString Row::*, bool Row::*, QVariantMap Row::*, QVariantList Row::*> member;
    QVariant read(const Row& row) const {
        return std::visit([&](auto field) { return QVariant::fromValue(row.*field); }, member);
    }
};

// A list whose rows name their own roles: Row::fields(), the field at i being
// role Qt::UserRole + 1 + i. A list adds nothing but its QML registration.
template <class Row>
class FieldListModel : public RowListModel<Row> {
public:
    using RowListModel<Row>::RowListModel;

    QVariant data(const QModelIndex& index, int role) const override {
        const Row* row = this->rowAt(index);
        const auto& fields = Row::fields();
        const int at = role - Qt::UserRole - 1;
        if (row == nullptr || at < 0 || at >= static_cast<int>(fields.size())) return {};
        return fields[static_cast<std::size_t>(at)].read(*row);
    }
    QHash<int, QByteArray> roleNames() const override {
        QHash<int, QByteArray> names;
        const auto& fields = Row::fields();
        for (std::size_t i = 0; i < fields.size(); ++i) names.insert(Qt::UserRole + 1 + static_cast<int>(i), fields[i].name);
        return names;
    }
};

} // namespace tessel
