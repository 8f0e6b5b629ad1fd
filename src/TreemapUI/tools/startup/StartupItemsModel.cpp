#include "tools/startup/StartupItemsModel.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QtConcurrent>

#include <algorithm>

#include "DiskScanKit/Paths.h"
#include "DiskScanKit/TextFormat.h"
#include "linux/SystemdUserManager.h"
#include "removal/RemovalRoad.h"
#include "support/QtText.h"
#include "support/ThreadName.h"
#include "TrashKit/RemovalSheet.h"
#include "UninstallKit/LinuxStartupItems.h"

namespace tessel {

namespace {

// As deep as the removal road's history: more than anyone takes back by hand.
constexpr std::size_t undoDepth = 10;

// A sentence with the paths in the home written as people type them: "~/.config/autostart/clipper.desktop".
QString homeShortened(const std::string& sentence, const std::string& home) {
    QString text = toQString(sentence);
    if (home.empty() || home == "/") return text;
    const QString prefix = toQString(home) + QLatin1Char('/');
    for (qsizetype at = text.indexOf(prefix); at >= 0; at = text.indexOf(prefix, at + 1))
        if (at == 0 || text.at(at - 1).isSpace()) text.replace(at, prefix.size() - 1, QStringLiteral("~"));
    return text;
}

} // namespace

const std::vector<RowField<StartupGroupRow>>& StartupGroupRow::fields() {
    using Row = StartupGroupRow;
    static const std::vector<RowField<Row>> list{
        {"key", &Row::key}, {"title", &Row::title}, {"about", &Row::about}, {"count", &Row::count}, {"items", &Row::items}};
    return list;
}

StartupItemsModel::Dependencies StartupItemsModel::Dependencies::system(const std::string& home) {
    Dependencies dependencies;
    dependencies.machine = StartupMachine::fromEnvironment("/");
    dependencies.machine.home = home;
    dependencies.read = [cache = Paths::xdgFolder("XDG_CACHE_HOME", home, ".cache") + "/Tessel"](const StartupMachine& machine) {
        return LinuxStartupItems::readJudgedByMachine(machine, cache);
    };
    dependencies.manager = std::make_shared<SystemdUserManager>();
    dependencies.copy = [](const QString& text) {
        if (QClipboard* clipboard = QGuiApplication::clipboard()) clipboard->setText(text);
    };
    return dependencies;
}

StartupItemsModel::StartupItemsModel(Dependencies dependencies, RemovalRoad& road, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)), road_(road), groups_(this) {
    switcher_.setMaxThreadCount(1);
    connect(&road_, &RemovalRoad::finished, this, &StartupItemsModel::roadFinished);
    connect(&road_, &RemovalRoad::planChanged, this, &StartupItemsModel::roadPlanChanged);
}

StartupItemsModel::~StartupItemsModel() {
    relay_->detach();
    switcher_.waitForDone();
}

void StartupItemsModel::loadIfNeeded() {
    if (!hasLoaded_ && search_.state()->phase() != SearchState::Phase::Running) load();
}

void StartupItemsModel::load() {
    if (dependencies_.machine.home.empty() || !dependencies_.read) return;
    auto work = [machine = dependencies_.machine, read = dependencies_.read](const auto&, const auto&) {
        Loaded loaded{read(machine), {}};
        const StartupSwitch lights(machine);
        for (const StartupItem& item : loaded.report.items) {
            const std::vector<std::string> paths = lights.trashablePaths(item);
            if (paths.empty()) continue;
            const std::string file = machine.onDisk(item.path);
            Trashable trashable;
            for (const std::string& path : paths) {
                trashable.candidates.push_back(DeletionGuard::candidateAt(path));
                const bool link = path != file && path != file + ".d";
                trashable.links += link ? 1 : 0;
                trashable.names.emplace(path, path == file ? item.label
                                              : link      ? "Its link in " + std::string(Paths::lastComponent(path.substr(0, path.rfind('/'))))
                                                          : "Its drop-in settings");
            }
            loaded.trashable.emplace(StartupChoices::key(item), std::move(trashable));
        }
        return loaded;
    };
    search_.start(std::move(work), [this](Loaded loaded) { received(std::move(loaded)); });
}

void StartupItemsModel::cancel() { search_.stop(); }

void StartupItemsModel::received(Loaded loaded) {
    report_ = std::move(loaded.report);
    trashable_ = std::move(loaded.trashable);
    hasLoaded_ = true;
    publish();
}

