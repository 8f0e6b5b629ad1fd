#pragma once
// What the user removes from the map: the selection, the confirmation that
// shows what may go and what stays, the move itself off the main thread, the
// tree patched to match, and the undo that puts it all back. What only an
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
#include <utility>
#include <vector>

#include "app/AppNotifications.h"
#include "DiskScanKit/FileNode.h"
#include "support/MainThreadRelay.h"
#include "removal/RemovalSheet.h"
#include "TrashKit/TrashService.h"

namespace tessel {

// Showing items in the desktop's file manager, and watching them go there.
namespace FileManagerHandOff {
// The candidates that only an administrator can move.
std::vector<DeletionCandidate> eligible(const std::vector<DeletionCandidate>& candidates,
                                        const DeletionGuard::Context& context, const FileManager& files);
// Selects the paths in the file manager (org.freedesktop.FileManager1), or opens their folder.
void reveal(const QStringList& paths);
// How many of the paths no longer exist.
int gone(const QStringList& paths, const FileManager& files);
} // namespace FileManagerHandOff

// What both removal models share: the guard's context, a trash service of
// their own (so each one's undo is its own), and the one worker that moves things.
struct RemovalEnvironment {
    DeletionGuard::Context context;
    const FileManager* files = nullptr;
    TrashBin* bin = nullptr;
    QThreadPool* worker = nullptr;
    AppNotifications* notices = nullptr;
    std::string extensionDatabase;
    std::function<void(const QStringList&)> reveal;
    static constexpr int undoDepth = 10;
};

// What both removal models share: the plan and its confirmation sheet, the
// move off the main thread, the undo, and the hand-off to the file manager.
class RemovalModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns removal")
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
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY workingChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY undoChanged)

public:
    explicit RemovalModel(RemovalEnvironment environment, QObject* parent = nullptr);
    ~RemovalModel() override;

    Q_INVOKABLE void cancel();
    // Moves what the plan allows, off the main thread.
    Q_INVOKABLE void confirm();
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
    QString title() const { return QString::fromStdString(sheet_.title); }
    QString heading() const { return QString::fromStdString(sheet_.heading); }
    QString body() const { return QString::fromStdString(sheet_.body); }
    QString skippedTitle() const { return QString::fromStdString(sheet_.skippedTitle); }
    QString administratorTitle() const { return QString::fromStdString(sheet_.administratorTitle); }
    QVariantList allowedRows() const;
    QVariantList skippedRows() const;
    QVariantList administratorRows() const;
    bool isWorking() const { return isWorking_; }
    bool canUndo() const { return service_.canUndo(); }

signals:
    void planChanged();
    void workingChanged();
    void undoChanged();
    // A move or an undo finished (for tests and for whoever waits on it).
    void finished();

protected:
    // Judges the candidates and opens the confirmation; `labels` name rows by path.
    void preparePlan(const std::vector<DeletionCandidate>& candidates, std::map<std::string, std::string> labels = {});
    // On the main thread, after the move and after an undo.
    virtual void moved(const TrashOutcome& outcome) = 0;
    virtual void restored(const RestoreOutcome& outcome) = 0;
    // Items the file manager took away while the user was there.
    virtual void goneElsewhere(const QStringList& paths) = 0;
    const RemovalEnvironment& environment() const { return environment_; }

private:
    void setWorking(bool working);
    void dismissMovedNotice();

    RemovalEnvironment environment_;
    TrashService service_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    std::optional<DeletionPlan> plan_;
    RemovalSheet::Sheet sheet_;
    std::optional<TrashOutcome> lastOutcome_;
    // The notice offering to put back the last move: its button undoes whatever is newest,
    // so it goes as soon as that is no longer its move.
    QString movedNotice_;
    bool isWorking_ = false;
    struct Awaiting {
        QStringList paths;
        int seenGone = 0;
    };
    std::optional<Awaiting> awaiting_;
};

// Removal from the map: nodes of the scanned tree, which leave the tree when
// they go and rejoin it at their places when they come back.
class DeletionModel : public RemovalModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns removal")
    Q_PROPERTY(int selectionCount READ selectionCount NOTIFY selectionChanged)
    Q_PROPERTY(qint64 selectionBytes READ selectionBytes NOTIFY selectionChanged)

public:
    using RemovalModel::RemovalModel;

    // The selection, as nodes of the scanned tree, kept alive by `root`.
    void setSelection(std::shared_ptr<FileNode> root, std::vector<FileNode*> nodes);
    void toggle(FileNode* node);
    // Selected itself, or below a selected folder.
    bool isSelected(const FileNode* node) const;
    const std::vector<FileNode*>& selection() const { return selection_; }
    int selectionCount() const { return static_cast<int>(selection_.size()); }
    // Each byte once: nodes inside another selected node don't add.
    qint64 selectionBytes() const;
    std::vector<FileNode*> selectedNodes(const std::vector<std::string>& paths) const;

    // The plan for the selection; the confirmation shows it.
    Q_INVOKABLE void prepare();
    // Detaches the nodes another program moved, once lstat no longer finds them.
    void detachMovedElsewhere(const std::vector<FileNode*>& nodes);

signals:
    void selectionChanged();
    // Nodes left or rejoined the tree: views and figures built on it must follow.
    void treeChanged();

protected:
    void moved(const TrashOutcome& outcome) override;
    void restored(const RestoreOutcome& outcome) override;
    void goneElsewhere(const QStringList& paths) override;

private:
    struct Moved {
        std::string originalPath;
        FileNode::Detachment detachment;
    };
    std::shared_ptr<FileNode> root_;
    std::vector<FileNode*> selection_;
    // One entry per operation on the service's undo stack, newest last.
    std::vector<std::vector<Moved>> detachments_;
};

// Removal of plain paths from the tools' lists. What moved is announced, so a
// tree that holds the same paths can let them go too.
class PathRemovalModel : public RemovalModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns removal")
    Q_PROPERTY(int generation READ generation NOTIFY finished)
    Q_PROPERTY(QString resultText READ resultText NOTIFY finished)

public:
    using RemovalModel::RemovalModel;

    void prepare(const std::vector<DeletionCandidate>& candidates, std::map<std::string, std::string> labels = {});
    // Rises after each finished removal; lists reload on it.
    int generation() const { return generation_; }
    QString resultText() const { return resultText_; }

signals:
    void pathsRemoved(const QStringList& paths);
    void pathsRestored(const QStringList& paths);

protected:
    void moved(const TrashOutcome& outcome) override;
    void restored(const RestoreOutcome& outcome) override;
    void goneElsewhere(const QStringList& paths) override;

private:
    int generation_ = 0;
    QString resultText_;
};

} // namespace tessel
