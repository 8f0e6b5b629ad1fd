#include "map/SpaceMapModel.h"

#include "app/SettingsKeys.h"

#include <algorithm>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/Paths.h"
#include "map/MapListModel.h"
#include "support/QtText.h"
#include "TreemapLayout/MapLens.h"

namespace tessel {

namespace {


constexpr std::pair<SpaceMapModel::Lens, std::string_view> lensKeys[]{
    {SpaceMapModel::Lens::all, "all"},
    {SpaceMapModel::Lens::apps, "apps"},
    {SpaceMapModel::Lens::folders, "folders"},
    {SpaceMapModel::Lens::types, "types"},
};

QVariantMap row(const MapItem& item, std::int64_t total, bool chosen, bool dimmed) {
    return {{"itemId", toQString(item.id)},
            {"name", toQString(item.name)},
            {"bytes", static_cast<qint64>(item.bytes)},
            {"share", total > 0 ? static_cast<double>(item.bytes) / static_cast<double>(total) : 0.0},
            {"symbol", toQString(symbol(item))},
            {"navigable", item.isNavigable()},
            {"chosen", chosen},
            {"dimmed", dimmed}};
}

const MapItem* findIn(const std::vector<MapItem>& items, const std::string& id) {
    for (const MapItem& item : items)
        if (item.id == id) return &item;
    return nullptr;
}

} // namespace

SpaceMapModel::SpaceMapModel(ScannedTree& tree, QSettings* settings, QObject* parent)
    : QObject(parent), tree_(tree), settings_(settings), list_(std::make_unique<MapListModel>()) {
    list_->setDimming([this](const MapItem& item) { return dims(item); });
    connect(&tree_, &ScannedTree::replaced, this, [this] { start(tree_.root()); });
    connect(&tree_, &ScannedTree::changed, this, &SpaceMapModel::treeChanged);
}

SpaceMapModel::~SpaceMapModel() { relay_->detach(); }

std::string_view SpaceMapModel::lensTitle(Lens lens) {
    switch (lens) {
    case Lens::all: return "All Items";
    case Lens::apps: return "Apps";
    case Lens::folders: return "Folders";
    case Lens::types: return "File Types";
    }
    return {};
}

void SpaceMapModel::start(const std::shared_ptr<FileNode>& root) {
    root_ = root;
    cache_.clear();
    history_.clear();
    selection_.reset();
    chosen_.clear();
    place_ = Place{root_.get(), Lens::all, std::nullopt};
    // The answer spoke of the old tree; the same words are looked for in the new one.
    const bool hadMatches = found_.has_value();
    found_.reset();
    matchIndex_ = -1;
    showTreeAnew();
    if (hadMatches) matchesAnew();
    search();
}

void SpaceMapModel::showTreeAnew() {
    ++treeRevision_;
    emit rootChanged();
    emit selectionChanged();
    emit placeChanged();
    loadItems();
    rebuildColumns();
}

void SpaceMapModel::goTo(Place place, bool remember) {
    if (!place_ || place.focus == nullptr) return;
    if (remember) {
        history_.push_back(*place_);
        if (history_.size() > historyDepth) history_.erase(history_.begin());
    }
    place_ = std::move(place);
    selection_.reset();
    chosen_.clear();
    emit selectionChanged();
    emit placeChanged();
    loadItems();
    rebuildColumns();
}

void SpaceMapModel::show(FileNode* node) {
    if (!place_ || node == nullptr || !node->isDirectory()) return;
    goTo({node, place_->lens, std::nullopt}, true);
}

void SpaceMapModel::back() {
    if (history_.empty()) return;
    Place previous = history_.back();
    history_.pop_back();
    goTo(std::move(previous), false);
}

void SpaceMapModel::goToPathIndex(int index) {
    FileNode* focus = this->focus();
    if (focus == nullptr || index < 0) return;
    const int depth = focus->depth() - root_->depth();
    if (index > depth || (index == depth && !place_->group)) return;
    FileNode* target = focus;
    for (int steps = depth - index; steps > 0; --steps) target = target->parent();
    goTo({target, place_->lens, std::nullopt}, true);
}

void SpaceMapModel::activate(const MapItem& item) {
    if (!place_) return;
    using Tag = MapItem::Kind::Tag;
    if (item.isNavigable()) show(item.node);
    else if (item.gathers() || item.kind.tag == Tag::more) goTo({place_->focus, place_->lens, item}, true);
}

void SpaceMapModel::activate(const QString& itemId) {
    if (std::optional<MapItem> item = find(itemId)) activate(*item);
}

void SpaceMapModel::select(const MapItem& item, int modifier) {
    auto position = [this](const std::string& id) {
        auto found = std::find_if(items_.begin(), items_.end(), [&](const MapItem& candidate) { return candidate.id == id; });
        return found == items_.end() ? -1 : static_cast<int>(found - items_.begin());
    };
    if (modifier == toggle) {
        auto present = std::find(chosen_.begin(), chosen_.end(), item);
        if (present != chosen_.end()) chosen_.erase(present);
        else chosen_.push_back(item);
        selection_ = item;
    } else if (modifier == range && selection_ && position(selection_->id) >= 0 && position(item.id) >= 0) {
        const int from = std::min(position(selection_->id), position(item.id));
        const int to = std::max(position(selection_->id), position(item.id));
        chosen_.assign(items_.begin() + from, items_.begin() + to + 1);
    } else {
        selection_ = item;
        chosen_ = {item};
    }
    emit selectionChanged();
}

void SpaceMapModel::select(const QString& itemId, int modifier) {
    if (std::optional<MapItem> item = find(itemId)) select(*item, modifier);
}

void SpaceMapModel::clearSelection() {
    if (!selection_ && chosen_.empty()) return;
    selection_.reset();
    chosen_.clear();
    emit selectionChanged();
}

std::optional<MapItem> SpaceMapModel::find(const QString& itemId) const {
    const std::string id = toBytes(itemId);
    if (const MapItem* item = findIn(items_, id)) return *item;
    // Items shown inside open cards, in the columns or the list, one level or two down.
    for (const MapItem& item : items_)
        if (item.opens())
            for (const MapItem& inner : item.contents()) {
                if (inner.id == id) return inner;
                if (inner.opens())
                    if (const MapItem* deeper = findIn(inner.contents(), id)) return *deeper;
            }
    for (FileNode* folder : columnFolders_)
        for (const MapItem& item : MapItem::contents(folder))
            if (item.id == id) return item;
    for (int row = 0; row < list_->rowCount(); ++row)
        if (const MapItem* item = list_->itemAt(row); item != nullptr && item->id == id) return *item;
    for (const MapItem& item : chosen_)
        if (item.id == id) return item;
    return std::nullopt;
}

bool SpaceMapModel::isAttached(const FileNode* node) const {
    const FileNode* top = node;
    while (top != nullptr && top->parent() != nullptr) top = top->parent();
    return top == root_.get();
}

void SpaceMapModel::treeChanged() {
    if (!place_) return;
    auto gone = [this](const MapItem& item) {
        if (item.node != nullptr && !isAttached(item.node)) return true;
        if (item.container != nullptr && !isAttached(item.container)) return true;
        return std::any_of(item.memberNodes.begin(), item.memberNodes.end(),
                           [this](const FileNode* member) { return !isAttached(member); }) ||
               std::any_of(item.memberItems.begin(), item.memberItems.end(), [this](const MapItem& member) {
                   return member.node != nullptr && !isAttached(member.node);
               });
    };
    std::erase_if(history_, [this](const Place& place) { return !isAttached(place.focus); });
    for (Place& place : history_)
        if (place.group && gone(*place.group)) place.group.reset();
    // A focus that went is replaced by the nearest earlier place that stands, else the root.
    if (!isAttached(place_->focus)) {
        if (!history_.empty()) {
            place_ = history_.back();
            history_.pop_back();
        } else {
            place_ = Place{root_.get(), place_->lens, std::nullopt};
        }
    }
    // Groups and folded rests are rebuilt from the tree: their members may have gone.
    place_->group.reset();
    if (selection_ && gone(*selection_)) selection_.reset();
    std::erase_if(chosen_, gone);
    // Until a lens working in the background answers, what is shown must not offer what went.
    std::erase_if(items_, gone);
    list_->reset(items_, placeBytes(), order());
    cache_.clear();
    forgetGoneMatches();
    showTreeAnew();
    search();
}

std::string SpaceMapModel::cacheKey() const {
    return place_->focus->path() + "|" + std::string(lensKey().toStdString()) + "|" +
           (place_->group ? place_->group->id : std::string());
}

void SpaceMapModel::loadItems() {
    if (!place_) return;
    const int generation = ++generation_;
    const std::string key = cacheKey();
    if (auto cached = cache_.find(key); cached != cache_.end()) {
        publish(cached->second);
        return;
    }
    if (place_->group) {
        publish(cache_[key] = place_->group->contents());
        return;
    }
    FileNode* focus = place_->focus;
    if (place_->lens == Lens::all) {
        publish(cache_[key] = MapItem::contents(focus));
        return;
    }
    // The other lenses walk everything below the focus: off the main thread.
    const Lens lens = place_->lens;
    if (!isWorking_) {
        isWorking_ = true;
        emit workingChanged();
    }
    SpaceMapModel* self = this;
    tree_.read([relay = relay_, self, generation, key, lens, focus, known = knownApps_](FileNode&) {
        std::vector<MapItem> items;
        switch (lens) {
        case Lens::apps: items = MapLens::apps(focus, currentPlatform(), *known); break;
        case Lens::folders: items = MapLens::folders(focus, folderLensTarget); break;
        case Lens::types: items = MapLens::types(focus); break;
        case Lens::all: break;
        }
        relay->post([self, generation, key, items = std::move(items)]() mutable {
            if (generation != self->generation_) return;
            self->isWorking_ = false;
            emit self->workingChanged();
            self->cache_[key] = items;
            self->publish(std::move(items));
        });
    });
}

void SpaceMapModel::setKnownApps(std::vector<MapLens::KnownApp> apps) {
    knownApps_ = std::make_shared<const std::vector<MapLens::KnownApp>>(std::move(apps));
    std::erase_if(cache_, [](const auto& entry) { return entry.first.find("|apps|") != std::string::npos; });
    if (place_ && place_->lens == Lens::apps && !place_->group) loadItems();
}

void SpaceMapModel::publish(std::vector<MapItem> items) {
    if (isWorking_) {
        isWorking_ = false;
        emit workingChanged();
    }
    items_ = std::move(items);
    ++version_;
    list_->reset(items_, placeBytes(), order());
    emit itemsChanged();
}

void SpaceMapModel::setLens(Lens lens) {
    if (!place_ || place_->lens == lens) return;
    goTo({place_->focus, lens, std::nullopt}, false);
}

QString SpaceMapModel::lensKey() const {
    for (const auto& [candidate, key] : lensKeys)
        if (candidate == lens()) return toQString(key);
    return "all";
}

void SpaceMapModel::setLensKey(const QString& key) {
    for (const auto& [candidate, candidateKey] : lensKeys)
        if (key == toQString(candidateKey)) setLens(candidate);
}

QVariantList SpaceMapModel::lenses() const {
    QVariantList list;
    for (const auto& [lens, key] : lensKeys) list.append(QVariantMap{{"key", toQString(key)}, {"title", toQString(lensTitle(lens))}});
    return list;
}

QVariantList SpaceMapModel::path() const {
    QVariantList list;
    if (!place_) return list;
    std::vector<const FileNode*> chain;
    for (const FileNode* node = place_->focus; node != nullptr; node = node->parent()) chain.push_back(node);
    std::reverse(chain.begin(), chain.end());
    for (std::size_t i = 0; i < chain.size(); ++i) {
        // The root is named by its whole path; the bar shows its last part, or the disk's name.
        const std::string name = chain[i]->parent() == nullptr && !chain[i]->name().empty()
                                     ? std::string(Paths::lastComponent(chain[i]->name()))
                                     : MapItem::displayName(*chain[i]);
        list.append(QVariantMap{{"name", toQString(name)}, {"index", static_cast<int>(i)}});
    }
    if (place_->group) list.append(QVariantMap{{"name", toQString(place_->group->name)}, {"index", -1}});
    return list;
}

QString SpaceMapModel::placeTitle() const {
    if (!place_) return {};
    if (place_->group) return toQString(place_->group->name);
    return toQString(MapItem::displayName(*place_->focus));
}

qint64 SpaceMapModel::placeBytes() const {
    if (!place_) return 0;
    return place_->group ? place_->group->bytes : place_->focus->totalBytes();
}

QString SpaceMapModel::selectionName() const {
    return selection_ ? toQString(selection_->name) : QString();
}

qint64 SpaceMapModel::selectionBytes() const { return selection_ ? selection_->bytes : 0; }

qint64 SpaceMapModel::chosenBytes() const {
    std::int64_t sum = 0;
    for (const MapItem& item : chosen_) sum = checkedAdd(sum, item.bytes);
    return sum;
}

QStringList SpaceMapModel::chosenIds() const {
    QStringList ids;
    for (const MapItem& item : chosen_) ids.append(toQString(item.id));
    return ids;
}

void SpaceMapModel::selectInColumn(int column, const QString& itemId) {
    if (column < 0 || column >= static_cast<int>(columnFolders_.size())) return;
    const std::vector<MapItem> items = MapItem::contents(columnFolders_[static_cast<std::size_t>(column)]);
    const MapItem* item = findIn(items, toBytes(itemId));
    if (item == nullptr) return;
    columnFolders_.resize(static_cast<std::size_t>(column) + 1);
    columnChoices_.resize(static_cast<std::size_t>(column) + 1);
    columnChoices_[static_cast<std::size_t>(column)] = itemId;
    if (item->isNavigable()) {
        columnFolders_.push_back(item->node);
        columnChoices_.emplace_back();
    }
    select(*item, plain);
    emit columnsChanged();
}

void SpaceMapModel::rebuildColumns() {
    columnFolders_.clear();
    columnChoices_.clear();
    if (place_ && !place_->group) {
        columnFolders_.push_back(place_->focus);
        columnChoices_.emplace_back();
    }
    emit columnsChanged();
}

QVariantList SpaceMapModel::columns() const {
    QVariantList list;
    for (std::size_t i = 0; i < columnFolders_.size(); ++i) {
        FileNode* folder = columnFolders_[i];
        QVariantList rows;
        for (const MapRow& mapRow : MapRow::rows(MapItem::contents(folder), order(), folder->totalBytes()))
            rows.append(row(mapRow.item(), folder->totalBytes(), columnChoices_[i] == toQString(mapRow.item().id),
                            dims(mapRow.item())));
        list.append(QVariantMap{{"title", toQString(MapItem::displayName(*folder))},
                                {"bytes", static_cast<qint64>(folder->totalBytes())},
                                {"rows", rows}});
    }
    return list;
}

void SpaceMapModel::setStyle(const QString& style) {
    static const QStringList styles{"cards", "treemap", "list", "columns"};
    if (!styles.contains(style) || style == style_) return;
    style_ = style;
    emit styleChanged();
}

QString SpaceMapModel::listOrder() const { return toQString(order().rawValue()); }

MapListOrder SpaceMapModel::order() const {
    const QString stored = settings_ != nullptr ? settings_->value(SettingsKey::mapListOrder).toString() : QString();
    return MapListOrder::fromRawValue(stored.toStdString()).value_or(MapListOrder{});
}

void SpaceMapModel::setListOrder(const QString& raw) {
    std::optional<MapListOrder> chosen = MapListOrder::fromRawValue(raw.toStdString());
    if (!chosen || *chosen == order() || settings_ == nullptr) return;
    settings_->setValue(SettingsKey::mapListOrder, toQString(chosen->rawValue()));
    list_->reset(items_, placeBytes(), *chosen);
    emit listOrderChanged();
    emit columnsChanged();
}

} // namespace tessel
