#include "tools/junk/JunkModel.h"

#include <QDateTime>

#include <chrono>
#include <cstdlib>
#include <map>

#include "app/SettingsKeys.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/CheckedSize.h"
#include "removal/RemovalRoad.h"
#include "support/QtText.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/JunkSearch.h"

namespace tessel {

namespace {

QString sizeText(std::int64_t bytes) { return toQString(ByteFormat::string(bytes)); }

} // namespace

QVariantList JunkModel::tagsOf(const JunkItem& item) const {
    QVariantList tags;
    if (inUse_.contains(item.path)) tags << TickedGroupList::tag(QStringLiteral("In use"), QStringLiteral("warning"));
    if (item.requiresAdministrator) tags << TickedGroupList::tag(QStringLiteral("Needs an administrator"), QStringLiteral("quiet"));
    return tags;
}

JunkModel::Dependencies JunkModel::Dependencies::system(JunkPlaces places, QSettings* settings) {
    Dependencies dependencies;
    dependencies.find = [places = std::move(places)](std::int64_t now, const Progress& progress,
                                                     const std::function<bool()>& isCancelled) {
        JunkFinder::Settings finding;
        finding.now = now;
        finding.appNamed = JunkSearch::appNames(AppCatalog::installedApps(DesktopMachine::fromEnvironment(places.root)).apps);
        return JunkSearch::run(places, finding, {}, progress, isCancelled);
    };
    dependencies.running = [] { return RunningPrograms::inThisSession(); };
    dependencies.now = [] {
        return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    };
    dependencies.settings = settings;
    return dependencies;
}

JunkModel::JunkModel(Dependencies dependencies, RemovalRoad& road, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)), road_(road), list_(this) {
    // What moved leaves its group, and comes back with Undo.
    connect(&road_, &RemovalRoad::finished, this, &JunkModel::refreshPresence);
}

JunkModel::~JunkModel() { relay_->detach(); }

void JunkModel::run() {
    if (!dependencies_.find) return;
    const std::int64_t now = dependencies_.now ? dependencies_.now() : 0;
    search_.start(
        [now, find = dependencies_.find, running = dependencies_.running](const auto& progress, const auto& isCancelled) {
            Found found;
            found.items = find(now, progress, isCancelled);
            if (running && !isCancelled()) found.inUse = JunkSearch::inUse(found.items, running());
            return found;
        },
        [this](Found found) { received(std::move(found.items), std::move(found.inUse)); });
}

void JunkModel::cancel() { search_.stop(); }

void JunkModel::received(std::vector<JunkItem> items, std::set<std::string> inUse) {
    items_ = std::move(items);
    inUse_ = std::move(inUse);
    gone_.clear();
    searchedAt_ = dependencies_.now ? dependencies_.now() : 0;
    rebuild();
    selection_ = JunkChoices::recommended(items_, inUse_);
    publish();
}

void JunkModel::rebuild() {
    std::vector<JunkItem> present;
    for (const JunkItem& item : items_)
        if (!gone_.contains(item.path)) present.push_back(item);
    shown_ = JunkChoices::orderedGroups(present);
}

void JunkModel::publish() {
    std::vector<TickedGroupList::Row> rows;
    rows.reserve(shown_.size());
    for (const JunkChoices::Group& group : shown_) rows.push_back(rowFor(group));
    list_.reset(std::move(rows));
    emit resultChanged();
    emit ticksChanged();
    remember();
}

void JunkModel::publishTicks() {
    for (std::size_t row = 0; row < shown_.size(); ++row) list_.replace(static_cast<int>(row), rowFor(shown_[row]));
    emit ticksChanged();
}

void JunkModel::remember() {
    if (dependencies_.settings == nullptr || searchedAt_ == 0) return;
    const QVariantMap stored{{QStringLiteral("bytes"), totalFound()},
                             {QStringLiteral("date"), QDateTime::fromSecsSinceEpoch(searchedAt_)}};
    if (dependencies_.settings->value(SettingsKey::junkLastFound).toMap() == stored) return;
    dependencies_.settings->setValue(SettingsKey::junkLastFound, stored);
    emit lastFoundChanged();
}

QString JunkModel::lastFound() const {
    if (dependencies_.settings == nullptr) return {};
    const QVariantMap stored = dependencies_.settings->value(SettingsKey::junkLastFound).toMap();
    const QDateTime date = stored.value(QStringLiteral("date")).toDateTime();
    bool known = false;
    const qint64 bytes = stored.value(QStringLiteral("bytes")).toLongLong(&known);
    if (!known || !date.isValid()) return {};
    return QStringLiteral("%1 found on %2").arg(sizeText(bytes), date.toLocalTime().toString(QStringLiteral("d MMM")));
}

void JunkModel::toggle(const QString& path) {
    const std::string key = toBytes(path);
    for (const JunkChoices::Group& group : shown_)
        for (const JunkItem& item : group.items) {
            if (item.path != key || !JunkChoices::isTickable(item, inUse_)) continue;
            if (selection_.erase(key) == 0) selection_.insert(key);
            publishTicks();
            return;
        }
}