const StartupItem* StartupItemsModel::item(const std::string& key) const {
    const auto found = std::ranges::find(report_.items, key, [](const StartupItem& each) { return StartupChoices::key(each); });
    return found == report_.items.end() ? nullptr : &*found;
}

void StartupItemsModel::publish() {
    std::vector<StartupGroupRow> rows;
    for (const auto& [kind, items] : StartupChoices::grouped(report_.items, filters_)) {
        StartupGroupRow row;
        row.key = toQString(StartupItemKinds::rawValue(kind));
        row.title = toQString(StartupItemKinds::title(kind));
        row.about = toQString(StartupChoices::about(kind));
        const auto off = std::ranges::count_if(items, [](const StartupItem* item) { return item->disabled; });
        row.count = toQString(TextFormat::counted(static_cast<std::int64_t>(items.size()), "item", "items") +
                              (off > 0 ? ", " + TextFormat::grouped(off) + " off" : std::string()));
        for (const StartupItem* item : items) row.items << itemMap(*item);
        rows.push_back(std::move(row));
    }
    groups_.reset(std::move(rows));
    emit itemsChanged();
}

QVariantMap StartupItemsModel::itemMap(const StartupItem& item) const {
    const QString home = toQString(dependencies_.machine.home);
    QString program;
    if (item.program) {
        program = homeRelative(toQString(*item.program), home);
        for (const std::string& argument : item.arguments) program += QLatin1Char(' ') + toQString(argument);
    }
    const QString command = item.changeCommand ? toQString(*item.changeCommand) : QString();
    return {
        {QStringLiteral("key"), toQString(StartupChoices::key(item))},
        {QStringLiteral("label"), toQString(item.label)},
        {QStringLiteral("path"), homeRelative(toQString(item.path), home)},
        {QStringLiteral("owner"), item.owner ? toQString(item.owner->name) : QString()},
        {QStringLiteral("confidence"),
         item.ownerConfidence ? toQString(MatchConfidences::label(*item.ownerConfidence)) : QString()},
        {QStringLiteral("reason"), homeShortened(item.ownerReason, dependencies_.machine.home)},
        {QStringLiteral("program"), program},
        {QStringLiteral("programMissing"), !item.programExists},
        {QStringLiteral("detail"), item.detail ? homeShortened(*item.detail, dependencies_.machine.home) : QString()},
        {QStringLiteral("enabled"), !item.disabled},
        {QStringLiteral("switchable"), StartupChoices::switchesHere(item)},
        {QStringLiteral("trashable"), trashable_.contains(StartupChoices::key(item))},
        {QStringLiteral("command"), command},
        {QStringLiteral("commandNote"), command.isEmpty() ? QString() : toQString(StartupChoices::commandNote(item))},
        {QStringLiteral("platform"), item.isPlatform},
    };
}

int StartupItemsModel::shownCount() const {
    return static_cast<int>(std::ranges::count_if(report_.items, [this](const StartupItem& item) {
        return StartupChoices::passes(item, filters_);
    }));
}

int StartupItemsModel::platformCount() const {
    return static_cast<int>(std::ranges::count_if(report_.items, [](const StartupItem& item) { return item.isPlatform; }));
}

void StartupItemsModel::setFilters(StartupChoices::Filters filters) {
    if (filters.onlyWithoutOwner == filters_.onlyWithoutOwner && filters.onlyMine == filters_.onlyMine &&
        filters.withPlatform == filters_.withPlatform)
        return;
    filters_ = filters;
    publish();
}

void StartupItemsModel::setOnlyWithoutOwner(bool only) {
    StartupChoices::Filters filters = filters_;
    filters.onlyWithoutOwner = only;
    setFilters(filters);
}

void StartupItemsModel::setOnlyMine(bool only) {
    StartupChoices::Filters filters = filters_;
    filters.onlyMine = only;
    setFilters(filters);
}

void StartupItemsModel::setWithPlatform(bool with) {
    StartupChoices::Filters filters = filters_;
    filters.withPlatform = with;
    setFilters(filters);
}

void StartupItemsModel::switchItem(const QString& key, bool on) {
    const StartupItem* found = item(toBytes(key));
    if (found == nullptr || isChanging_) return;
    change([chosen = *found, on](StartupSwitch& lights) { return on ? lights.enable(chosen) : lights.disable(chosen); }, false);
}

