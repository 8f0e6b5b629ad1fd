#include "tools/duplicates/DuplicatesModel.h"

#include <QDateTime>
#include <QtConcurrent/QtConcurrentRun>

#include "app/SettingsKeys.h"
#include "DiskScanKit/ByteFormat.h"
#include "removal/RemovalRoad.h"
#include "support/QtText.h"
#include "support/ThreadName.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel {

namespace {

QString sizeText(std::int64_t bytes) { return toQString(ByteFormat::string(bytes)); }

QString counted(std::int64_t count, const char* one, const char* many) {
    return toQString(TextFormat::grouped(count)) + QLatin1Char(' ') + QLatin1String(count == 1 ? one : many);
}

bool isAttached(const FileNode* node, const FileNode* root) {
    while (node != nullptr && node != root) node = node->parent();
    return node == root;
}

} // namespace

QVariant DuplicateGroupList::data(const QModelIndex& index, int role) const {
    const Row* at = rowAt(index);
    if (at == nullptr) return {};
    const Row& row = *at;
    switch (role) {
    case titleRole: return row.title;
    case detailRole: return row.detail;
    case freesRole: return row.frees;
    case filesRole: return row.files;
    case groupIdRole: return row.groupId;
    default: return {};
    }
}

QHash<int, QByteArray> DuplicateGroupList::roleNames() const {
    return {{titleRole, "title"}, {detailRole, "detail"}, {freesRole, "frees"}, {filesRole, "files"}, {groupIdRole, "groupId"}};
}

DuplicatesModel::DuplicatesModel(Environment environment, ScannedTree& tree, RemovalRoad& road, QObject* parent)
    : QObject(parent), environment_(std::move(environment)), tree_(tree), road_(road), list_(this) {
    if (environment_.settings != nullptr)
        order_ = DuplicateChoices::orderFrom(environment_.settings->value(SettingsKey::sortDuplicates).toString());
    // One comparison at a time; the finder starts its own readers.
    worker_.setMaxThreadCount(1);
    connect(&tree_, &ScannedTree::replaced, this, &DuplicatesModel::reset);
    // Copies that left the tree (moved to the Trash from here or anywhere) leave their groups, and come back with it.
    connect(&tree_, &ScannedTree::changed, this, [this] {
        noteWhatWent();
        rebuild();
    });
}

DuplicatesModel::~DuplicatesModel() {
    relay_->detach();
    stopRunning();
    worker_.waitForDone();
}

void DuplicatesModel::reset() {
    stopRunning();
    ++generation_;
    root_ = tree_.root();
    report_.reset();
    nodes_.clear();
    shown_.clear();
    keepers_.clear();
    ticked_.clear();
    gone_.clear();
    progressText_.clear();
    fraction_ = 0;
    list_.reset({});
    emit progressChanged();
    emit resultChanged();
    emit ticksChanged();
    setState(root_ ? State::Ready : State::Waiting);
}

void DuplicatesModel::noteWhatWent() {
    gone_.clear();
    for (const auto& [path, node] : nodes_)
        if (!isAttached(node, root_.get())) {
            gone_.insert(path);
            ticked_.erase(path);
        }
}

void DuplicatesModel::look() {
    if (state_ != State::Ready || root_ == nullptr) return;
    const int generation = ++generation_;
    cancelled_ = std::make_shared<std::atomic<bool>>(false);
    progressText_ = QStringLiteral("Listing the files to compare…");
    fraction_ = 0;
    emit progressChanged();
    setState(State::Working);
    DuplicatesModel* self = this;
    (void)QtConcurrent::run(&worker_, [relay = relay_, self, generation, reader = tree_.reader(), flag = cancelled_,
                                       environment = environment_] {
        nameThisThread("Tessel.dupes");
        std::vector<std::string> paths;
        {
            const ScannedTree::Reader::Hold hold = reader.hold();
            paths = DuplicateFinder::candidatePaths(*reader.root(), environment.minimumBytes, environment.home);
        }
        // The files are read with no hold on the tree: the comparison may take minutes.
        const DuplicateFinder finder(environment.minimumBytes, DuplicateFinder::toolSampleBytes,
                                     environment.workerCount, environment.home, environment.stallTimeout);
        DuplicateReport report = finder.find(
            paths,
            [relay, self, generation](const DuplicateScanProgress& now) {
                relay->post([self, generation, now] {
                    if (generation == self->generation_) self->progressed(now);
                });
            },
            [flag] { return flag->load(); });
        // Each copy's node, so that what leaves the tree is seen to leave its group.
        std::map<std::string, FileNode*> nodes;
        {
            const ScannedTree::Reader::Hold hold = reader.hold();
            for (const DuplicateGroup& group : report.groups)
                for (const DuplicateFile& file : group.files)
                    for (std::string& name : DuplicateChoices::namesOf(file))
                        nodes.emplace(name, FileNode::atPath(*reader.root(), name));
        }
        relay->post([self, generation, report = std::move(report), nodes = std::move(nodes)]() mutable {
            if (generation == self->generation_) self->received(std::move(report), std::move(nodes));
        });
    });
}

