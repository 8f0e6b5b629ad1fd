#include "tools/leftovers/LeftoversModel.h"

#include <algorithm>
#include <chrono>
#include <map>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/Paths.h"
#include "removal/RemovalRoad.h"
#include "support/QtText.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/OrphanEvidence.h"

namespace tessel {

namespace {

QString sizeText(std::int64_t bytes) { return toQString(ByteFormat::string(bytes)); }

bool isTickable(const OrphanItem& item) { return !item.requiresAdministrator; }

} // namespace

std::int64_t LeftoverGroup::bytes() const {
    std::int64_t total = 0;
    for (const OrphanItem& item : items) total = checkedAdd(total, item.bytes);
    return total;
}

LeftoversModel::Dependencies LeftoversModel::Dependencies::system(const std::string& home) {
    Dependencies dependencies;
    dependencies.home = home;
    dependencies.find = [home](std::int64_t now, const Progress& progress, const std::function<bool()>& isCancelled) {
        DesktopMachine machine = DesktopMachine::fromEnvironment("/");
        if (machine.home != home) {
            // A home other than the user's (the app's own fixture) keeps its data where a home would.
            const std::string own = machine.dataHome;
            machine.home = home;
            machine.dataHome = home + "/.local/share";
            std::ranges::replace(machine.dataFolders, own, machine.dataHome);
        }
        return OrphanEvidence::findOnLinux(machine, Paths::xdgFolder("XDG_CACHE_HOME", home, ".cache") + "/Tessel", now, progress,
                                           isCancelled);
    };
    dependencies.now = [] {
        return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    };
    return dependencies;
}

LeftoversModel::LeftoversModel(Dependencies dependencies, RemovalRoad& road, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)), road_(road), list_(this) {
    connect(&road_, &RemovalRoad::finished, this, &LeftoversModel::refreshPresence);
}

LeftoversModel::~LeftoversModel() = default;

void LeftoversModel::run() {
    if (!dependencies_.find) return;
    const std::int64_t now = dependencies_.now ? dependencies_.now() : 0;
    search_.start([now, find = dependencies_.find](const auto& progress, const auto& isCancelled) { return find(now, progress, isCancelled); },
                  [this](std::vector<OrphanItem> items) { received(std::move(items)); });
}

void LeftoversModel::cancel() { search_.stop(); }

void LeftoversModel::received(std::vector<OrphanItem> items) {
    items_ = std::move(items);
    gone_.clear();
    rebuild();
    selection_.clear();
    selectLikely();
    publish();
}

void LeftoversModel::rebuild() {
    std::map<std::string, LeftoverGroup> byOwner;
    for (const OrphanItem& item : items_) {
        if (gone_.contains(item.path)) continue;
        auto [group, added] = byOwner.try_emplace(item.owner.key, LeftoverGroup{item.owner, {}});
        group->second.items.push_back(item);
    }
    shown_.clear();
    for (auto& [key, group] : byOwner) shown_.push_back(std::move(group));
    std::ranges::stable_sort(shown_, [](const LeftoverGroup& a, const LeftoverGroup& b) { return a.bytes() > b.bytes(); });
}

void LeftoversModel::publish() {
    std::vector<TickedGroupList::Row> rows;
    for (const LeftoverGroup& group : shown_) rows.push_back(rowFor(group));
    list_.reset(std::move(rows));
    emit resultChanged();
    emit ticksChanged();
}

void LeftoversModel::publishTicks() {
    for (std::size_t row = 0; row < shown_.size(); ++row) list_.replace(static_cast<int>(row), rowFor(shown_[row]));
    emit ticksChanged();
}

void LeftoversModel::toggle(const QString& path) {
    const std::string key = toBytes(path);
    for (const LeftoverGroup& group : shown_)
        for (const OrphanItem& item : group.items)
            if (item.path == key && isTickable(item)) {
                if (selection_.erase(key) == 0) selection_.insert(key);
                publishTicks();
                return;
            }
}

void LeftoversModel::toggleGroup(const QString& groupId) {
    for (const LeftoverGroup& group : shown_)
        if (toQString(group.owner.key) == groupId) {
            tessel::toggleGroup(group.items, selection_, isTickable);
            publishTicks();
            return;
        }
}

