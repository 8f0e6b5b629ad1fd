#pragma once
// What the rooms that list parts of the tree share: the list, its order kept
// under the room's own key, and the work of filling it, done off the main
// thread and published only if no newer request came since. A room fills its
// list again whenever the scanned tree is replaced or changes. Its rows can
// be chosen and, once chosen, moved to the Trash by the one removal road,
// shown in the file manager or opened.

#include <QObject>
#include <QSettings>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DiskScanKit/FileSearch.h"
#include "lists/RowActions.h"
#include "lists/NodeListModel.h"
#include "scan/ScannedTree.h"
#include "support/MainThreadRelay.h"
#include "support/RowSelection.h"

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
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY chosenChanged)
    Q_PROPERTY(qint64 chosenBytes READ chosenBytes NOTIFY chosenChanged)
    Q_PROPERTY(QString chosenName READ chosenName NOTIFY chosenChanged)
    Q_PROPERTY(bool canOpen READ canOpen NOTIFY chosenChanged)

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
    ListRoomModel(ScannedTree& tree, RowActions actions, QSettings* settings, const char* orderKey, MapListOrder byDefault,
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

    // A click on row `row`, with the keyboard's modifiers (Ctrl adds, Shift extends).
    Q_INVOKABLE void choose(int row, int modifiers);
    // The row under a context menu joins the chosen ones, or becomes the only one.
    Q_INVOKABLE void pointAt(int row);
    Q_INVOKABLE void chooseNone();
    int chosenCount() const { return static_cast<int>(selection_.indexesIn(shownIds()).size()); }
    qint64 chosenBytes() const;
    // The name of the one chosen row; empty with none or several.
    QString chosenName() const;
    // The confirmation for the chosen rows; nothing moves before it is confirmed.
    Q_INVOKABLE void moveChosenToTrash();
    Q_INVOKABLE void showChosenInFiles();
    // Opens each chosen item with its default application (a folder in the file manager).
    Q_INVOKABLE void openChosen();
    bool canOpen() const { return RowActions::canOpen(static_cast<std::size_t>(chosenCount())); }
    std::vector<const FileNode*> chosenNodes() const;

signals:
    void orderChanged();
    void workingChanged();
    void listChanged();
    void chosenChanged();

protected:
    // Starts filling the list for the tree as it stands.
    virtual void fill() = 0;
    // Fills the list from the tree in the background; an empty tree empties it.
    void refresh(Work work);

private:
    void setWorking(bool working);
    void treeReplaced();
    std::vector<std::string> shownIds() const;
    void selectionChanged();

    ScannedTree& tree_;
    RowActions actions_;
    RowSelection selection_;
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
