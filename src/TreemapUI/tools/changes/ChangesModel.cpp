#include "tools/changes/ChangesModel.h"

#include <QDateTime>
#include <QtConcurrent/QtConcurrentRun>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/ChangeWords.h"
#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanReport.h"
#include "support/QtText.h"
#include "support/ThreadName.h"

namespace tessel {

namespace {

QString dateText(double date) { return toQString(ScanReport::readableDate(ReferenceDate::timePoint(date))); }

QString sizeText(std::int64_t bytes) { return toQString(ByteFormat::string(bytes)); }

ScanSnapshot snapshotOf(const ScannedTree::Reader& reader, double date) {
    const ScannedTree::Reader::Hold hold = reader.hold();
    return ScanSnapshot::of(*reader.root(), date);
}

} // namespace

ChangesModel::ChangesModel(Environment environment, ScannedTree& tree, RowActions actions, QObject* parent)
    : QObject(parent), environment_(std::move(environment)), tree_(tree), actions_(std::move(actions)),
      store_(environment_.directory, *environment_.files) {
    connect(&tree_, &ScannedTree::replaced, this, &ChangesModel::scanCompleted);
    connect(&tree_, &ScannedTree::changed, this, [this] {
        if (baseline_) compare(*baseline_);
    });
    if (!environment_.now)
        environment_.now = [] { return ReferenceDate::seconds(std::chrono::system_clock::now()); };
    // One at a time, in order: a save is listed by the listing that follows it.
    worker_.setMaxThreadCount(1);
}

ChangesModel::~ChangesModel() {
    relay_->detach();
    worker_.waitForDone();
}

void ChangesModel::scanCompleted() {
    std::shared_ptr<FileNode> root = tree_.root();
    const std::string path = root->path();
    if (rootPath_ != path) {
        baseline_.reset();
        setChanges({});
        lastError_.reset();
        snapshots_.clear();
        rootPath_ = path;
    }
    root_ = std::move(root);
    ++generation_;
    keepAndList(true, true);
}

void ChangesModel::saveNow() {
    if (root_ == nullptr) return;
    keepAndList(true, false);
}

void ChangesModel::keepAndList(bool save, bool thenCompare) {
    isLoading_ = true;
    emit snapshotsChanged();
    const int generation = generation_;
    ChangesModel* self = this;
    (void)QtConcurrent::run(&worker_, [relay = relay_, self, generation, save, thenCompare, reader = tree_.reader(),
                                       store = store_, now = environment_.now(), files = environment_.files] {
        nameThisThread("Tessel.snapshot");
        const ScanSnapshot snapshot = snapshotOf(reader, now);
        std::optional<SnapshotInfo> saved;
        QString saveError;
        if (save) {
            try {
                saved = store.save(snapshot);
                store.prune(snapshot.rootPath);
            } catch (const SnapshotError& error) {
                saveError = QStringLiteral("Could not keep a snapshot of this scan: ") + QString::fromUtf8(error.what());
            }
        }
        SnapshotListing listed = store.listing(snapshot.rootPath);
        // The baseline is the newest earlier snapshot that can be read whole;
        // one that can't is passed over rather than failing every comparison.
        SnapshotBaseline found;
        std::vector<SnapshotChange> changes;
        if (thenCompare) {
            found = store.baseline(listed.readable, saved ? saved->path : std::string());
            if (found.snapshot) changes = SnapshotDiff::changes(*found.snapshot, snapshot);
        }
        relay->post([self, generation, thenCompare, saved, saveError, listed = std::move(listed.readable),
                     baseline = std::move(found.info), passedOver = std::move(found.passedOver),
                     changes = std::move(changes)]() mutable {
            if (generation != self->generation_) return;
            self->snapshots_ = std::move(listed);
            self->saveError_ = saveError;
            self->isLoading_ = false;
            emit self->snapshotsChanged();
            if (!thenCompare) {
                emit self->changesChanged(); // the baseline's place in the list may have moved
                return;
            }
            ++self->comparison_; // a comparison still under way answers for an older list
            self->isComparing_ = false;
            self->setChanges(std::move(changes));
            self->lastError_.reset();
            self->baseline_ = std::move(baseline);
            if (!self->baseline_ && !passedOver.empty()) {
                // Nothing earlier can be read: say why the newest can't.
                self->baseline_ = earlier(self->snapshots_, saved);
                self->lastError_ = passedOver.front().reason;
            }
            emit self->changesChanged();
        });
    });
}

void ChangesModel::compareWith(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= snapshots_.size()) return;
    compare(snapshots_[static_cast<std::size_t>(index)]);
}

void ChangesModel::compare(const SnapshotInfo& info) {
    if (root_ == nullptr) return;
    baseline_ = info;
    isComparing_ = true;
    lastError_.reset();
    emit changesChanged();
    const int generation = generation_;
    const int comparison = ++comparison_;
    ChangesModel* self = this;
    (void)QtConcurrent::run(&worker_, [relay = relay_, self, generation, comparison, info, reader = tree_.reader(),
                                       store = store_, now = environment_.now(), files = environment_.files] {
        nameThisThread("Tessel.snapshot");
        std::vector<SnapshotChange> changes;
        std::optional<std::string> error;
        try {
            const ScanSnapshot old = store.load(info);
            changes = SnapshotDiff::changes(old, snapshotOf(reader, now));
        } catch (const SnapshotError& failure) {
            error = failure.what();
        }
        relay->post([self, generation, comparison, changes = std::move(changes), error]() mutable {
            if (generation != self->generation_ || comparison != self->comparison_) return;
            self->setChanges(std::move(changes));
            self->lastError_ = error;
            self->isComparing_ = false;
            emit self->changesChanged();
        });
    });
}

