#pragma once
// What the rooms that list parts of the tree share: the list, its order kept
// under the room's own key, and the work of filling it, done off the main
// thread and published only if no newer request came since. A room fills its
// list again whenever the scanned tree is replaced or changes.

#include <QObject>
#include <QSettings>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>

#include "DiskScanKit/FileSearch.h"
#include "lists/NodeListModel.h"
#include "scan/ScannedTree.h"
#include "support/MainThreadRelay.h"

namespace tessel {

class ListRoomModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A base of the list rooms")
    Q_PROPERTY(tessel::NodeListModel* rows READ rows CONSTANT)
    Q_PROPERTY(QString order READ order WRITE setOrder NOTIFY orderChanged)
    Q_PROPERTY(bool working READ working NOTIFY workingChanged)
    Q_PROPERTY(bool hasTree READ hasTree NOTIFY listChanged)
    Q_PROPERTY(qint64 totalMatched READ totalMatched NOTIFY listChanged)
    Q_PROPERTY(qint64 totalBytes READ totalBytes NOTIFY listChanged)
    Q_PROPERTY(bool truncated READ truncated NOTIFY listChanged)
    Q_PROPERTY(qint64 listedBytes READ listedBytes NOTIFY listChanged)

public:
    // What one filling found: the rows to show, and how many there were in all.
    struct Answer {
        std::vector<NodeListModel::Row> rows;
        std::int64_t totalMatched = 0;
        std::int64_t totalBytes = 0;
        bool truncated = false;
    };
    using Work = std::function<Answer(FileNode& root)>;
    static constexpr int mostRows = 500;
    static constexpr MapListOrder largestFirst{MapListOrder::Key::size, false};
    // The rows of what a search of the tree found.
    static Answer answerFrom(const SearchResults& results);

    // `orderKey` may be null: the order is then kept for the session only.
    ListRoomModel(ScannedTree& tree, QSettings* settings, const char* orderKey, MapListOrder byDefault,
                  QObject* parent = nullptr);
    ~ListRoomModel() override;

    NodeListModel* rows() const { return rows_.get(); }
    QString order() const;
    void setOrder(const QString& raw);
    MapListOrder listOrder() const;
    bool working() const { return working_; }
    bool hasTree() const { return root_ != nullptr; }
    qint64 totalMatched() const { return answer_.totalMatched; }
    qint64 totalBytes() const { return answer_.totalBytes; }
    bool truncated() const { return answer_.truncated; }
    // The rows shown, added up.
    qint64 listedBytes() const;
    const std::shared_ptr<FileNode>& root() const { return root_; }

signals:
    void orderChanged();
    void workingChanged();
    void listChanged();

protected:
    // Starts filling the list for the tree as it stands.
    virtual void fill() = 0;
    // Fills the list from the tree in the background; an empty tree empties it.
    void refresh(Work work);

private:
    void setWorking(bool working);
    void treeReplaced();

    ScannedTree& tree_;
    QSettings* settings_;
    const char* orderKey_;
    MapListOrder order_;
    std::unique_ptr<NodeListModel> rows_ = std::make_unique<NodeListModel>();
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    std::shared_ptr<FileNode> root_;
    Answer answer_;
    int generation_ = 0;
    bool working_ = false;
};

} // namespace tessel
