#include "lists/ListRoomModel.h"

#include <QtConcurrent/QtConcurrentRun>

#include "scan/TreeAccess.h"

#include "DiskScanKit/CheckedSize.h"

namespace tessel {

ListRoomModel::ListRoomModel(QSettings* settings, const char* orderKey, MapListOrder byDefault, QObject* parent)
    : QObject(parent), settings_(settings), orderKey_(orderKey), order_(byDefault) {
    if (settings_ != nullptr && orderKey_ != nullptr)
        order_ = MapListOrder::fromRawValue(settings_->value(orderKey_).toString().toStdString()).value_or(byDefault);
}

ListRoomModel::~ListRoomModel() { relay_->detach(); }

MapListOrder ListRoomModel::listOrder() const { return order_; }

QString ListRoomModel::order() const { return QString::fromStdString(listOrder().rawValue()); }

void ListRoomModel::setOrder(const QString& raw) {
    std::optional<MapListOrder> chosen = MapListOrder::fromRawValue(raw.toStdString());
    if (!chosen || *chosen == order_) return;
    order_ = *chosen;
    if (settings_ != nullptr && orderKey_ != nullptr) settings_->setValue(orderKey_, QString::fromStdString(chosen->rawValue()));
    rows_->sort(*chosen);
    emit orderChanged();
}

qint64 ListRoomModel::listedBytes() const {
    std::int64_t sum = 0;
    for (const NodeListModel::Row& row : rows_->rows()) sum = checkedAdd(sum, row.item.bytes);
    return sum;
}

void ListRoomModel::scanCompleted(const std::shared_ptr<FileNode>& root) {
    root_ = root;
    answer_ = {};
    rows_->clear();
    emit listChanged();
}

void ListRoomModel::setWorking(bool working) {
    if (working == working_) return;
    working_ = working;
    emit workingChanged();
}

void ListRoomModel::refresh(Work work) {
    const int generation = ++generation_;
    if (!root_) return;
    setWorking(true);
    ListRoomModel* self = this;
    (void)QtConcurrent::run([relay = relay_, self, generation, root = root_, work = std::move(work)] {
        Answer answer = [&] {
            std::shared_lock reading(TreeAccess::lock());
            return work(*root);
        }();
        relay->post([self, generation, root, answer = std::move(answer)]() mutable {
            if (generation != self->generation_) return;
            self->answer_ = {{}, answer.totalMatched, answer.totalBytes, answer.truncated};
            self->rows_->reset(root, std::move(answer.rows), root->totalBytes(), self->listOrder());
            self->setWorking(false);
            emit self->listChanged();
        });
    });
}

} // namespace tessel
