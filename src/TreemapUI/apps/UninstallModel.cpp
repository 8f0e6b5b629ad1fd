#include "apps/UninstallModel.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QtConcurrent/QtConcurrentRun>

#include <sys/stat.h>

#include <algorithm>

#include "app/SettingsKeys.h"
#include "apps/UninstallChoices.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/TextFormat.h"
#include "lists/RowActions.h"
#include "removal/RemovalRoad.h"
#include "support/QtText.h"
#include "support/ThreadName.h"
#include "TrashKit/RemovalSheet.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/AppIcons.h"
#include "UninstallKit/AppLaunchers.h"
#include "UninstallKit/AppOwners.h"

namespace tessel {

namespace {

QString sizeText(std::int64_t bytes) { return toQString(ByteFormat::string(bytes)); }

// The launcher's name as people know it: "gone" of "applications:gone.desktop".
QString launcherName(const std::string& entry) {
    std::string_view name = entry;
    if (const std::size_t cut = name.find_last_of(":/"); cut != std::string_view::npos) name.remove_prefix(cut + 1);
    if (name.ends_with(".desktop")) name.remove_suffix(8);
    return toQString(name);
}

QString iconSource(const std::optional<std::string>& file) {
    if (!file) return {};
    const QByteArray path(file->data(), static_cast<qsizetype>(file->size()));
    return QStringLiteral("image://appicon/") + QString::fromLatin1(path.toPercentEncoding());
}

} // namespace

const std::vector<RowField<UninstallAppRow>>& UninstallAppRow::fields() {
    using Row = UninstallAppRow;
    static const std::vector<RowField<Row>> list{
        {"key", &Row::key},   {"name", &Row::name},           {"icon", &Row::icon},       {"source", &Row::source},
        {"size", &Row::size}, {"lastOpened", &Row::lastOpened}, {"running", &Row::running}, {"chosen", &Row::chosen}};
    return list;
}

const std::vector<RowField<UninstallPlanRow>>& UninstallPlanRow::fields() {
    using Row = UninstallPlanRow;
    static const std::vector<RowField<Row>> list{
        {"key", &Row::key},         {"name", &Row::name},       {"icon", &Row::icon},           {"source", &Row::source},
        {"running", &Row::running}, {"building", &Row::building}, {"bundle", &Row::bundle},     {"handoff", &Row::handoff},
        {"appstreamId", &Row::appstreamId}, {"groups", &Row::groups}, {"administrator", &Row::administrator},
        {"summary", &Row::summary}};
    return list;
}

// What one reading of the machine gives, off the main thread.
struct UninstallModel::Loaded {
    std::vector<FoundApp> apps;
    std::shared_ptr<const ResidueScanner> scanner;
    std::optional<std::string> softwareCentre;
    DesktopAppListing listing;
    std::vector<DesktopLaunchers::Orphan> orphans;
    std::vector<UnusedAppEntry> usage;
    std::map<std::string, std::optional<std::string>> iconFiles;
};

UninstallModel::Dependencies UninstallModel::Dependencies::system(const std::string& home,
                                                                  std::shared_ptr<DesktopLaunchers> launchers,
                                                                  QSettings* settings) {
    Dependencies dependencies;
    dependencies.machine = DesktopMachine::fromEnvironment("/");
    dependencies.machine.home = home;
    dependencies.cacheFolder = Paths::xdgFolder("XDG_CACHE_HOME", home, ".cache") + "/Tessel";
    dependencies.running = [] { return RunningPrograms::inThisSession(); };
    dependencies.launchers = std::move(launchers);
    dependencies.copy = [](const QString& text) {
        if (QClipboard* clipboard = QGuiApplication::clipboard()) clipboard->setText(text);
    };
    dependencies.openUrl = [](const QUrl& url) { QDesktopServices::openUrl(url); };
    dependencies.settings = settings;
    dependencies.openings = [](const DesktopMachine& machine) {
        return LastOpenedReader::read(machine, std::chrono::duration_cast<std::chrono::seconds>(
                                                   std::chrono::system_clock::now().time_since_epoch()).count());
    };
    return dependencies;
}

UninstallModel::UninstallModel(Dependencies dependencies, RemovalRoad& road, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)), road_(road), appList_(this), planList_(this) {
    loader_.setMaxThreadCount(1);
    planner_.setMaxThreadCount(1);
    connect(&road_, &RemovalRoad::finished, this, &UninstallModel::roadFinished);
    connect(&road_, &RemovalRoad::planChanged, this, &UninstallModel::roadPlanChanged);
}