void StartupItemsModel::change(std::function<StartupSwitchOutcome(StartupSwitch&)> work, bool undoing) {
    isChanging_ = true;
    emit changingChanged();
    emit resultChanged();
    StartupItemsModel* self = this;
    (void)QtConcurrent::run(&switcher_, [relay = relay_, self, machine = dependencies_.machine,
                                         manager = dependencies_.manager, work = std::move(work), undoing] {
        nameThisThread("Tessel.startup-switch");
        StartupSwitch lights(machine, manager.get());
        const StartupSwitchOutcome outcome = work(lights);
        relay->post([self, outcome, undoing] { self->changed(outcome, undoing); });
    });
}

void StartupItemsModel::changed(const StartupSwitchOutcome& outcome, bool undoing) {
    isChanging_ = false;
    emit changingChanged();
    if (!undoing && outcome.change) {
        history_.push_back({outcome.change->label, outcome.change, 0});
        if (history_.size() > undoDepth) history_.erase(history_.begin());
    }
    say(outcome.sentence, !outcome.changed);
    if (outcome.changed) load();
}

void StartupItemsModel::say(const std::string& sentence, bool refused) {
    result_ = homeShortened(sentence, dependencies_.machine.home);
    resultRefused_ = refused;
    emit resultChanged();
}

void StartupItemsModel::undo() {
    if (!canUndo()) return;
    const Undoable last = history_.back();
    history_.pop_back();
    if (last.change) {
        change([change = *last.change](StartupSwitch& lights) { return lights.undo(change); }, true);
        return;
    }
    puttingBack_ = last.label;
    road_.undo();
    emit resultChanged();
}

QString StartupItemsModel::undoHelp() const {
    if (history_.empty()) return {};
    const Undoable& last = history_.back();
    if (!last.change) return toQString("Puts " + last.label + " back from the Trash");
    return toQString("Switches " + last.label + (last.change->switchedOff ? " on again" : " off again"));
}

void StartupItemsModel::moveToTrash(const QString& key) {
    const std::string chosen = toBytes(key);
    const StartupItem* found = item(chosen);
    const auto trashable = trashable_.find(chosen);
    if (found == nullptr || trashable == trashable_.end() || road_.isWorking()) return;
    Trashing trashing{found->label, trashable->second.links, {}, road_.generation()};
    for (const DeletionCandidate& candidate : trashable->second.candidates) trashing.paths.push_back(candidate.path);
    trashing_ = std::move(trashing);
    road_.prepare(trashable->second.candidates, trashable->second.names);
}

void StartupItemsModel::roadPlanChanged() {
    // The confirmation closed with nothing moved: the unit is no longer on its way.
    if (trashing_ && !road_.hasPlan() && !road_.isWorking() && road_.generation() == trashing_->roadGeneration)
        trashing_.reset();
}

void StartupItemsModel::roadFinished() {
    const std::optional<TrashOutcome>& outcome = road_.lastOutcome();
    const auto ours = [this](const std::string& path) { return std::ranges::find(trashing_->paths, path) != trashing_->paths.end(); };
    if (trashing_ && outcome && road_.generation() > trashing_->roadGeneration &&
        (std::ranges::any_of(outcome->receipts, [&](const TrashReceipt& receipt) { return ours(receipt.originalPath); }) ||
         std::ranges::any_of(outcome->failures, [&](const TrashFailure& failure) { return ours(failure.path); }))) {
        std::string sentence = outcome->receipts.empty() ? std::string()
                                                         : StartupChoices::trashedSentence(trashing_->label, trashing_->links);
        if (!outcome->failures.empty())
            sentence += (sentence.empty() ? "" : " ") + RemovalSheet::failedTitle(outcome->failures.size()) + ".";
        if (!outcome->receipts.empty()) history_.push_back({trashing_->label, std::nullopt, road_.generation()});
        say(sentence, outcome->receipts.empty());
        trashing_.reset();
    } else if (puttingBack_) {
        say(*puttingBack_ + " is back from the Trash.", false);
        puttingBack_.reset();
    }
    // A move is put back from here only while it is the road's newest: the road undoes its newest first.
    std::erase_if(history_, [this](const Undoable& each) { return !each.change && each.roadGeneration != road_.generation(); });
    emit resultChanged();
    // Whatever moved, here or by Undo from anywhere, may have been a startup item's.
    if (hasLoaded_) load();
}

void StartupItemsModel::copyCommand(const QString& command) {
    if (dependencies_.copy) dependencies_.copy(command);
}

} // namespace tessel