void LeftoversModel::selectAll() {
    for (const LeftoverGroup& group : shown_)
        for (const OrphanItem& item : group.items)
            if (isTickable(item)) selection_.insert(item.path);
    publishTicks();
}

void LeftoversModel::selectLikely() {
    selection_.clear();
    for (const LeftoverGroup& group : shown_)
        for (const OrphanItem& item : group.items)
            if (item.isTicked()) selection_.insert(item.path);
    publishTicks();
}

bool LeftoversModel::selectsEverything() const {
    return std::ranges::all_of(shown_, [this](const LeftoverGroup& group) {
        return std::ranges::all_of(group.items, [this](const OrphanItem& item) { return !isTickable(item) || selection_.contains(item.path); });
    });
}

TickState LeftoversModel::tickState(const std::string& groupKey) const {
    for (const LeftoverGroup& group : shown_)
        if (group.owner.key == groupKey) return tickStateOf(group.items, selection_, isTickable);
    return TickState::none;
}

void LeftoversModel::refreshPresence() {
    if (items_.empty() || !JunkChoices::forgetMissing(items_, dependencies_.presence, gone_, selection_)) return;
    rebuild();
    publish();
}

std::vector<OrphanItem> LeftoversModel::selectedItems() const {
    std::vector<OrphanItem> chosen;
    for (const LeftoverGroup& group : shown_)
        for (const OrphanItem& item : group.items)
            if (selection_.contains(item.path)) chosen.push_back(item);
    return chosen;
}

void LeftoversModel::removeTicked() {
    std::vector<DeletionCandidate> candidates;
    std::map<std::string, std::string> labels;
    for (const OrphanItem& item : selectedItems()) {
        candidates.push_back({item.path, item.bytes, item.isDirectory});
        labels.emplace(item.path, item.owner.name);
    }
    if (!candidates.empty()) road_.prepare(std::move(candidates), std::move(labels), {});
}

int LeftoversModel::itemCount() const {
    std::size_t count = 0;
    for (const LeftoverGroup& group : shown_) count += group.items.size();
    return static_cast<int>(count);
}

qint64 LeftoversModel::totalFound() const {
    std::int64_t bytes = 0;
    for (const LeftoverGroup& group : shown_) bytes = checkedAdd(bytes, group.bytes());
    return bytes;
}

qint64 LeftoversModel::tickedBytes() const {
    std::int64_t bytes = 0;
    for (const OrphanItem& item : selectedItems()) bytes = checkedAdd(bytes, item.bytes);
    return bytes;
}

TickedGroupList::Row LeftoversModel::rowFor(const LeftoverGroup& group) const {
    TickedGroupList::Row row;
    row.groupId = toQString(group.owner.key);
    row.title = toQString(group.owner.name + (group.owner.channel ? " " + *group.owner.channel : std::string()));
    row.summary = group.owner.domain ? toQString(*group.owner.domain) : QString();
    row.size = sizeText(group.bytes());
    row.tickState = tickWord(tickStateOf(group.items, selection_, isTickable));
    const std::string& home = dependencies_.home;
    for (const OrphanItem& item : group.items) {
        row.tickable = row.tickable || isTickable(item);
        const bool inHome = !home.empty() && Paths::isWithin(item.path, home) && item.path != home;
        QVariantList tags{TickedGroupList::tag(toQString(MatchConfidences::label(item.confidence)),
                                               item.confidence == MatchConfidence::exact ? QStringLiteral("accent") : QStringLiteral("quiet"))};
        if (item.requiresAdministrator) tags << TickedGroupList::tag(QStringLiteral("Needs an administrator"), QStringLiteral("quiet"));
        row.items << QVariantMap{
            {QStringLiteral("path"), toQString(item.path)},
            {QStringLiteral("name"), toQString(inHome ? "~" + item.path.substr(home.size()) : item.path)},
            {QStringLiteral("size"), sizeText(item.bytes)},
            {QStringLiteral("note"), toQString(item.locationLabel + ". " + item.reason)},
            {QStringLiteral("ticked"), selection_.contains(item.path)},
            {QStringLiteral("tickable"), isTickable(item)},
            {QStringLiteral("tags"), tags},
        };
    }
    return row;
}

} // namespace tessel
