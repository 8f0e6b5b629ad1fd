#pragma once
// The one road by which anything leaves: every room that removes hands its
// candidates here. The road judges them (the guard), shows the confirmation
// (what may go, what stays and why), moves what may go off the main thread
// (the one trash service), takes what moved out of the scanned tree, and
// keeps the one undo history: ten operations, each with its receipts and the
// nodes it took out, so that Undo from anywhere puts back both. What only an
// administrator can move is shown in the file manager instead.

#include <QObject>
#include <QThreadPool>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/AppNotifications.h"
#include "TrashKit/RemovalSheet.h"
#include "scan/ScannedTree.h"
#include "support/MainThreadRelay.h"
#include "TrashKit/LauncherTiles.h"
#include "TrashKit/TrashService.h"

namespace tessel {

// What the road needs from the machine; tests hand in their own Trash and files.
struct RemovalEnvironment {
    DeletionGuard::Context context;
    const FileManager* files = nullptr;
    TrashBin* bin = nullptr;
    QThreadPool* worker = nullptr;
    AppNotifications* notices = nullptr;
    std::string extensionDatabase;
    std::function<void(const QStringList&)> reveal;
    // The desktop's launchers of apps, which go with an app that moves; none: nothing is touched.
    std::shared_ptr<LauncherTiles> launchers;
    static constexpr int undoDepth = 10;
};

class RemovalRoad : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the removal road")
    Q_PROPERTY(bool hasPlan READ hasPlan NOTIFY planChanged)
    Q_PROPERTY(bool canConfirm READ canConfirm NOTIFY planChanged)
    Q_PROPERTY(QString title READ title NOTIFY planChanged)
    Q_PROPERTY(QString heading READ heading NOTIFY planChanged)
    Q_PROPERTY(QString body READ body NOTIFY planChanged)
    Q_PROPERTY(QString skippedTitle READ skippedTitle NOTIFY planChanged)
    Q_PROPERTY(QString administratorTitle READ administratorTitle NOTIFY planChanged)
    Q_PROPERTY(QVariantList allowedRows READ allowedRows NOTIFY planChanged)
    Q_PROPERTY(QVariantList skippedRows READ skippedRows NOTIFY planChanged)
    Q_PROPERTY(QVariantList administratorRows READ administratorRows NOTIFY planChanged)
    // Under each group that lists only its first rows: how many more there are.
    Q_PROPERTY(QString allowedMore READ allowedMore NOTIFY planChanged)
    Q_PROPERTY(QString skippedMore READ skippedMore NOTIFY planChanged)
    Q_PROPERTY(QString administratorMore READ administratorMore NOTIFY planChanged)
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY workingChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY undoChanged)
    // Rises after every finished move or undo; lists of paths reload on it.
    Q_PROPERTY(int generation READ generation NOTIFY finished)

public:
    RemovalRoad(RemovalEnvironment environment, ScannedTree& tree, QObject* parent = nullptr);
    ~RemovalRoad() override;

    // A node of the tree as the guard sees it: its path, its size, whether it is a folder.
    static DeletionCandidate candidateFor(const FileNode& node);
    // What a room asks once more, off the main thread, before the confirmation
    // opens and again right before anything moves: the candidates that must
    // stay after all (a program that uses them has started), by path, each
    // with the sentence that says why.
    using LastCheck = std::function<std::map<std::string, std::string>(const std::vector<DeletionCandidate>&)>;

    // Judges the candidates off the main thread, then opens the confirmation;
    // `labels` name rows by path.
    void prepare(std::vector<DeletionCandidate> candidates, std::map<std::string, std::string> labels = {},
                 LastCheck lastCheck = {});
    Q_INVOKABLE void cancel();
    // Moves what the plan allows, off the main thread.
    Q_INVOKABLE void confirm();
    // Puts back the newest operation, files and tree alike.
    Q_INVOKABLE void undo();
    Q_INVOKABLE void showInFileManager(const QStringList& paths);
    Q_INVOKABLE void openTrash();
    // The application came to the front: items shown in the file manager may have gone.
    void applicationActivated();

    const std::optional<DeletionPlan>& plan() const { return plan_; }
    const std::optional<TrashOutcome>& lastOutcome() const { return lastOutcome_; }
    const TrashService& service() const { return service_; }
    bool hasPlan() const { return plan_.has_value(); }
    bool canConfirm() const { return plan_ && !plan_->allowed.empty() && !isWorking_; }
    QString title() const;
    QString heading() const;
    QString body() const;
    QString skippedTitle() const;
    QString administratorTitle() const;
    QVariantList allowedRows() const;
    QVariantList skippedRows() const;
    QVariantList administratorRows() const;
    QString allowedMore() const { return moreText(sheet_.allowed); }
    QString skippedMore() const { return moreText(sheet_.skipped); }
    QString administratorMore() const { return moreText(sheet_.administrator); }
    bool isWorking() const { return isWorking_; }
    bool canUndo() const { return service_.canUndo() && !isWorking_; }
    int generation() const { return generation_; }

signals:
    void planChanged();
    void workingChanged();
    void undoChanged();
    // A move or an undo finished.
    void finished();

private:
    // One move: what the service moved, and the nodes the tree gave up for it.
    struct Operation {
        ScannedTree::Departures departures;
        QString notice; // the notice offering Put Back, while it is the newest
    };

    static QString moreText(const std::vector<RemovalSheet::Row>& rows);
    void setWorking(bool working);
    void moved(TrashOutcome outcome);
    void restored(const RestoreOutcome& outcome);
    void dismissNotice(Operation& operation);
    void postFailures(const std::vector<TrashFailure>& failures);

    RemovalEnvironment environment_;
    ScannedTree& tree_;
    TrashService service_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    std::optional<DeletionPlan> plan_;
    LastCheck lastCheck_;
    RemovalSheet::Sheet sheet_;
    std::optional<TrashOutcome> lastOutcome_;
    // Parallel to the service's undo stack, oldest first.
    std::vector<Operation> history_;
    bool isWorking_ = false;
    int generation_ = 0;
    // Rises with every plan asked for, and with a cancel: a plan that comes back late is dropped.
    int planRequest_ = 0;
    struct Awaiting {
        QStringList paths;
        int seenGone = 0;
    };
    std::optional<Awaiting> awaiting_;
};

} // namespace tessel