void DuplicatesModel::lookAgain() {
    if (root_ == nullptr || state_ == State::Working) return;
    reset();
    look();
}

void DuplicatesModel::cancel() {
    if (cancelled_) cancelled_->store(true);
}

void DuplicatesModel::stopRunning() {
    if (cancelled_) cancelled_->store(true);
    cancelled_.reset();
}

void DuplicatesModel::setState(State state) {
    if (state_ == state) return;
    state_ = state;
    emit stateChanged();
}

void DuplicatesModel::progressed(const DuplicateScanProgress& now) {
    const auto part = [](std::int64_t done, std::int64_t total) {
        return total > 0 ? std::min(1.0, static_cast<double>(done) / static_cast<double>(total)) : 1.0;
    };
    // Sizes take no time and samples little; reading whole files is most of the wait.
    switch (now.phase) {
    case DuplicateScanProgress::Phase::sizing:
        progressText_ = QStringLiteral("Comparing the sizes of %1…").arg(counted(now.filesTotal, "file", "files"));
        fraction_ = 0.05 * part(now.filesDone, now.filesTotal);
        break;
    case DuplicateScanProgress::Phase::sampling:
        progressText_ = QStringLiteral("Comparing samples: %L1 of %2").arg(now.filesDone).arg(counted(now.filesTotal, "file", "files"));
        fraction_ = 0.05 + 0.15 * part(now.filesDone, now.filesTotal);
        break;
    case DuplicateScanProgress::Phase::hashing:
        progressText_ = QStringLiteral("Reading whole files: %1 of %2").arg(sizeText(now.bytesHashed), sizeText(now.bytesToHash));
        fraction_ = 0.2 + 0.8 * part(now.bytesHashed, now.bytesToHash);
        break;
    }
    emit progressChanged();
}

void DuplicatesModel::received(DuplicateReport report, std::map<std::string, FileNode*> nodes) {
    cancelled_.reset();
    report_ = std::move(report);
    nodes_ = std::move(nodes);
    keepers_.clear();
    ticked_.clear();
    // The tree may have changed while the files were compared.
    noteWhatWent();
    refreshShown();
    chooseKeepers(keeping_);
    progressText_.clear();
    fraction_ = 1;
    emit progressChanged();
    setState(report_->wasCancelled ? State::Stopped : State::Done);
}

void DuplicatesModel::refreshShown() {
    shown_.clear();
    if (report_)
        for (const DuplicateGroup& group : report_->groups)
            if (std::optional<DuplicateGroup> left = DuplicateChoices::without(group, gone_)) shown_.push_back(std::move(*left));
    DuplicateChoices::sort(shown_, order_);
    for (const DuplicateGroup& group : shown_) {
        const auto keeper = keepers_.find(group.id);
        const bool present = keeper != keepers_.end() &&
                             std::any_of(group.files.begin(), group.files.end(),
                                         [&](const DuplicateFile& file) { return file.path == keeper->second; });
        if (!present) keepers_[group.id] = group.files[DuplicateWords::keeperIndex(group, keeping_)].path;
    }
}

void DuplicatesModel::publish() {
    std::vector<DuplicateGroupList::Row> rows;
    rows.reserve(shown_.size());
    for (std::size_t index = 0; index < shown_.size(); ++index) rows.push_back(rowFor(index));
    list_.reset(std::move(rows));
    emit resultChanged();
    emit ticksChanged();
}

void DuplicatesModel::chooseKeepers(DuplicateWords::Keeping keeping) {
    keeping_ = keeping;
    for (const DuplicateGroup& group : shown_) {
        const std::string& keeper = group.files[DuplicateWords::keeperIndex(group, keeping)].path;
        keepers_[group.id] = keeper;
        for (const DuplicateFile& file : group.files) {
            if (file.path == keeper) ticked_.erase(file.path);
            else ticked_.insert(file.path);
        }
    }
    // Choosing keepers changes neither the groups nor their order, only their rows.
    publish();
}

void DuplicatesModel::keepOriginal() { chooseKeepers(DuplicateWords::Keeping::original); }
void DuplicatesModel::keepOldest() { chooseKeepers(DuplicateWords::Keeping::oldest); }

void DuplicatesModel::setOrder(const QString& raw) {
    const DuplicateChoices::Order order = DuplicateChoices::orderFrom(raw);
    if (environment_.settings != nullptr) environment_.settings->setValue(SettingsKey::sortDuplicates, DuplicateChoices::orderName(order));
    if (order == order_) return;
    order_ = order;
    rebuild();
}

