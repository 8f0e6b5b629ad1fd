#include "removal/DeletionModel.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <map>
#include <mutex>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/CheckedSize.h"
#include "app/Notices.h"
#include "scan/TreeAccess.h"

namespace tessel {

namespace FileManagerHandOff {

std::vector<DeletionCandidate> eligible(const std::vector<DeletionCandidate>& candidates,
                                        const DeletionGuard::Context& context, const FileManager& files) {
    std::vector<DeletionCandidate> kept;
    for (const DeletionCandidate& candidate : candidates)
        if (DeletionGuard::refusal(candidate, context, files, "") == DeletionRefusal::notPermitted) kept.push_back(candidate);
    return kept;
}

void reveal(const QStringList& paths) {
    QStringList uris;
    for (const QString& path : paths) uris.append(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                                      "org.freedesktop.FileManager1", "ShowItems");
    call << uris << QString();
    if (QDBusConnection::sessionBus().isConnected()) {
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 2000);
        if (reply.type() == QDBusMessage::ReplyMessage) return;
    }
    // No file manager answers on the bus: open the folder that holds the first item.
    if (!paths.isEmpty()) QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(paths.first()).absolutePath()));
}

int gone(const QStringList& paths, const FileManager& files) {
    return static_cast<int>(std::count_if(paths.begin(), paths.end(),
                                          [&](const QString& path) { return !files.exists(path.toStdString()); }));
}

} // namespace FileManagerHandOff

namespace {

QVariantList rowsFor(const std::vector<RemovalSheet::Row>& rows) {
    QVariantList list;
    for (const RemovalSheet::Row& row : rows)
        list.append(QVariantMap{{"path", QString::fromStdString(row.path)},
                                {"name", QString::fromStdString(row.name)},
                                {"bytes", static_cast<qint64>(row.bytes)},
                                {"explanation", QString::fromStdString(row.explanation)},
                                {"buttonTitle", QString::fromStdString(row.buttonTitle)},
                                {"buttonHelp", QString::fromStdString(row.buttonHelp)},
                                {"reason", QString::fromStdString(row.reason)}});
    return list;
}

bool isBelow(const FileNode* node, const FileNode* folder) {
    for (const FileNode* up = node->parent(); up != nullptr; up = up->parent())
        if (up == folder) return true;
    return false;
}

} // namespace

RemovalModel::RemovalModel(RemovalEnvironment environment, QObject* parent)
    : QObject(parent), environment_(std::move(environment)),
      service_(*environment_.files, *environment_.bin, RemovalEnvironment::undoDepth, nullptr,
               environment_.extensionDatabase) {}

RemovalModel::~RemovalModel() { relay_->detach(); }

void RemovalModel::preparePlan(const std::vector<DeletionCandidate>& candidates, std::map<std::string, std::string> labels) {
    plan_ = DeletionGuard::plan(candidates, environment_.context, *environment_.files, environment_.extensionDatabase);
    sheet_ = RemovalSheet::make(*plan_, environment_.context.platform);
    for (std::vector<RemovalSheet::Row>* rows : {&sheet_.allowed, &sheet_.skipped, &sheet_.administrator})
        for (RemovalSheet::Row& row : *rows)
            if (auto label = labels.find(row.path); label != labels.end()) row.name = label->second;
    emit planChanged();
}

void RemovalModel::cancel() {
    if (!plan_) return;
    plan_.reset();
    sheet_ = {};
    emit planChanged();
}

void RemovalModel::setWorking(bool working) {
    if (working == isWorking_) return;
    isWorking_ = working;
    emit workingChanged();
    emit planChanged();
}

void RemovalModel::confirm() {
    if (!canConfirm()) return;
    setWorking(true);
    RemovalModel* self = this;
    TrashService* service = &service_;
    (void)QtConcurrent::run(environment_.worker, [relay = relay_, self, service, plan = *plan_,
                                                  context = environment_.context] {
        TrashOutcome outcome = service->trash(plan, context);
        relay->post([self, outcome = std::move(outcome)]() mutable {
            self->moved(outcome);
            if (self->environment_.notices != nullptr) {
                if (!outcome.receipts.empty()) {
                    self->dismissMovedNotice();
                    AppNotification notice = Notices::removed(static_cast<qint64>(outcome.receipts.size()),
                                                              outcome.reclaimedBytes(), [self] { self->undo(); });
                    self->movedNotice_ = notice.id.toString(QUuid::WithoutBraces);
                    self->environment_.notices->post(std::move(notice));
                }
                if (!outcome.failures.empty())
                    self->environment_.notices->post(Notices::partialFailure(
                        static_cast<qint64>(outcome.failures.size()), QString::fromStdString(outcome.failures.front().message)));
            }
            self->lastOutcome_ = std::move(outcome);
            self->plan_.reset();
            self->sheet_ = {};
            self->setWorking(false);
            emit self->undoChanged();
            emit self->finished();
        });
    });
}

