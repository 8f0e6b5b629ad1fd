#pragma once
// The one scanned tree of the app. It holds the root of the last completed
// scan, its revision, and the only ways to change it: detaching what went to
// the Trash and reattaching what came back. It says "replaced" when a new
// scan's tree takes its place and "changed" when nodes left or came back;
// every room that shows anything of the tree listens for itself.
//
// Background jobs read the tree through a Reader; see TreeGate.h for why a
// change on the main thread never waits for them.

#include <QObject>
#include <QThreadPool>
#include <QtQml/qqmlregistration.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/ScanRecords.h"
#include "scan/TreeGate.h"
#include "support/MainThreadRelay.h"

namespace tessel {

class ScannedTree : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the tree")
    Q_PROPERTY(bool hasTree READ hasTree NOTIFY replaced)

public:
    // A node that left the tree, with the path it had.
    struct Detached {
        std::string path;
        FileNode::Detachment detachment;
    };

    // What a background job takes along: the tree, kept alive, and its gate.
    class Reader {
    public:
        // Held on the job's thread for as long as it reads.
        class Hold {
        public:
            explicit Hold(std::shared_ptr<TreeGate> gate) : gate_(std::move(gate)) {
                if (gate_) gate_->enter();
            }
            Hold(Hold&& other) noexcept : gate_(std::move(other.gate_)) {}
            Hold(const Hold&) = delete;
            Hold& operator=(const Hold&) = delete;
            Hold& operator=(Hold&&) = delete;
            ~Hold() {
                if (gate_) gate_->leave();
            }

        private:
            std::shared_ptr<TreeGate> gate_;
        };

        Reader() = default;
        Reader(std::shared_ptr<FileNode> root, std::shared_ptr<TreeGate> gate)
            : root_(std::move(root)), gate_(std::move(gate)) {}
        // Waits while a change waits or runs; reading is safe until the hold goes.
        Hold hold() const { return Hold(gate_); }
        const std::shared_ptr<FileNode>& root() const { return root_; }
        explicit operator bool() const { return root_ != nullptr; }

    private:
        std::shared_ptr<FileNode> root_;
        std::shared_ptr<TreeGate> gate_;
    };

    explicit ScannedTree(QObject* parent = nullptr);
    ~ScannedTree() override;

    bool hasTree() const { return result_.has_value(); }
    // The last completed scan, its root kept up to date with what left; none before the first.
    const ScanResult* result() const { return result_ ? &*result_ : nullptr; }
    std::shared_ptr<FileNode> root() const { return result_ ? result_->root : nullptr; }
    // Rises with every replacement and every change that ran.
    std::uint64_t revision() const { return revision_; }
    Reader reader() const { return {root(), gate_}; }
    // Runs `job` on the tree's own reader threads, holding the tree as it
    // stands now for as long as the job runs. Nothing runs without a tree.
    void read(std::function<void(FileNode& root)> job);
    // Runs work that needs no hold on the tree on the same threads.
    void run(std::function<void()> job);
    // Until every job asked for so far has ended; what they post back is still to come.
    void waitForJobs() { jobs_.waitForDone(); }
    // The node at an absolute path, or none.
    FileNode* nodeAt(std::string_view path) const;

    void replace(ScanResult result);
    // What a detach took out, filled in when the detach has run.
    using Departures = std::shared_ptr<std::vector<Detached>>;

    // Takes the nodes at `paths` out of the tree (never the root) and adds
    // what left to `into`: at once when no job reads the tree, else the moment
    // the last reader has let go. Changes run in the order they were asked for.
    void detach(std::vector<std::string> paths, Departures into = {});
    // Puts back those of `departures` whose paths are in `only`, in the
    // reverse order of leaving, each at its old place.
    void reattach(Departures departures, std::set<std::string> only);
    // A change waits for a reader to let go.
    bool hasWaitingChanges() const { return !waiting_.empty(); }

signals:
    void replaced();
    void changed();

private:
    void change(std::function<void()> work);
    void runWaiting();
    std::shared_ptr<TreeGate> makeGate();

    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    std::optional<ScanResult> result_;
    std::shared_ptr<TreeGate> gate_;
    std::vector<std::function<void()>> waiting_;
    std::uint64_t revision_ = 0;
    // Named threads of the tree's own; they end with it.
    QThreadPool jobs_;
};

} // namespace tessel
