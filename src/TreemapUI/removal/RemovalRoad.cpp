#include "removal/RemovalRoad.h"

#include <QDesktopServices>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <set>
#include <span>

#include "app/Notices.h"
#include "DiskScanKit/Paths.h"
#include "linux/FileManagerHandOff.h"
#include "support/QtText.h"
#include "support/ThreadName.h"

namespace tessel {

namespace {

// The first rows of a group: a thousand rows would take the window a long moment to lay out.
QVariantList rowsFor(const std::vector<RemovalSheet::Row>& rows) {
    QVariantList list;
    for (const RemovalSheet::Row& row : std::span(rows).first(std::min(rows.size(), RemovalSheet::listedRows)))
        list.append(QVariantMap{{"path", toQString(row.path)},
                                {"name", toQString(row.name)},
                                {"bytes", static_cast<qint64>(row.bytes)},
                                {"explanation", toQString(row.explanation)},
                                {"buttonTitle", toQString(row.buttonTitle)},
                                {"buttonHelp", toQString(row.buttonHelp)},
                                {"reason", toQString(row.reason)}});
    return list;
}

// Takes what `lastCheck` holds back out of `allowed`: by path, with why.
std::map<std::string, std::string> holdBack(const RemovalRoad::LastCheck& lastCheck, std::vector<DeletionCandidate>& allowed,
                                            std::vector<DeletionCandidate>* held = nullptr) {
    if (!lastCheck || allowed.empty()) return {};
    std::map<std::string, std::string> reasons = lastCheck(allowed);
    if (reasons.empty()) return reasons;
    std::erase_if(allowed, [&](const DeletionCandidate& candidate) {
        if (!reasons.contains(candidate.path)) return false;
        if (held != nullptr) held->push_back(candidate);
        return true;
    });
    return reasons;
}

} // namespace

DeletionCandidate RemovalRoad::candidateFor(const FileNode& node) {
    return {node.path(), node.totalBytes(), node.isDirectory()};
}

RemovalRoad::RemovalRoad(RemovalEnvironment environment, ScannedTree& tree, QObject* parent)
    : QObject(parent), environment_(std::move(environment)), tree_(tree),
      service_(*environment_.files, *environment_.bin, RemovalEnvironment::undoDepth, environment_.launchers.get(),
               environment_.extensionDatabase) {
    // A new scan's tree holds none of the nodes the history took out of the old one.
    // The files can still come back; the new tree learns of them at the next scan.
    connect(&tree_, &ScannedTree::replaced, this, [this] {
        for (Operation& operation : history_) operation.departures.reset();
    });
}

RemovalRoad::~RemovalRoad() { relay_->detach(); }

void RemovalRoad::prepare(std::vector<DeletionCandidate> candidates, std::map<std::string, std::string> labels,
                          LastCheck lastCheck) {
    if (isWorking_) return;
    const int request = ++planRequest_;
    RemovalRoad* self = this;
    // The guard looks at every candidate on the disk: a thousand of them take a
    // while, which the window must not wait for.
    (void)QtConcurrent::run(environment_.worker, [relay = relay_, self, request, candidates = std::move(candidates),
                                                  labels = std::move(labels), lastCheck = std::move(lastCheck),
                                                  environment = environment_] {
        nameThisThread("Tessel.trash");
        DeletionPlan plan =
            DeletionGuard::plan(candidates, environment.context, *environment.files, environment.extensionDatabase);
        std::vector<DeletionCandidate> heldCandidates;
        const std::map<std::string, std::string> reasons = holdBack(lastCheck, plan.allowed, &heldCandidates);
        RemovalSheet::Sheet sheet = RemovalSheet::make(plan, environment.context.platform);
        std::vector<RemovalSheet::Row> held;
        for (const DeletionCandidate& candidate : heldCandidates)
            held.push_back({candidate.path, std::string(Paths::lastComponent(candidate.path)), candidate.bytes,
                            reasons.at(candidate.path), {}, {}, {}});
        RemovalSheet::holdBack(sheet, std::move(held));
        for (std::vector<RemovalSheet::Row>* rows : {&sheet.allowed, &sheet.skipped, &sheet.administrator})
            for (RemovalSheet::Row& row : *rows)
                if (auto label = labels.find(row.path); label != labels.end()) row.name = label->second;
        relay->post([self, request, plan = std::move(plan), sheet = std::move(sheet), lastCheck]() mutable {
            if (request != self->planRequest_ || self->isWorking_) return;
            self->plan_ = std::move(plan);
            self->sheet_ = std::move(sheet);
            self->lastCheck_ = std::move(lastCheck);
            emit self->planChanged();
        });
    });
}

void RemovalRoad::cancel() {
    ++planRequest_;
    if (!plan_) return;
    plan_.reset();
    sheet_ = {};
    lastCheck_ = {};
    emit planChanged();
}

void RemovalRoad::setWorking(bool working) {
    if (working == isWorking_) return;
    isWorking_ = working;
    emit workingChanged();
    emit planChanged();
    emit undoChanged();
}

void RemovalRoad::confirm() {
    if (!canConfirm()) return;
    setWorking(true);
    RemovalRoad* self = this;
    TrashService* service = &service_;
    (void)QtConcurrent::run(environment_.worker, [relay = relay_, self, service, plan = *plan_,
                                                  context = environment_.context, lastCheck = lastCheck_]() mutable {
        nameThisThread("Tessel.trash");
        // What started to be used since the confirmation opened stays, and says why.
        const std::map<std::string, std::string> held = holdBack(lastCheck, plan.allowed);
        TrashOutcome outcome = service->trash(plan, context);
        for (const auto& [path, reason] : held) outcome.failures.push_back({path, reason});
        relay->post([self, outcome = std::move(outcome)]() mutable { self->moved(std::move(outcome)); });
    });
}

void RemovalRoad::moved(TrashOutcome outcome) {
    if (!outcome.receipts.empty()) {
        if (!history_.empty()) dismissNotice(history_.back());
        Operation operation;
        operation.departures = std::make_shared<std::vector<ScannedTree::Detached>>();
        std::vector<std::string> paths;
        for (const TrashReceipt& receipt : outcome.receipts) paths.push_back(receipt.originalPath);
        // Only what really moved leaves the tree; a node the tree no longer has is passed over.
        tree_.detach(std::move(paths), operation.departures);
        if (environment_.notices != nullptr) {
            AppNotification notice = Notices::removed(static_cast<qint64>(outcome.receipts.size()),
                                                      outcome.reclaimedBytes(), [this] { undo(); });
            operation.notice = notice.id.toString(QUuid::WithoutBraces);
            environment_.notices->post(std::move(notice));
        }
        history_.push_back(std::move(operation));
        // The service keeps its newest operations only; the history keeps the same ones.
        while (history_.size() > service_.undoStack().size()) history_.erase(history_.begin());
    }
    postFailures(outcome.failures);
    lastOutcome_ = std::move(outcome);
    plan_.reset();
    sheet_ = {};
    lastCheck_ = {};
    ++generation_;
    setWorking(false);
    emit finished();
}

void RemovalRoad::dismissNotice(Operation& operation) {
    if (environment_.notices != nullptr && !operation.notice.isEmpty()) environment_.notices->dismiss(operation.notice);
    operation.notice.clear();
}

void RemovalRoad::postFailures(const std::vector<TrashFailure>& failures) {
    if (environment_.notices == nullptr || failures.empty()) return;
    environment_.notices->post(
        Notices::partialFailure(static_cast<qint64>(failures.size()), toQString(failures.front().message)));
}

void RemovalRoad::undo() {
    if (!canUndo()) return;
    if (!history_.empty()) dismissNotice(history_.back());
    setWorking(true);
    RemovalRoad* self = this;
    TrashService* service = &service_;
    (void)QtConcurrent::run(environment_.worker, [relay = relay_, self, service] {
        nameThisThread("Tessel.trash");
        RestoreOutcome outcome = service->undoLast();
        relay->post([self, outcome = std::move(outcome)] { self->restored(outcome); });
    });
}

void RemovalRoad::restored(const RestoreOutcome& outcome) {
    if (!history_.empty()) {
        Operation operation = std::move(history_.back());
        history_.pop_back();
        // What came back rejoins the tree at its place; what stayed in the Trash stays out.
        std::set<std::string> back;
        for (const TrashReceipt& receipt : outcome.restored) back.insert(receipt.originalPath);
        if (!back.empty()) tree_.reattach(operation.departures, std::move(back));
    }
    if (environment_.notices != nullptr && !outcome.restored.empty())
        environment_.notices->post(Notices::restored(static_cast<qint64>(outcome.restored.size())));
    postFailures(outcome.failures);
    ++generation_;
    setWorking(false);
    emit finished();
}

void RemovalRoad::showInFileManager(const QStringList& paths) {
    if (paths.isEmpty()) return;
    if (environment_.reveal) environment_.reveal(paths);
    awaiting_ = Awaiting{paths, FileManagerHandOff::gone(paths, *environment_.files)};
    if (environment_.notices != nullptr) environment_.notices->post(Notices::shownInFileManager(paths.size()));
}

void RemovalRoad::openTrash() {
    const QString trash = toQString(DeletionGuard::homeTrash(environment_.context.home, environment_.context.platform));
    if (!QDesktopServices::openUrl(QUrl(QStringLiteral("trash:///"))))
        QDesktopServices::openUrl(QUrl::fromLocalFile(trash + "/files"));
}

void RemovalRoad::applicationActivated() {
    if (!awaiting_) return;
    const int goneNow = FileManagerHandOff::gone(awaiting_->paths, *environment_.files);
    if (goneNow > awaiting_->seenGone) {
        // What the file manager took away leaves the tree too, with no undo of ours.
        std::vector<std::string> gone;
        for (const QString& path : awaiting_->paths)
            if (!environment_.files->exists(toBytes(path))) gone.push_back(toBytes(path));
        tree_.detach(std::move(gone));
        awaiting_->seenGone = goneNow;
        ++generation_;
        emit finished();
    }
    if (goneNow >= awaiting_->paths.size()) awaiting_.reset();
}

QString RemovalRoad::title() const { return toQString(sheet_.title); }
QString RemovalRoad::heading() const { return toQString(sheet_.heading); }
QString RemovalRoad::body() const { return toQString(sheet_.body); }
QString RemovalRoad::skippedTitle() const { return toQString(sheet_.skippedTitle); }
QString RemovalRoad::administratorTitle() const { return toQString(sheet_.administratorTitle); }
QString RemovalRoad::moreText(const std::vector<RemovalSheet::Row>& rows) {
    return rows.size() > RemovalSheet::listedRows ? toQString(RemovalSheet::moreRows(rows.size() - RemovalSheet::listedRows))
                                                  : QString();
}

QVariantList RemovalRoad::allowedRows() const { return rowsFor(sheet_.allowed); }
QVariantList RemovalRoad::skippedRows() const { return rowsFor(sheet_.skipped); }
QVariantList RemovalRoad::administratorRows() const { return rowsFor(sheet_.administrator); }

} // namespace tessel
