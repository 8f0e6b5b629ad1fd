#include "tools/aidata/AIDataModel.h"

#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>
#include <map>
#include <sys/stat.h>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/Paths.h"
#include "removal/RemovalRoad.h"
#include "support/QtText.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/DockerAnswers.h"

namespace tessel {

namespace {

QString sizeText(std::int64_t bytes) { return toQString(ByteFormat::string(bytes)); }

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

// Moved away by the road: every part it owns is gone from its place.
bool isGone(const AIModelItem& item) {
    return item.isMovable() && !item.parts.empty() &&
           std::ranges::none_of(item.parts, [](const AIModelPart& part) { return exists(part.path); });
}

// The inventory without the items in `gone`, each shared layer kept for the users that remain.
AIModelInventory without(const AIModelInventory& inventory, const std::set<std::string>& gone) {
    AIModelInventory present;
    present.apps = inventory.apps;
    for (const AIModelItem& item : inventory.items)
        if (!gone.contains(item.id)) present.items.push_back(item);
    for (const auto& [path, layer] : inventory.shared) {
        AIModelInventory::SharedLayer kept = layer;
        std::erase_if(kept.users, [&](const std::string& id) { return gone.contains(id); });
        if (!kept.users.empty()) present.shared.emplace(path, std::move(kept));
    }
    return present;
}

std::string sharedSentence(const AIModelItem& item) {
    if (item.sharedBytes <= 0) return {};
    std::string with;
    for (std::size_t at = 0; at < item.sharedWith.size(); ++at)
        with += (at == 0 ? "" : at + 1 == item.sharedWith.size() ? " and " : ", ") + item.sharedWith[at];
    return "Shares " + ByteFormat::string(item.sharedBytes) + " with " + with + ", which stays until they go too.";
}

std::string kindWord(AIModelItem::Kind kind) {
    switch (kind) {
    case AIModelItem::Kind::model: return {};
    case AIModelItem::Kind::dataset: return "Dataset";
    case AIModelItem::Kind::cache: return "Cache";
    case AIModelItem::Kind::unfinished: return "Unfinished";
    }
    return {};
}

} // namespace

AIDataModel::Dependencies AIDataModel::Dependencies::system(const std::string& home) {
    Dependencies dependencies;
    AIModelPlaces places = AIModelPlaces::fromEnvironment("/");
    AIModelFinder::Settings settings;
    if (places.home == home) {
        const std::vector<std::string> folders = DesktopMachine::fromEnvironment("/").programFolders;
        settings.dockerModels = [folders] { return DockerAnswers::ask(folders, {"model", "ls", "--json"}); };
    } else {
        // A home other than the user's (the app's own fixture) stands for the whole machine.
        places = AIModelPlaces::forHome(home);
        places.root = home;
    }
    dependencies.find = [places, settings](const Progress& progress, const std::function<bool()>& isCancelled) {
        return AIModelFinder(places, settings).find([&](AITool, std::size_t done, std::size_t total) { progress(done, total); },
                                                    isCancelled);
    };
    dependencies.copy = [](const QString& text) {
        if (QClipboard* clipboard = QGuiApplication::clipboard()) clipboard->setText(text);
    };
    return dependencies;
}

AIDataModel::AIDataModel(Dependencies dependencies, RemovalRoad& road, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)), road_(road), list_(this) {
    connect(&road_, &RemovalRoad::finished, this, &AIDataModel::refreshPresence);
}

AIDataModel::~AIDataModel() = default;

void AIDataModel::run() {
    if (!dependencies_.find) return;
    search_.start(dependencies_.find, [this](AIModelInventory inventory) { received(std::move(inventory)); });
}

void AIDataModel::cancel() { search_.stop(); }

void AIDataModel::received(AIModelInventory inventory) {
    inventory_ = std::move(inventory);
    gone_.clear();
    selection_.clear();
    for (const AIModelItem& item : inventory_.items)
        if (item.startsTicked()) selection_.insert(item.id);
    publish();
}

void AIDataModel::refreshPresence() {
    std::set<std::string> gone;
    for (const AIModelItem& item : inventory_.items)
        if (isGone(item)) gone.insert(item.id);
    if (gone == gone_) return;
    gone_ = std::move(gone);
    for (const std::string& id : gone_) selection_.erase(id);
    publish();
}

std::vector<AIModelInventory::ToolGroup> AIDataModel::shown() const {
    std::vector<AIModelInventory::ToolGroup> groups = present_.byTool();
    std::ranges::stable_sort(groups, [](const auto& a, const auto& b) { return a.bytes > b.bytes; });
    return groups;
}

void AIDataModel::publish() {
    present_ = without(inventory_, gone_);
    std::vector<TickedGroupList::Row> rows;
    for (const AIModelInventory::ToolGroup& group : shown()) rows.push_back(rowFor(group));
    list_.reset(std::move(rows));
    emit resultChanged();
    emit ticksChanged();
}

void AIDataModel::publishTicks() {
    const std::vector<AIModelInventory::ToolGroup> groups = shown();
    for (std::size_t row = 0; row < groups.size(); ++row) list_.replace(static_cast<int>(row), rowFor(groups[row]));
    emit ticksChanged();
}