std::optional<SnapshotInfo> ChangesModel::earlier(const std::vector<SnapshotInfo>& snapshots,
                                                  const std::optional<SnapshotInfo>& justSaved) {
    for (const SnapshotInfo& info : snapshots)
        if (!justSaved || info.path != justSaved->path) return info;
    return std::nullopt;
}

int ChangesModel::baselineIndex() const {
    if (!baseline_) return -1;
    for (std::size_t index = 0; index < snapshots_.size(); ++index)
        if (snapshots_[index].path == baseline_->path) return static_cast<int>(index);
    return -1;
}

QVariantList ChangesModel::snapshotRows() const {
    QVariantList rows;
    for (const SnapshotInfo& info : snapshots_)
        rows.append(QVariantMap{{"date", dateText(info.date)}, {"size", sizeText(info.totalBytes)}});
    return rows;
}

QVariantList ChangesModel::changeRows() const {
    QVariantList rows;
    for (const SnapshotChange& change : changes_) {
        const std::int64_t delta = change.delta();
        const QString path = toQString(change.path);
        rows.append(QVariantMap{
            {"path", path},
            // Only what still stands in the tree can be chosen and acted on.
            {"present", root_ != nullptr && tree_.nodeAt(change.path) != nullptr},
            {"name", toQString(Paths::lastComponent(change.path))},
            {"kind", toQString(SnapshotDiff::kindName(change.kind))},
            {"title", toQString(ChangeWords::kindTitle(change.kind))},
            {"delta", (delta < 0 ? QStringLiteral("−") : QStringLiteral("+")) + sizeText(delta < 0 ? -delta : delta)},
            {"sizes", sizeText(change.oldBytes) + QStringLiteral(" → ") + sizeText(change.newBytes)},
            {"newBytes", QVariant::fromValue<qint64>(change.newBytes)},
            {"oldBytes", QVariant::fromValue<qint64>(change.oldBytes)},
        });
    }
    return rows;
}

void ChangesModel::setChanges(std::vector<SnapshotChange> changes) {
    changes_ = std::move(changes);
    // A row that left, or whose item left the tree, is no longer chosen.
    selection_.keepOnly(choosableIds());
    selectionChanged();
}

std::vector<std::string> ChangesModel::choosableIds() const {
    std::vector<std::string> ids;
    ids.reserve(changes_.size());
    for (const SnapshotChange& change : changes_)
        ids.push_back(root_ != nullptr && tree_.nodeAt(change.path) != nullptr ? change.path : std::string());
    return ids;
}

void ChangesModel::selectionChanged() {
    ++selectionRevision_;
    emit chosenChanged();
}

void ChangesModel::choose(int row, int modifiers) {
    const std::vector<std::string> ids = choosableIds();
    if (row < 0 || static_cast<std::size_t>(row) >= ids.size() || ids[static_cast<std::size_t>(row)].empty()) return;
    selection_.click(ids, static_cast<std::size_t>(row), RowActions::gestureOf(modifiers));
    // A range may cross rows of what is gone; they are never chosen.
    selection_.keepOnly(ids);
    selectionChanged();
}

void ChangesModel::pointAt(int row) {
    const std::vector<std::string> ids = choosableIds();
    if (row < 0 || static_cast<std::size_t>(row) >= ids.size() || ids[static_cast<std::size_t>(row)].empty()) return;
    selection_.pointAt(ids, static_cast<std::size_t>(row));
    selectionChanged();
}

void ChangesModel::chooseNone() {
    if (selection_.empty()) return;
    selection_.clear();
    selectionChanged();
}

bool ChangesModel::isChosen(int row) const {
    return row >= 0 && static_cast<std::size_t>(row) < changes_.size() &&
           selection_.contains(changes_[static_cast<std::size_t>(row)].path);
}

std::vector<const FileNode*> ChangesModel::chosenNodes() const {
    std::vector<const FileNode*> nodes;
    if (root_ == nullptr) return nodes;
    for (const SnapshotChange& change : changes_)
        if (selection_.contains(change.path))
            if (const FileNode* node = tree_.nodeAt(change.path)) nodes.push_back(node);
    return nodes;
}

qint64 ChangesModel::chosenBytes() const { return RowActions::bytesOf(chosenNodes()); }

QString ChangesModel::chosenName() const { return RowActions::nameOf(chosenNodes()); }

void ChangesModel::moveChosenToTrash() { actions_.moveToTrash(chosenNodes()); }

void ChangesModel::showChosenInFiles() { actions_.showInFiles(chosenNodes()); }

void ChangesModel::openChosen() { actions_.open(chosenNodes()); }

QString ChangesModel::nothingEarlierText() const { return toQString(ChangeWords::nothingEarlier()); }

QString ChangesModel::nothingChangedText() const { return toQString(ChangeWords::nothingChanged()); }

QString ChangesModel::lastErrorText() const {
    return lastError_ ? toQString(ChangeWords::unreadable(*lastError_)) : QString();
}

QString ChangesModel::ruleText() const {
    return rootPath_ ? toQString(ChangeWords::rule(*rootPath_)) : QString();
}

QString ChangesModel::baselineText() const {
    return baseline_ ? toQString(ChangeWords::since(baseline_->date, baseline_->totalBytes)) : QString();
}

} // namespace tessel
