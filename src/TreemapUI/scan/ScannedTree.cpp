#include "scan/ScannedTree.h"
#include "support/ThreadName.h"

#include <QtConcurrent/QtConcurrentRun>

namespace tessel {

ScannedTree::ScannedTree(QObject* parent) : QObject(parent), gate_(makeGate()) {}

ScannedTree::~ScannedTree() {
    relay_->detach();
    jobs_.waitForDone();
}

void ScannedTree::run(std::function<void()> job) {
    (void)QtConcurrent::run(&jobs_, [job = std::move(job)] {
        nameThisThread("Tessel.reader");
        job();
    });
}

void ScannedTree::read(std::function<void(FileNode& root)> job) {
    const Reader reader = this->reader();
    if (!reader) return;
    run([reader, job = std::move(job)] {
        const Reader::Hold hold = reader.hold();
        job(*reader.root());
    });
}

std::shared_ptr<TreeGate> ScannedTree::makeGate() {
    // A job may hold the gate after this object is gone; the relay then posts nothing.
    return std::make_shared<TreeGate>([relay = relay_, this] { relay->post([this] { runWaiting(); }); });
}

FileNode* ScannedTree::nodeAt(std::string_view path) const {
    return result_ ? FileNode::atPath(*result_->root, path) : nullptr;
}

void ScannedTree::replace(ScanResult result) {
    // Changes still waiting were meant for the old tree; its readers keep the old gate.
    waiting_.clear();
    result_ = std::move(result);
    gate_ = makeGate();
    ++revision_;
    emit replaced();
}

void ScannedTree::change(std::function<void()> work) {
    if (!waiting_.empty() || !gate_->beginChange()) {
        waiting_.push_back(std::move(work));
        return;
    }
    work();
    ++revision_;
    gate_->endChange();
    emit changed();
}

void ScannedTree::runWaiting() {
    // A reader that came in since asks again when it leaves.
    if (waiting_.empty() || !gate_->beginChange()) return;
    std::vector<std::function<void()>> works = std::move(waiting_);
    waiting_.clear();
    for (std::function<void()>& work : works) work();
    ++revision_;
    gate_->endChange();
    emit changed();
}

void ScannedTree::detach(std::vector<std::string> paths, Departures into) {
    if (!result_) return;
    change([this, paths = std::move(paths), into = std::move(into)] {
        for (const std::string& path : paths) {
            FileNode* node = nodeAt(path);
            if (node == nullptr || node == result_->root.get()) continue;
            std::optional<FileNode::Detachment> detachment = node->detachFromTree();
            if (detachment && into) into->push_back({path, *detachment});
        }
    });
}

void ScannedTree::reattach(Departures departures, std::set<std::string> only) {
    if (!result_ || !departures) return;
    change([departures = std::move(departures), only = std::move(only)] {
        for (auto entry = departures->rbegin(); entry != departures->rend(); ++entry)
            if (only.contains(entry->path)) entry->detachment.node->reattach(entry->detachment);
    });
}

} // namespace tessel
