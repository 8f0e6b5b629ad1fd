#pragma once
// The duplicates room: files with identical contents in the scanned tree, one
// group per contents, the copy that stays first with why it stays, the others
// ticked. The comparison reads files, so it runs off the main thread, reports
// its phase, and stops when asked; what the ticked copies would free counts
// hard links and clones for what they are. Removal takes the removal road,
// and a group follows its files out and back in.

#include <QAbstractListModel>
#include <QSettings>
#include <QThreadPool>
#include <QtQml/qqmlregistration.h>

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/DuplicateWords.h"
#include "scan/ScannedTree.h"
#include "tools/duplicates/DuplicateChoices.h"
#include "support/MainThreadRelay.h"
#include "support/RowListModel.h"

namespace tessel {

class RemovalRoad;

struct DuplicateGroupListRow {
    QString groupId;
    QString title;
    QString detail;
    QString frees;
    QVariantList files;
};

// One row per group; the files of a group travel as a list in one role.
class DuplicateGroupList : public RowListModel<DuplicateGroupListRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The duplicates room fills it")

public:
    enum Role { titleRole = Qt::UserRole + 1, detailRole, freesRole, filesRole, groupIdRole };
    using Row = DuplicateGroupListRow;

    using RowListModel::RowListModel;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
};

class DuplicatesModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the duplicates")
    Q_PROPERTY(tessel::DuplicateGroupList* groups READ groups CONSTANT)
    Q_PROPERTY(tessel::DuplicatesModel::State state READ state NOTIFY stateChanged)
    Q_PROPERTY(QString progressText READ progressText NOTIFY progressChanged)
    Q_PROPERTY(double fraction READ fraction NOTIFY progressChanged)
    Q_PROPERTY(QString summary READ summary NOTIFY resultChanged)
    Q_PROPERTY(QString keeping READ keeping NOTIFY resultChanged)
    Q_PROPERTY(QString order READ order WRITE setOrder NOTIFY resultChanged)
    Q_PROPERTY(int tickedCount READ tickedCount NOTIFY ticksChanged)
    Q_PROPERTY(qint64 tickedBytes READ tickedBytes NOTIFY ticksChanged)
    Q_PROPERTY(QString removeTitle READ removeTitle NOTIFY ticksChanged)

public:
    // No tree yet; a tree not compared yet; comparing; compared; stopped before the end.
    enum class State { Waiting, Ready, Working, Done, Stopped };
    Q_ENUM(State)

    struct Environment {
        std::string home;
        QSettings* settings = nullptr;
        int workerCount = DuplicateFinder::defaultWorkerCount();
        std::int64_t minimumBytes = DuplicateFinder::toolMinimumBytes;
        // A file on a share that makes no progress this long is given up on.
        double stallTimeout = DuplicateFinder::defaultStallTimeout;
    };

    // Follows `tree`: a new tree starts afresh, and copies that leave it (or come
    // back) leave their groups (or rejoin them). Removal goes by `road`.
    DuplicatesModel(Environment environment, ScannedTree& tree, RemovalRoad& road, QObject* parent = nullptr);
    ~DuplicatesModel() override;

    // Starts looking in the present tree, unless it was looked at already.
    Q_INVOKABLE void look();
    // Looks again from the start.
    Q_INVOKABLE void lookAgain();
    Q_INVOKABLE void cancel();
    Q_INVOKABLE void keepOriginal();
    Q_INVOKABLE void keepOldest();
    // Ticks or unticks one copy; the last unticked copy of a group can't be ticked.
    Q_INVOKABLE void toggle(int row, int file);
    // Opens the removal's confirmation for the ticked copies, all their names.
    Q_INVOKABLE void removeTicked();

    DuplicateGroupList* groups() { return &list_; }
    State state() const { return state_; }
    QString progressText() const { return progressText_; }
    double fraction() const { return fraction_; }
    QString summary() const;
    QString keeping() const;
    QString order() const { return DuplicateChoices::orderName(order_); }
    void setOrder(const QString& raw);
    int tickedCount() const;
    qint64 tickedBytes() const;
    QString removeTitle() const;
    const std::optional<DuplicateReport>& report() const { return report_; }
    // The groups as shown, after what left and in the chosen order.
    const std::vector<DuplicateGroup>& shown() const { return shown_; }
    bool isTicked(const std::string& path) const { return ticked_.contains(path); }

signals:
    void stateChanged();
    void progressChanged();
    void resultChanged();
    void ticksChanged();

private:
    // A new tree: whatever was found belongs to the old one.
    void reset();
    // The paths of the copies that are no longer in the tree.
    void noteWhatWent();
    void setState(State state);
    void received(DuplicateReport report, std::map<std::string, FileNode*> nodes);
    void progressed(const DuplicateScanProgress& progress);
    // The shown groups from the report, without what went, in order, each with its keeper; ticks stay.
    void refreshShown();
    // The rows of the shown groups, to the view.
    void publish();
    void rebuild() {
        refreshShown();
        publish();
    }
    void chooseKeepers(DuplicateWords::Keeping keeping);
    DuplicateGroupList::Row rowFor(std::size_t index) const;
    void stopRunning();

    Environment environment_;
    ScannedTree& tree_;
    RemovalRoad& road_;
    DuplicateGroupList list_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    QThreadPool worker_;
    std::shared_ptr<FileNode> root_;
    std::shared_ptr<std::atomic<bool>> cancelled_;
    int generation_ = 0;
    State state_ = State::Waiting;
    QString progressText_;
    double fraction_ = 0;
    std::optional<DuplicateReport> report_;
    // Every name in the report, with its node in the tree (none when the tree has none).
    std::map<std::string, FileNode*> nodes_;
    std::vector<DuplicateGroup> shown_;
    // By group id: the path of the copy that stays.
    std::map<std::string, std::string> keepers_;
    std::set<std::string> ticked_;
    std::set<std::string> gone_;
    DuplicateWords::Keeping keeping_ = DuplicateWords::Keeping::original;
    DuplicateChoices::Order order_ = DuplicateChoices::Order::reclaimable;
};

} // namespace tessel