void DuplicatesModel::toggle(int row, int file) {
    if (row < 0 || static_cast<std::size_t>(row) >= shown_.size()) return;
    const DuplicateGroup& group = shown_[static_cast<std::size_t>(row)];
    if (file < 0 || static_cast<std::size_t>(file) >= group.files.size()) return;
    // Rows list the keeper first, whatever the keeper rule's order.
    std::vector<const DuplicateFile*> listed;
    for (const DuplicateFile& each : group.files)
        if (each.path == keepers_[group.id]) listed.insert(listed.begin(), &each);
        else listed.push_back(&each);
    const std::string& path = listed[static_cast<std::size_t>(file)]->path;
    if (ticked_.erase(path) == 0) {
        const auto unticked = std::count_if(group.files.begin(), group.files.end(),
                                            [&](const DuplicateFile& each) { return !ticked_.contains(each.path); });
        // One copy always stays: ticking every copy would remove the contents itself.
        if (unticked <= 1) return;
        ticked_.insert(path);
    }
    list_.replace(row, rowFor(static_cast<std::size_t>(row)));
    emit ticksChanged();
}

int DuplicatesModel::tickedCount() const {
    int count = 0;
    for (const DuplicateGroup& group : shown_)
        for (const DuplicateFile& file : group.files) count += ticked_.contains(file.path) ? 1 : 0;
    return count;
}

qint64 DuplicatesModel::tickedBytes() const {
    std::int64_t bytes = 0;
    for (const DuplicateGroup& group : shown_) bytes += DuplicateChoices::freedBy(group, ticked_);
    return bytes;
}

QString DuplicatesModel::removeTitle() const {
    const int count = tickedCount();
    return count == 1 ? QStringLiteral("Move 1 Copy to Trash") : QStringLiteral("Move %L1 Copies to Trash").arg(count);
}

void DuplicatesModel::removeTicked() {
    std::vector<DeletionCandidate> candidates;
    for (const DuplicateGroup& group : shown_)
        for (const DuplicateFile& file : group.files) {
            if (!ticked_.contains(file.path)) continue;
            // Every name goes, or a hard-linked copy frees nothing; its bytes are counted once.
            bool first = true;
            for (std::string& name : DuplicateChoices::namesOf(file)) {
                candidates.push_back({std::move(name), first ? file.allocatedBytes : 0, false});
                first = false;
            }
        }
    if (!candidates.empty()) road_.prepare(candidates);
}

QString DuplicatesModel::summary() const {
    if (!report_) return {};
    return toQString(DuplicateWords::summary(shown_, *report_, environment_.minimumBytes));
}

QString DuplicatesModel::keeping() const {
    return keeping_ == DuplicateWords::Keeping::oldest ? QStringLiteral("oldest") : QStringLiteral("original");
}

DuplicateGroupList::Row DuplicatesModel::rowFor(std::size_t index) const {
    const DuplicateGroup& group = shown_[index];
    const auto keeperPath = keepers_.find(group.id);
    std::size_t keeper = 0;
    for (std::size_t at = 0; at < group.files.size(); ++at)
        if (keeperPath != keepers_.end() && group.files[at].path == keeperPath->second) keeper = at;

    DuplicateGroupList::Row row;
    row.groupId = toQString(group.id);
    const std::string& keptPath = group.files[keeper].path;
    row.title = toQString(keptPath.substr(keptPath.rfind('/') + 1));
    row.detail = QStringLiteral("%1 copies of %2").arg(group.files.size()).arg(sizeText(group.logicalSize));
    bool anyTicked = false;
    for (const DuplicateFile& file : group.files) anyTicked = anyTicked || ticked_.contains(file.path);
    const std::int64_t frees = DuplicateChoices::freedBy(group, ticked_);
    row.frees = !anyTicked  ? QStringLiteral("Nothing ticked")
                : frees > 0 ? QStringLiteral("Frees %1").arg(sizeText(frees))
                            : QStringLiteral("Frees nothing: the ticked copies share their blocks");

    const auto fileMap = [&](const DuplicateFile& file, bool isKeeper) {
        const std::size_t slash = file.path.rfind('/');
        QStringList others;
        for (const std::string& name : file.otherNames) others << toQString(name);
        return QVariantMap{
            {QStringLiteral("path"), toQString(file.path)},
            {QStringLiteral("name"), toQString(file.path.substr(slash + 1))},
            {QStringLiteral("folder"), homeRelative(toQString(file.path.substr(0, slash)), toQString(environment_.home))},
            {QStringLiteral("size"), sizeText(file.allocatedBytes)},
            {QStringLiteral("sharing"), toQString(sharingWords(file))},
            {QStringLiteral("modified"), localDate(file.modified, QStringLiteral("d MMM yyyy"))},
            {QStringLiteral("isKeeper"), isKeeper},
            {QStringLiteral("reason"), isKeeper ? toQString(DuplicateWords::keeperReason(group, keeper, keeping_, environment_.home)) : QString()},
            {QStringLiteral("ticked"), ticked_.contains(file.path)},
            {QStringLiteral("otherNames"), others.join(QStringLiteral(", "))},
        };
    };
    row.files << fileMap(group.files[keeper], true);
    for (std::size_t at = 0; at < group.files.size(); ++at)
        if (at != keeper) row.files << fileMap(group.files[at], false);
    return row;
}

} // namespace tessel