UninstallModel::~UninstallModel() {
    relay_->detach();
    loader_.waitForDone();
    planner_.waitForDone();
}

void UninstallModel::loadIfNeeded() {
    if (!hasLoaded_ && !isLoading_) loadApps();
}

void UninstallModel::loadApps() {
    if (dependencies_.machine.home.empty()) return;
    const int generation = ++loadGeneration_;
    if (!isLoading_) {
        isLoading_ = true;
        emit loadingChanged();
    }
    UninstallModel* self = this;
    (void)QtConcurrent::run(&loader_, [relay = relay_, self, generation, dependencies = dependencies_] {
        nameThisThread("Tessel.uninstall-apps");
        const DesktopMachine& machine = dependencies.machine;
        FoundAppListing found =
            FoundApps::onMachine(machine, dependencies.cacheFolder, dependencies.running ? dependencies.running() : RunningPrograms{});
        Loaded loaded;
        for (FoundApp& each : found.apps) loaded.listing.apps.push_back(each.app);
        loaded.listing.unreadable = std::move(found.unreadable);
        // What no package manager measures: the folder an app was unpacked into.
        const AppOwners owners(loaded.listing.apps, nullptr, machine);
        for (FoundApp& each : found.apps) {
            if (each.bytes) continue;
            struct stat info {};
            if (const std::optional<std::string> home = owners.homeOf(each.app);
                home && ::lstat(machine.onDisk(*home).c_str(), &info) == 0)
                each.bytes = DiskScanner::allocatedSize(machine.onDisk(*home));
        }
        loaded.scanner = std::make_shared<const ResidueScanner>(UninstallPlanner::scannerOf(loaded.listing.apps, machine));
        loaded.softwareCentre = AppCatalog::schemeHandler(loaded.listing.apps, machine, "appstream");
        if (dependencies.launchers) loaded.orphans = AppLaunchers::orphans(*dependencies.launchers, loaded.listing);
        if (dependencies.openings) loaded.usage = UnusedApps::entries(found.apps, dependencies.openings(machine), machine);
        for (const FoundApp& each : found.apps)
            if (each.app.icon) loaded.iconFiles[each.app.entryPath] = AppIcons::find(*each.app.icon, machine);
        loaded.apps = std::move(found.apps);
        relay->post([self, generation, loaded = std::move(loaded)]() mutable {
            if (generation == self->loadGeneration_) self->received(std::move(loaded));
        });
    });
}

void UninstallModel::received(Loaded loaded) {
    all_ = std::move(loaded.apps);
    scanner_ = std::move(loaded.scanner);
    softwareCentre_ = std::move(loaded.softwareCentre);
    listing_ = std::move(loaded.listing);
    builtIn_ = UninstallChoices::builtInCount(all_);
    sources_.clear();
    lastOpened_.clear();
    icons_.clear();
    for (const FoundApp& found : all_) {
        sources_[key(found)] = UninstallChoices::sourceWords(found.app, dependencies_.machine.home);
        icons_[key(found)] = iconSource(loaded.iconFiles[key(found)]);
        lastOpened_[key(found)] = QStringLiteral("—");
    }
    usage_ = std::move(loaded.usage);
    for (const UnusedAppEntry& entry : usage_)
        if (entry.lastOpened.date)
            lastOpened_[entry.app.entryPath] =
                localDate(std::chrono::system_clock::time_point(std::chrono::seconds(*entry.lastOpened.date)), QStringLiteral("d MMM yyyy"));
    if (orphans_ != loaded.orphans) {
        orphans_ = std::move(loaded.orphans);
        emit launchersChanged();
    }
    // Plans of the earlier reading may hold what has gone since: all are made again.
    ++planGeneration_;
    plans_.clear();
    ticks_.clear();
    isLoading_ = false;
    hasLoaded_ = true;
    arrange();
    std::vector<std::string> keys;
    for (const FoundApp& found : offered_) keys.push_back(key(found));
    chosen_.keepOnly(keys);
    takePendingChoice();
    emit loadingChanged();
    publishApps();
    afterChoosing();
}