void RemovalModel::dismissMovedNotice() {
    if (environment_.notices != nullptr && !movedNotice_.isEmpty()) environment_.notices->dismiss(movedNotice_);
    movedNotice_.clear();
}

void RemovalModel::undo() {
    if (!service_.canUndo() || isWorking_) return;
    dismissMovedNotice();
    setWorking(true);
    RemovalModel* self = this;
    TrashService* service = &service_;
    (void)QtConcurrent::run(environment_.worker, [relay = relay_, self, service] {
        RestoreOutcome outcome = service->undoLast();
        relay->post([self, outcome = std::move(outcome)] {
            self->restored(outcome);
            if (self->environment_.notices != nullptr) {
                if (!outcome.restored.empty())
                    self->environment_.notices->post(Notices::restored(static_cast<qint64>(outcome.restored.size())));
                if (!outcome.failures.empty())
                    self->environment_.notices->post(Notices::partialFailure(
                        static_cast<qint64>(outcome.failures.size()), QString::fromStdString(outcome.failures.front().message)));
            }
            self->setWorking(false);
            emit self->undoChanged();
            emit self->finished();
        });
    });
}

void RemovalModel::showInFileManager(const QStringList& paths) {
    if (paths.isEmpty()) return;
    if (environment_.reveal) environment_.reveal(paths);
    awaiting_ = Awaiting{paths, FileManagerHandOff::gone(paths, *environment_.files)};
    if (environment_.notices != nullptr) environment_.notices->post(Notices::shownInFileManager(paths.size()));
}

void RemovalModel::openTrash() {
    const QString trash =
        QString::fromStdString(DeletionGuard::homeTrash(environment_.context.home, environment_.context.platform));
    if (!QDesktopServices::openUrl(QUrl(QStringLiteral("trash:///"))))
        QDesktopServices::openUrl(QUrl::fromLocalFile(trash + "/files"));
}

void RemovalModel::applicationActivated() {
    if (!awaiting_) return;
    const int goneNow = FileManagerHandOff::gone(awaiting_->paths, *environment_.files);
    if (goneNow > awaiting_->seenGone) {
        goneElsewhere(awaiting_->paths);
        awaiting_->seenGone = goneNow;
    }
    if (goneNow >= awaiting_->paths.size()) awaiting_.reset();
}

QVariantList RemovalModel::allowedRows() const { return rowsFor(sheet_.allowed); }
QVariantList RemovalModel::skippedRows() const { return rowsFor(sheet_.skipped); }
QVariantList RemovalModel::administratorRows() const { return rowsFor(sheet_.administrator); }

void DeletionModel::setSelection(std::shared_ptr<FileNode> root, std::vector<FileNode*> nodes) {
    root_ = std::move(root);
    selection_ = std::move(nodes);
    emit selectionChanged();
}

void DeletionModel::toggle(FileNode* node) {
    auto found = std::find(selection_.begin(), selection_.end(), node);
    if (found != selection_.end()) selection_.erase(found);
    else selection_.push_back(node);
    emit selectionChanged();
}

bool DeletionModel::isSelected(const FileNode* node) const {
    return std::any_of(selection_.begin(), selection_.end(),
                       [&](const FileNode* chosen) { return chosen == node || isBelow(node, chosen); });
}

qint64 DeletionModel::selectionBytes() const {
    std::int64_t sum = 0;
    for (const FileNode* node : selection_) {
        const bool inside = std::any_of(selection_.begin(), selection_.end(),
                                        [&](const FileNode* other) { return other != node && isBelow(node, other); });
        if (!inside) sum = checkedAdd(sum, node->totalBytes());
    }
    return sum;
}

std::vector<FileNode*> DeletionModel::selectedNodes(const std::vector<std::string>& paths) const {
    std::vector<FileNode*> found;
    for (FileNode* node : selection_)
        if (std::find(paths.begin(), paths.end(), node->path()) != paths.end()) found.push_back(node);
    return found;
}

