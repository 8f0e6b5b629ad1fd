#pragma once
// Changes over time: after each scan a snapshot of it is kept, and the scan is
// compared with the newest earlier snapshot of the same place, or with one the
// user picks. The work happens off the main thread; `generation` rises with
// each scan and results that a newer scan has overtaken are dropped. Rows of
// what still stands in the tree can be chosen and acted on like any list's.

#include <QObject>
#include <QThreadPool>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/SnapshotDiff.h"
#include "DiskScanKit/SnapshotStore.h"
#include "lists/RowActions.h"
#include "scan/ScannedTree.h"
#include "support/MainThreadRelay.h"
#include "support/RowSelection.h"

namespace tessel {

class FileNode;

class ChangesModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the changes")
    Q_PROPERTY(bool hasTree READ hasTree NOTIFY snapshotsChanged)
    Q_PROPERTY(QVariantList snapshots READ snapshotRows NOTIFY snapshotsChanged)
    Q_PROPERTY(int baselineIndex READ baselineIndex NOTIFY changesChanged)
    Q_PROPERTY(QVariantList changes READ changeRows NOTIFY changesChanged)
    Q_PROPERTY(bool isComparing READ isComparing NOTIFY changesChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY snapshotsChanged)
    Q_PROPERTY(QString lastError READ lastErrorText NOTIFY changesChanged)
    Q_PROPERTY(QString saveError READ saveError NOTIFY snapshotsChanged)
    Q_PROPERTY(QString ruleText READ ruleText NOTIFY snapshotsChanged)
    Q_PROPERTY(QString baselineText READ baselineText NOTIFY changesChanged)
    Q_PROPERTY(QString nothingEarlierText READ nothingEarlierText CONSTANT)
    Q_PROPERTY(QString nothingChangedText READ nothingChangedText CONSTANT)
    Q_PROPERTY(int generation READ generation NOTIFY snapshotsChanged)
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY chosenChanged)
    Q_PROPERTY(qint64 chosenBytes READ chosenBytes NOTIFY chosenChanged)
    Q_PROPERTY(QString chosenName READ chosenName NOTIFY chosenChanged)
    Q_PROPERTY(bool canOpen READ canOpen NOTIFY chosenChanged)
    // Rises with every change of the selection; rows bind their mark to it.
    Q_PROPERTY(int selectionRevision READ selectionRevision NOTIFY chosenChanged)

public:
    struct Environment {
        std::string directory = SnapshotStore::defaultDirectory();
        std::shared_ptr<const FileManager> files = std::make_shared<LocalFileManager>();
        // Seconds since the reference date, for the date of a snapshot.
        std::function<double()> now;
    };

    // Follows `tree`: each new scan's snapshot is kept, the root's snapshots
    // listed and the newest earlier one compared with; a change compares the
    // tree as it now stands with the same baseline.
    ChangesModel(Environment environment, ScannedTree& tree, RowActions actions, QObject* parent = nullptr);
    ~ChangesModel() override;

    // "Save Snapshot": keep the present tree as a point to compare against later.
    Q_INVOKABLE void saveNow();
    // Compares the present tree with the snapshot at `index` of the list.
    Q_INVOKABLE void compareWith(int index);
    void compare(const SnapshotInfo& info);

    const std::vector<SnapshotInfo>& snapshots() const { return snapshots_; }
    const std::optional<SnapshotInfo>& baseline() const { return baseline_; }
    const std::vector<SnapshotChange>& changes() const { return changes_; }
    const std::optional<std::string>& lastError() const { return lastError_; }
    const std::optional<std::string>& rootPath() const { return rootPath_; }
    const SnapshotStore& store() const { return store_; }
    bool hasTree() const { return root_ != nullptr; }
    bool isComparing() const { return isComparing_; }
    bool isLoading() const { return isLoading_; }
    int generation() const { return generation_; }
    int baselineIndex() const;
    QVariantList snapshotRows() const;
    QVariantList changeRows() const;
    QString lastErrorText() const;
    QString saveError() const { return saveError_; }
    QString ruleText() const;
    QString baselineText() const;
    QString nothingEarlierText() const;
    QString nothingChangedText() const;

    // Rows that still stand in the tree can be chosen: a click, Ctrl-click, Shift-click.
    Q_INVOKABLE void choose(int row, int modifiers);
    Q_INVOKABLE void pointAt(int row);
    Q_INVOKABLE void chooseNone();
    Q_INVOKABLE bool isChosen(int row) const;
    Q_INVOKABLE void moveChosenToTrash();
    Q_INVOKABLE void showChosenInFiles();
    Q_INVOKABLE void openChosen();
    int chosenCount() const { return static_cast<int>(chosenNodes().size()); }
    qint64 chosenBytes() const;
    QString chosenName() const;
    bool canOpen() const { return RowActions::canOpen(chosenNodes().size()); }
    int selectionRevision() const { return selectionRevision_; }
    std::vector<const FileNode*> chosenNodes() const;

    // The newest snapshot other than the one just saved.
    static std::optional<SnapshotInfo> earlier(const std::vector<SnapshotInfo>& snapshots,
                                               const std::optional<SnapshotInfo>& justSaved);

signals:
    void snapshotsChanged();
    void changesChanged();
    void chosenChanged();

private:
    void scanCompleted();
    void keepAndList(bool save, bool thenCompare);
    void setChanges(std::vector<SnapshotChange> changes);
    // The ids of the rows that can be chosen: what still stands in the tree; an empty id for the rest.
    std::vector<std::string> choosableIds() const;
    void selectionChanged();

    Environment environment_;
    ScannedTree& tree_;
    RowActions actions_;
    RowSelection selection_;
    int selectionRevision_ = 0;
    SnapshotStore store_;
    QThreadPool worker_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    std::shared_ptr<FileNode> root_;
    std::optional<std::string> rootPath_;
    std::vector<SnapshotInfo> snapshots_;
    std::optional<SnapshotInfo> baseline_;
    std::vector<SnapshotChange> changes_;
    std::optional<std::string> lastError_;
    QString saveError_;
    bool isComparing_ = false;
    bool isLoading_ = false;
    int generation_ = 0;
    int comparison_ = 0;
};

} // namespace tessel