// The offered apps in the chosen order, and those the filter keeps.
void UninstallModel::arrange() {
    offered_ = UninstallChoices::offered(all_, toBytes(order()));
    shown_.clear();
    const std::string query = toBytes(filter_.trimmed());
    for (const FoundApp& found : offered_)
        if (UninstallChoices::matches(found, sources_[key(found)], query)) shown_.push_back(key(found));
}

void UninstallModel::publishApps() {
    std::vector<UninstallAppRow> rows;
    rows.reserve(shown_.size());
    for (const std::string& shownKey : shown_) {
        const FoundApp* found = appOf(shownKey);
        if (found == nullptr) continue;
        rows.push_back({toQString(shownKey), toQString(found->app.name), icons_[shownKey], toQString(sources_[shownKey]),
                        found->bytes ? sizeText(*found->bytes) : QString(), lastOpened_[shownKey], found->isRunning,
                        chosen_.contains(shownKey)});
    }
    appList_.reset(std::move(rows));
    emit appsChanged();
}

const FoundApp* UninstallModel::appOf(const std::string& wanted) const {
    const auto found = std::ranges::find_if(offered_, [&](const FoundApp& each) { return key(each) == wanted; });
    return found == offered_.end() ? nullptr : &*found;
}

void UninstallModel::setFilter(const QString& filter) {
    if (filter == filter_) return;
    filter_ = filter;
    arrange();
    publishApps();
    emit filterChanged();
}

QString UninstallModel::order() const {
    const QString stored = dependencies_.settings ? dependencies_.settings->value(SettingsKey::sortUninstaller).toString() : QString();
    return stored == QLatin1String("size") ? stored : QStringLiteral("name");
}

void UninstallModel::setOrder(const QString& order) {
    if (order == this->order() || (order != QLatin1String("name") && order != QLatin1String("size"))) return;
    if (dependencies_.settings) dependencies_.settings->setValue(SettingsKey::sortUninstaller, order);
    arrange();
    publishApps();
    publishPlans();
    emit orderChanged();
}

std::vector<std::string> UninstallModel::chosenKeys() const {
    std::vector<std::string> keys;
    for (const FoundApp& found : offered_)
        if (chosen_.contains(key(found))) keys.push_back(key(found));
    return keys;
}

void UninstallModel::choose(int row, int modifiers) {
    if (row < 0 || static_cast<std::size_t>(row) >= shown_.size()) return;
    chosen_.click(shown_, static_cast<std::size_t>(row), RowActions::gestureOf(modifiers));
    afterChoosing();
}

void UninstallModel::chooseAll() {
    for (std::size_t i = 0; i < shown_.size(); ++i)
        if (!chosen_.contains(shown_[i])) chosen_.click(shown_, i, RowSelection::Gesture::toggle);
    afterChoosing();
}

void UninstallModel::chooseNone() {
    chosen_.clear();
    afterChoosing();
}

void UninstallModel::chooseWhenLoaded(const QStringList& keys) {
    std::vector<std::string> wanted;
    for (const QString& each : keys) wanted.push_back(toBytes(each));
    pendingChoice_ = std::move(wanted);
    if (hasLoaded_ && !isLoading_) {
        // Chosen at once: the apps stand.
        takePendingChoice();
        afterChoosing();
    } else {
        loadIfNeeded();
    }
}

void UninstallModel::takePendingChoice() {
    if (!pendingChoice_) return;
    std::vector<std::string> keys;
    for (const FoundApp& found : offered_) keys.push_back(key(found));
    chosen_.clear();
    for (const std::string& wanted : *pendingChoice_)
        if (const auto at = std::ranges::find(keys, wanted); at != keys.end())
            chosen_.click(keys, static_cast<std::size_t>(at - keys.begin()), RowSelection::Gesture::toggle);
    pendingChoice_.reset();
}

// Plans of apps no longer chosen go, with their ticks; those newly chosen are asked for.
void UninstallModel::afterChoosing() {
    for (auto plan = plans_.begin(); plan != plans_.end();) {
        if (chosen_.contains(plan->first)) {
            ++plan;
            continue;
        }
        for (const std::string& path : UninstallPlanner::selectable({plan->second})) ticks_.erase(path);
        plan = plans_.erase(plan);
    }
    for (int row = 0; row < appList_.rowCount(); ++row) {
        UninstallAppRow shown = appList_.rows()[static_cast<std::size_t>(row)];
        const bool chosen = chosen_.contains(toBytes(shown.key));
        if (shown.chosen == chosen) continue;
        shown.chosen = chosen;
        appList_.replace(row, std::move(shown));
    }
    emit chosenChanged();
    requestPlans();
    publishPlans();
    publishTicks();
}

