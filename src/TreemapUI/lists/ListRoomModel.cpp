#include "lists/ListRoomModel.h"

#include "DiskScanKit/CheckedSize.h"
#include "support/QtText.h"

namespace tessel {

ListRoomModel::ListRoomModel(ScannedTree& tree, RowActions actions, QSettings* settings, const char* orderKey,
                             MapListOrder byDefault, QObject* parent)
    : QObject(parent), tree_(tree), actions_(std::move(actions)), settings_(settings), orderKey_(orderKey),
      order_(byDefault) {
    rows_->setSelection(&selection_);
    if (settings_ != nullptr && orderKey_ != nullptr)
        order_ = MapListOrder::fromRawValue(settings_->value(orderKey_).toString().toStdString()).value_or(byDefault);
    connect(&tree_, &ScannedTree::replaced, this, &ListRoomModel::treeReplaced);
    // Rows of what left would offer it again; the list goes until it is filled anew.
    connect(&tree_, &ScannedTree::changed, this, &ListRoomModel::treeReplaced);
}

ListRoomModel::~ListRoomModel() { relay_->detach(); }

MapListOrder ListRoomModel::listOrder() const { return order_; }

ListRoomModel::Answer ListRoomModel::answerFrom(const SearchResults& results) {
    Answer answer;
    answer.rows.reserve(results.matches.size());
    for (FileNode* node : results.matches) answer.rows.push_back(NodeListModel::rowFor(node));
    answer.totalMatched = results.totalMatched;
    answer.totalBytes = results.totalBytes;
    answer.truncated = results.truncated;
    return answer;
}

QString ListRoomModel::order() const { return toQString(listOrder().rawValue()); }

void ListRoomModel::setOrder(const QString& raw) {
    std::optional<MapListOrder> chosen = MapListOrder::fromRawValue(raw.toStdString());
    if (!chosen || *chosen == order_) return;
    order_ = *chosen;
    if (settings_ != nullptr && orderKey_ != nullptr) settings_->setValue(orderKey_, toQString(chosen->rawValue()));
    rows_->sort(*chosen);
    emit orderChanged();
}

qint64 ListRoomModel::listedBytes() const {
    std::int64_t sum = 0;
    for (const NodeListModel::Row& row : rows_->rows()) sum = checkedAdd(sum, row.item.bytes);
    return sum;
}

void ListRoomModel::treeReplaced() {
    root_ = tree_.root();
    answer_ = {};
    rows_->clear();
    emit listChanged();
    fill();
}

std::vector<std::string> ListRoomModel::shownIds() const {
    std::vector<std::string> ids;
    ids.reserve(rows_->rows().size());
    for (const NodeListModel::Row& row : rows_->rows()) ids.push_back(row.item.id);
    return ids;
}

void ListRoomModel::selectionChanged() {
    rows_->selectionChanged();
    emit chosenChanged();
}

void ListRoomModel::choose(int row, int modifiers) {
    if (row < 0) return;
    selection_.click(shownIds(), static_cast<std::size_t>(row), RowActions::gestureOf(modifiers));
    selectionChanged();
}

void ListRoomModel::pointAt(int row) {
    if (row < 0) return;
    selection_.pointAt(shownIds(), static_cast<std::size_t>(row));
    selectionChanged();
}

void ListRoomModel::chooseNone() {
    if (selection_.empty()) return;
    selection_.clear();
    selectionChanged();
}

std::vector<const FileNode*> ListRoomModel::chosenNodes() const {
    std::vector<const FileNode*> nodes;
    for (std::size_t index : selection_.indexesIn(shownIds()))
        if (const FileNode* node = rows_->rows()[index].item.node) nodes.push_back(node);
    return nodes;
}

qint64 ListRoomModel::chosenBytes() const { return RowActions::bytesOf(chosenNodes()); }

QString ListRoomModel::chosenName() const { return RowActions::nameOf(chosenNodes()); }

void ListRoomModel::moveChosenToTrash() { actions_.moveToTrash(chosenNodes()); }

void ListRoomModel::showChosenInFiles() { actions_.showInFiles(chosenNodes()); }

void ListRoomModel::openChosen() { actions_.open(chosenNodes()); }

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
    tree_.read([relay = relay_, self, generation, root = root_, work = std::move(work)](FileNode& tree) {
        Answer answer = work(tree);
        relay->post([self, generation, root, answer = std::move(answer)]() mutable {
            if (generation != self->generation_) return;
            self->answer_ = {{}, answer.totalMatched, answer.totalBytes, answer.truncated};
            self->rows_->reset(root, std::move(answer.rows), root->totalBytes(), self->listOrder());
            // What left the list is no longer chosen; what stayed still is.
            self->selection_.keepOnly(self->shownIds());
            self->setWorking(false);
            emit self->listChanged();
            emit self->chosenChanged();
        });
    });
}

} // namespace tessel