void JunkModel::toggleGroup(const QString& groupId) {
    for (const JunkChoices::Group& group : shown_)
        if (toQString(group.id()) == groupId) {
            JunkChoices::toggle(group, selection_, inUse_);
            publishTicks();
            return;
        }
}

void JunkModel::selectAll() {
    std::vector<JunkItem> present;
    for (const JunkChoices::Group& group : shown_) present.insert(present.end(), group.items.begin(), group.items.end());
    selection_ = JunkChoices::everything(present, inUse_);
    publishTicks();
}

void JunkModel::selectRecommended() {
    selection_ = JunkChoices::recommended(items_, inUse_);
    std::erase_if(selection_, [this](const std::string& path) { return gone_.contains(path); });
    publishTicks();
}

JunkChoices::TickState JunkModel::tickState(const std::string& groupId) const {
    for (const JunkChoices::Group& group : shown_)
        if (group.id() == groupId) return JunkChoices::tickState(group, selection_, inUse_);
    return JunkChoices::TickState::none;
}

void JunkModel::refreshPresence() {
    if (items_.empty() || !JunkChoices::forgetMissing(items_, dependencies_.presence, gone_, selection_)) return;
    rebuild();
    publish();
}

void JunkModel::heldBack(const std::set<std::string>& paths) {
    bool changed = false;
    for (const JunkItem& item : items_)
        if (paths.contains(item.path)) {
            changed = inUse_.insert(item.path).second || changed;
            selection_.erase(item.path);
        }
    if (changed) publish();
}

void JunkModel::removeTicked() {
    std::vector<DeletionCandidate> candidates;
    std::map<std::string, std::string> labels;
    std::map<std::string, JunkItem> ticked;
    for (const JunkChoices::Group& group : shown_)
        for (const JunkItem& item : group.items) {
            if (!selection_.contains(item.path)) continue;
            candidates.push_back({item.path, item.bytes, item.isDirectory});
            labels.emplace(item.path, item.name);
            ticked.emplace(item.path, item);
        }
    if (candidates.empty()) return;
    RemovalRoad::LastCheck lastCheck;
    if (dependencies_.running)
        lastCheck = [relay = relay_, self = this, running = dependencies_.running,
                     ticked = std::move(ticked)](const std::vector<DeletionCandidate>& going) {
            std::vector<JunkItem> items;
            for (const DeletionCandidate& candidate : going)
                if (auto item = ticked.find(candidate.path); item != ticked.end()) items.push_back(item->second);
            std::map<std::string, std::string> reasons;
            const std::set<std::string> held = JunkSearch::inUse(items, running());
            for (const JunkItem& item : items)
                if (held.contains(item.path)) reasons.emplace(item.path, JunkChoices::inUseReason(item));
            if (!held.empty()) relay->post([self, held] { self->heldBack(held); });
            return reasons;
        };
    road_.prepare(std::move(candidates), std::move(labels), std::move(lastCheck));
}

int JunkModel::itemCount() const {
    std::size_t count = 0;
    for (const JunkChoices::Group& group : shown_) count += group.items.size();
    return static_cast<int>(count);
}

qint64 JunkModel::totalFound() const {
    std::int64_t bytes = 0;
    for (const JunkChoices::Group& group : shown_) bytes = checkedAdd(bytes, group.bytes());
    return bytes;
}

int JunkModel::tickedCount() const {
    int count = 0;
    for (const JunkChoices::Group& group : shown_)
        for (const JunkItem& item : group.items) count += selection_.contains(item.path) ? 1 : 0;
    return count;
}

qint64 JunkModel::tickedBytes() const {
    std::int64_t bytes = 0;
    for (const JunkChoices::Group& group : shown_)
        for (const JunkItem& item : group.items)
            if (selection_.contains(item.path)) bytes = checkedAdd(bytes, item.bytes);
    return bytes;
}

TickedGroupList::Row JunkModel::rowFor(const JunkChoices::Group& group) const {
    TickedGroupList::Row row;
    row.groupId = toQString(group.id());
    row.title = toQString(JunkCategories::title(group.category));
    row.summary = toQString(JunkCategories::summary(group.category));
    row.size = sizeText(group.bytes());
    row.tickState = tickWord(JunkChoices::tickState(group, selection_, inUse_));
    for (const JunkItem& item : group.items) {
        row.tickable = row.tickable || JunkChoices::isTickable(item, inUse_);
        row.items << QVariantMap{
            {QStringLiteral("path"), toQString(item.path)},
            {QStringLiteral("name"), toQString(item.name)},
            {QStringLiteral("size"), sizeText(item.bytes)},
            {QStringLiteral("note"), toQString(item.note)},
            {QStringLiteral("ticked"), selection_.contains(item.path)},
            {QStringLiteral("tickable"), JunkChoices::isTickable(item, inUse_)},
            {QStringLiteral("tags"), tagsOf(item)},
        };
    }
    return row;
}

} // namespace tessel