void DeletionModel::prepare() {
    std::vector<DeletionCandidate> candidates;
    candidates.reserve(selection_.size());
    for (const FileNode* node : selection_) candidates.push_back({node->path(), node->totalBytes(), node->isDirectory()});
    preparePlan(candidates);
}

void DeletionModel::moved(const TrashOutcome& outcome) {
    std::map<std::string, FileNode*> byPath;
    for (FileNode* node : selection_) byPath.emplace(node->path(), node);
    std::vector<Moved> detached;
    std::vector<FileNode*> gone;
    {
        std::unique_lock changing(TreeAccess::lock());
        for (const TrashReceipt& receipt : outcome.receipts) {
            auto found = byPath.find(receipt.originalPath);
            // A node the tree no longer has is skipped: a new scan mends a stale tree.
            if (found == byPath.end()) continue;
            gone.push_back(found->second);
            if (std::optional<FileNode::Detachment> detachment = found->second->detachFromTree())
                detached.push_back({receipt.originalPath, *detachment});
        }
    }
    if (!outcome.receipts.empty()) {
        detachments_.push_back(std::move(detached));
        // The service keeps only its newest operations; so do we, side by side with it.
        while (detachments_.size() > service().undoStack().size()) detachments_.erase(detachments_.begin());
    }
    // What moved leaves the selection, with anything chosen inside it; what failed stays, so the user sees what
    // stayed.
    std::erase_if(selection_, [&](const FileNode* node) {
        return std::any_of(gone.begin(), gone.end(), [&](const FileNode* moved) { return node == moved || isBelow(node, moved); });
    });
    emit selectionChanged();
    emit treeChanged();
}

void DeletionModel::restored(const RestoreOutcome& outcome) {
    if (detachments_.empty()) return;
    std::vector<Moved> detached = std::move(detachments_.back());
    detachments_.pop_back();
    {
        std::unique_lock changing(TreeAccess::lock());
        // In the reverse order of detaching, so each node finds its old place.
        for (auto entry = detached.rbegin(); entry != detached.rend(); ++entry) {
            const bool back = std::any_of(outcome.restored.begin(), outcome.restored.end(), [&](const TrashReceipt& receipt) {
                return receipt.originalPath == entry->originalPath;
            });
            if (back) entry->detachment.node->reattach(entry->detachment);
        }
    }
    emit treeChanged();
}

void DeletionModel::goneElsewhere(const QStringList& paths) {
    std::vector<std::string> list;
    for (const QString& path : paths) list.push_back(path.toStdString());
    detachMovedElsewhere(selectedNodes(list));
}

void DeletionModel::detachMovedElsewhere(const std::vector<FileNode*>& nodes) {
    bool changed = false;
    {
        std::unique_lock changing(TreeAccess::lock());
        for (FileNode* node : nodes) {
            // Only what is really gone leaves the tree.
            if (environment().files->exists(node->path())) continue;
            changed = node->detachFromTree().has_value() || changed;
            std::erase(selection_, node);
        }
    }
    if (!changed) return;
    emit selectionChanged();
    emit treeChanged();
}

void PathRemovalModel::prepare(const std::vector<DeletionCandidate>& candidates, std::map<std::string, std::string> labels) {
    preparePlan(candidates, std::move(labels));
}

void PathRemovalModel::moved(const TrashOutcome& outcome) {
    QStringList paths;
    for (const TrashReceipt& receipt : outcome.receipts) paths.append(QString::fromStdString(receipt.originalPath));
    resultText_ = outcome.receipts.empty() ? QString()
                  : QStringLiteral("Moved %1 to the Trash").arg(QString::fromStdString(ByteFormat::string(outcome.reclaimedBytes())));
    ++generation_;
    if (!paths.isEmpty()) emit pathsRemoved(paths);
}

void PathRemovalModel::restored(const RestoreOutcome& outcome) {
    QStringList paths;
    for (const TrashReceipt& receipt : outcome.restored) paths.append(QString::fromStdString(receipt.originalPath));
    ++generation_;
    if (!paths.isEmpty()) emit pathsRestored(paths);
}

void PathRemovalModel::goneElsewhere(const QStringList& paths) {
    QStringList gone;
    for (const QString& path : paths)
        if (!environment().files->exists(path.toStdString())) gone.append(path);
    ++generation_;
    if (!gone.isEmpty()) emit pathsRemoved(gone);
}

} // namespace tessel