void UninstallModel::requestPlans() {
    if (!scanner_) return;
    const bool wasBuilding = isBuildingPlan();
    for (const std::string& chosenKey : chosenKeys()) {
        // One plan of an app at a time: a second waits until the first is back.
        if (plans_.contains(chosenKey) || building_.contains(chosenKey)) continue;
        const FoundApp* found = appOf(chosenKey);
        if (found == nullptr) continue;
        building_.insert(chosenKey);
        UninstallModel* self = this;
        (void)QtConcurrent::run(&planner_, [relay = relay_, self, chosenKey, generation = planGeneration_, app = found->app,
                                            scanner = scanner_, machine = dependencies_.machine,
                                            running = dependencies_.running, plan = dependencies_.plan] {
            nameThisThread("Tessel.uninstall-plans");
            const bool isRunning = running && FoundApps::runs(app, machine, running());
            UninstallPlan made = plan ? plan(app, *scanner, isRunning) : UninstallPlanner::plan(app, *scanner, machine, isRunning);
            relay->post([self, chosenKey, generation, made = std::move(made)]() mutable {
                self->planMade(chosenKey, generation, std::move(made));
            });
        });
    }
    if (wasBuilding != isBuildingPlan()) emit plansChanged();
}

void UninstallModel::planMade(const std::string& madeKey, int generation, UninstallPlan plan) {
    building_.erase(madeKey);
    if (generation == planGeneration_ && chosen_.contains(madeKey)) {
        for (const std::string& path : UninstallPlanner::selectable({plan})) ticks_.insert(path);
        plans_[madeKey] = std::move(plan);
    }
    // A plan of an older reading is made again for an app still chosen.
    requestPlans();
    publishPlans();
    publishTicks();
}

std::vector<UninstallPlan> UninstallModel::madePlans() const {
    std::vector<UninstallPlan> made;
    for (const std::string& chosenKey : chosenKeys())
        if (const auto plan = plans_.find(chosenKey); plan != plans_.end()) made.push_back(plan->second);
    return made;
}

UninstallPlanRow UninstallModel::rowFor(const FoundApp& found) const {
    const QString home = toQString(dependencies_.machine.home);
    auto shown = [&](const std::string& path) { return homeRelative(toQString(path), home); };
    UninstallPlanRow row;
    row.key = toQString(key(found));
    row.name = toQString(found.app.name);
    row.icon = icons_.contains(key(found)) ? icons_.at(key(found)) : QString();
    row.source = toQString(sources_.contains(key(found)) ? sources_.at(key(found)) : found.app.source);
    row.running = found.isRunning;
    const auto made = plans_.find(key(found));
    if (made == plans_.end()) return row;
    const UninstallPlan& plan = made->second;
    row.building = false;
    row.running = plan.isRunning;
    if (plan.bundlePath && !plan.bundleRequiresAdministrator)
        row.bundle = {{"path", toQString(*plan.bundlePath)},
                      {"shown", shown(*plan.bundlePath)},
                      {"size", sizeText(plan.bundleBytes)},
                      {"ticked", ticks_.contains(*plan.bundlePath)}};
    if (plan.handoff) {
        row.handoff = toQString(*plan.handoff);
        if (softwareCentre_ && found.app.bundleIdentifier) row.appstreamId = toQString(*found.app.bundleIdentifier);
    }
    const std::set<std::string> tickable = UninstallPlanner::selectable({plan});
    for (const UninstallChoices::Group& group : UninstallChoices::groups(plan)) {
        QVariantList items;
        for (const ResidueItem& item : group.items)
            items << QVariantMap{{"path", toQString(item.path)},
                                 {"shown", shown(item.path)},
                                 {"size", sizeText(item.bytes)},
                                 {"confidence", toQString(MatchConfidences::label(item.confidence))},
                                 {"reason", toQString(item.reason)},
                                 {"ticked", ticks_.contains(item.path)},
                                 {"tickable", tickable.contains(item.path)},
                                 {"documents", item.mayHoldDocuments}};
        row.groups << QVariantMap{{"label", toQString(group.label)}, {"size", sizeText(group.bytes())}, {"items", items}};
    }
    for (const ResidueItem& item : UninstallChoices::administratorItems(plan))
        row.administrator << QVariantMap{{"path", toQString(item.path)},
                                         {"shown", shown(item.path)},
                                         {"size", sizeText(item.bytes)},
                                         {"location", toQString(item.locationLabel)}};
    std::int64_t bytes = 0;
    for (const ResidueItem& item : plan.residue) bytes = checkedAdd(bytes, item.bytes);
    row.summary = plan.residue.empty()
                      ? QStringLiteral("Nothing of it found elsewhere")
                      : toQString(TextFormat::counted(static_cast<std::int64_t>(plan.residue.size()), "item", "items")) +
                            QStringLiteral(" elsewhere, ") + sizeText(bytes);
    return row;
}