void AIDataModel::toggle(const QString& id) {
    const std::string key = toBytes(id);
    const AIModelItem* item = inventory_.item(key);
    if (item == nullptr || !item->isMovable() || gone_.contains(key)) return;
    if (selection_.erase(key) == 0) selection_.insert(key);
    publishTicks();
}

void AIDataModel::toggleGroup(const QString& groupId) {
    const std::optional<AITool> tool = AITools::fromId(toBytes(groupId));
    if (!tool) return;
    std::vector<std::string> tickable;
    for (const AIModelItem& item : inventory_.items)
        if (item.tool == *tool && item.isMovable() && !gone_.contains(item.id)) tickable.push_back(item.id);
    const bool untick = !tickable.empty() && std::ranges::all_of(tickable, [&](const std::string& id) { return selection_.contains(id); });
    for (const std::string& id : tickable) {
        if (untick) selection_.erase(id);
        else selection_.insert(id);
    }
    publishTicks();
}

void AIDataModel::selectAll() {
    for (const AIModelItem& item : inventory_.items)
        if (item.isMovable() && !gone_.contains(item.id)) selection_.insert(item.id);
    publish();
}

void AIDataModel::selectRecommended() {
    selection_.clear();
    for (const AIModelItem& item : inventory_.items)
        if (item.startsTicked() && !gone_.contains(item.id)) selection_.insert(item.id);
    publish();
}

void AIDataModel::removeTicked() {
    const AIModelInventory& present = present_;
    std::vector<DeletionCandidate> candidates = present.removal(selection_);
    std::map<std::string, std::string> labels;
    for (const AIModelItem& item : present.items)
        for (const AIModelPart& part : item.parts) labels.emplace(part.path, item.name);
    for (const auto& [path, layer] : present.shared) labels.emplace(path, "Shared by the models removed");
    std::erase_if(labels, [&](const auto& entry) {
        return std::ranges::none_of(candidates, [&](const DeletionCandidate& candidate) { return candidate.path == entry.first; });
    });
    if (!candidates.empty()) road_.prepare(std::move(candidates), std::move(labels), {});
}

void AIDataModel::copyCommand(const QString& command) {
    if (dependencies_.copy) dependencies_.copy(command);
}

int AIDataModel::itemCount() const {
    return static_cast<int>(present_.items.size());
}

qint64 AIDataModel::totalFound() const { return present_.totalBytes(); }

qint64 AIDataModel::tickedBytes() const {
    std::int64_t bytes = 0;
    for (const DeletionCandidate& candidate : present_.removal(selection_)) bytes = checkedAdd(bytes, candidate.bytes);
    return bytes;
}

TickedGroupList::Row AIDataModel::rowFor(const AIModelInventory::ToolGroup& group) const {
    TickedGroupList::Row row;
    row.groupId = toQString(AITools::id(group.tool));
    row.title = toQString(AITools::title(group.tool));
    row.summary = toQString(AITools::comesBack(group.tool));
    row.size = sizeText(group.bytes);
    std::size_t tickable = 0;
    std::size_t ticked = 0;
    for (const AIModelItem* item : group.items) {
        const bool movable = item->isMovable();
        if (movable) ++tickable;
        if (movable && selection_.contains(item->id)) ++ticked;
        QVariantList tags;
        if (const std::string kind = kindWord(item->kind); !kind.empty()) tags << TickedGroupList::tag(toQString(kind), QStringLiteral("quiet"));
        if (item->sharedBytes > 0) tags << TickedGroupList::tag(QStringLiteral("Shared"), QStringLiteral("accent"));
        if (item->requiresAdministrator) tags << TickedGroupList::tag(QStringLiteral("Needs an administrator"), QStringLiteral("warning"));
        // The detail is a phrase ("GGUF · 1 file"); the rest are sentences.
        std::string note = item->detail.empty() ? std::string() : item->detail + ".";
        for (const std::string& sentence : {sharedSentence(*item), item->note})
            if (!sentence.empty()) note += (note.empty() ? "" : " ") + sentence;
        std::string command;
        if (!movable && item->removedBy) {
            if (const auto* byCommand = std::get_if<AIModelItem::ByCommand>(&*item->removedBy)) command = byCommand->command;
            else
                note += std::string(note.empty() ? "" : " ") + "Removed from within " +
                        std::string(AITools::appName(item->tool).value_or(AITools::title(item->tool))) + ".";
        }
        const std::string where = item->parts.empty() ? std::string() : item->parts.front().path;
        row.items << QVariantMap{
            {QStringLiteral("path"), toQString(item->id)},
            {QStringLiteral("name"), toQString(item->name)},
            {QStringLiteral("size"), sizeText(item->bytes())},
            {QStringLiteral("note"), toQString(note)},
            {QStringLiteral("ticked"), selection_.contains(item->id)},
            {QStringLiteral("tickable"), movable},
            {QStringLiteral("tags"), tags},
            {QStringLiteral("command"), toQString(command)},
            {QStringLiteral("where"), toQString(where)},
        };
    }
    row.tickable = tickable > 0;
    row.tickState = tickWord(ticked == 0 ? TickState::none : ticked == tickable ? TickState::all : TickState::some);
    return row;
}

} // namespace tessel