void UninstallModel::publishPlans() {
    std::vector<UninstallPlanRow> rows;
    for (const std::string& chosenKey : chosenKeys())
        if (const FoundApp* found = appOf(chosenKey)) rows.push_back(rowFor(*found));
    // Only the rows that changed are replaced, so that a card that is read stays where it is.
    if (rows.size() != static_cast<std::size_t>(planList_.rowCount())) {
        planList_.reset(std::move(rows));
    } else {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const UninstallPlanRow& old = planList_.rows()[i];
            if (old.key != rows[i].key) {
                planList_.reset(std::move(rows));
                break;
            }
            planList_.replace(static_cast<int>(i), std::move(rows[i]));
        }
    }
    emit plansChanged();
}

void UninstallModel::publishTicks() {
    publishPlans();
    emit ticksChanged();
}

void UninstallModel::toggle(const QString& path) {
    const std::string wanted = toBytes(path);
    if (!UninstallPlanner::selectable(madePlans()).contains(wanted)) return;
    if (ticks_.erase(wanted) == 0) ticks_.insert(wanted);
    publishTicks();
}

void UninstallModel::selectAll() {
    ticks_ = UninstallPlanner::selectable(madePlans());
    publishTicks();
}

void UninstallModel::selectNone() {
    ticks_.clear();
    publishTicks();
}

int UninstallModel::tickedCount() const { return static_cast<int>(UninstallPlanner::candidates(madePlans(), ticks_).size()); }

qint64 UninstallModel::tickedBytes() const {
    std::int64_t bytes = 0;
    for (const DeletionCandidate& candidate : UninstallPlanner::candidates(madePlans(), ticks_))
        bytes = checkedAdd(bytes, candidate.bytes);
    return bytes;
}

bool UninstallModel::selectsEverything() const {
    const std::set<std::string> all = UninstallPlanner::selectable(madePlans());
    return !all.empty() && ticks_ == all;
}

void UninstallModel::removeTicked() {
    const std::vector<UninstallPlan> plans = madePlans();
    std::vector<DeletionCandidate> candidates = UninstallPlanner::candidates(plans, ticks_);
    if (candidates.empty()) return;
    Removal removal;
    std::map<std::string, std::string> labels;
    std::map<std::string, InstalledApp> owner;
    for (const UninstallPlan& plan : plans) {
        std::vector<std::string> paths;
        if (plan.bundlePath) {
            paths.push_back(*plan.bundlePath);
            labels[*plan.bundlePath] = plan.app.name;
        }
        for (const ResidueItem& item : plan.residue) paths.push_back(item.path);
        for (const std::string& path : paths) {
            removal.appOf.try_emplace(path, plan.app.name);
            owner.try_emplace(path, plan.app);
        }
    }
    removal.roadGeneration = road_.generation();
    removal_ = std::move(removal);
    RemovalRoad::LastCheck lastCheck;
    if (dependencies_.running)
        lastCheck = [relay = relay_, self = this, running = dependencies_.running, machine = dependencies_.machine,
                     owner = std::move(owner)](const std::vector<DeletionCandidate>& going) {
            const RunningPrograms now = running();
            std::map<std::string, std::string> reasons;
            std::set<std::string> runningApps;
            for (const DeletionCandidate& candidate : going) {
                const auto app = owner.find(candidate.path);
                if (app == owner.end() || !FoundApps::runs(app->second, machine, now)) continue;
                reasons.emplace(candidate.path, RemovalSheet::inUse(app->second.name));
                runningApps.insert(app->second.entryPath);
            }
            if (!runningApps.empty()) relay->post([self, runningApps] { self->markRunning(runningApps); });
            return reasons;
        };
    road_.prepare(std::move(candidates), std::move(labels), std::move(lastCheck));
}

void UninstallModel::markRunning(const std::set<std::string>& keys) {
    bool changed = false;
    for (FoundApp& found : all_)
        if (keys.contains(key(found)) && !found.isRunning) found.isRunning = changed = true;
    for (auto& [planKey, plan] : plans_)
        if (keys.contains(planKey) && !plan.isRunning) plan.isRunning = changed = true;
    if (!changed) return;
    arrange();
    publishApps();
    publishPlans();
}

void UninstallModel::roadPlanChanged() {
    // The confirmation closed with nothing moved: what was offered is no longer on its way.
    if (removal_ && !road_.hasPlan() && !road_.isWorking() && road_.generation() == removal_->roadGeneration) removal_.reset();
}

void UninstallModel::roadFinished() {
    const std::optional<TrashOutcome>& outcome = road_.lastOutcome();
    const bool ours = removal_ && outcome && road_.generation() > removal_->roadGeneration &&
                      (std::ranges::any_of(outcome->receipts, [&](const TrashReceipt& receipt) {
                           return removal_->appOf.contains(receipt.originalPath);
                       }) ||
                       std::ranges::any_of(outcome->failures,
                                           [&](const TrashFailure& failure) { return removal_->appOf.contains(failure.path); }));
    QString result;
    QString detail;
    if (ours) {
        std::vector<std::string> names;
        for (const TrashReceipt& receipt : outcome->receipts)
            if (const auto app = removal_->appOf.find(receipt.originalPath);
                app != removal_->appOf.end() && std::ranges::find(names, app->second) == names.end())
                names.push_back(app->second);
        if (!names.empty()) {
            result = toQString(UninstallChoices::resultTitle(outcome->receipts.size(), names));
            detail = toQString(RemovalSheet::movedDetail(outcome->reclaimedBytes()));
        }
        if (!outcome->failures.empty())
            detail += (detail.isEmpty() ? QString() : QStringLiteral(" ")) +
                      toQString(RemovalSheet::failedTitle(outcome->failures.size())) + QStringLiteral(".");
        removal_.reset();
    }
    // A result stands only while its move is the newest: Put Back undoes the newest move.
    if (result != result_ || detail != resultDetail_) {
        result_ = result;
        resultDetail_ = detail;
        emit resultChanged();
    }
    if (hasLoaded_) loadApps();
}

void UninstallModel::undo() { road_.undo(); }

void UninstallModel::copyHandoff(const QString& command) {
    if (dependencies_.copy) dependencies_.copy(command);
}

void UninstallModel::openInSoftware(const QString& appstreamId) {
    if (!softwareCentre_ || appstreamId.isEmpty() || !dependencies_.openUrl) return;
    dependencies_.openUrl(QUrl(QStringLiteral("appstream://") + appstreamId));
}

void UninstallModel::showInFiles(const QStringList& paths) { road_.showInFileManager(paths); }

QStringList UninstallModel::orphanLaunchers() const {
    QStringList names;
    for (const DesktopLaunchers::Orphan& orphan : orphans_) names << launcherName(orphan.entry);
    return names;
}

void UninstallModel::removeOrphanLaunchers() {
    if (!dependencies_.launchers || orphans_.empty()) return;
    UninstallModel* self = this;
    (void)QtConcurrent::run(&loader_, [relay = relay_, self, launchers = dependencies_.launchers, orphans = orphans_,
                                       listing = listing_] {
        nameThisThread("Tessel.uninstall-apps");
        launchers->removeOrphans(orphans);
        std::vector<DesktopLaunchers::Orphan> left = AppLaunchers::orphans(*launchers, listing);
        relay->post([self, left = std::move(left)]() mutable {
            if (self->orphans_ == left) return;
            self->orphans_ = std::move(left);
            emit self->launchersChanged();
        });
    });
}

} // namespace tessel
