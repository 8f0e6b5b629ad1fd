// The map's search: words typed in the map room find names anywhere in the
// scanned tree, and the map dims whatever neither matches nor holds a match.
//
// The walk runs on the tree's reader threads, as the lenses' walks do, and
// carries the generation it started with. A newer query raises the
// generation: the older walk notices within a few thousand nodes and stops,
// and an answer that was already on its way is dropped on arrival. A new
// scan, or a removal, searches again for the same words, and until that
// answer lands the listed matches lose whatever left the tree, so nothing
// steps to a node that is gone.
//
// Until the first answer for a query lands, the previous answer keeps
// dimming: the map doesn't flash bright and dark again between keystrokes.

#include "map/SpaceMapModel.h"

#include <algorithm>

#include "map/MapListModel.h"
#include "support/QtText.h"

namespace tessel {

namespace {

const std::vector<MapItem> noItems;

} // namespace

void SpaceMapModel::setQuery(const QString& query) {
    if (query == query_) return;
    query_ = query;
    matchIndex_ = -1;
    emit queryChanged();
    search();
}

void SpaceMapModel::search() {
    const int generation = ++*searchGeneration_;
    NameMatcher matcher(toBytes(query_));
    if (!matcher.hasWords() || !root_) {
        setSearching(false);
        if (found_) {
            found_.reset();
            matchIndex_ = -1;
            matchesAnew();
        }
        return;
    }
    setSearching(true);
    SpaceMapModel* self = this;
    tree_.read([relay = relay_, self, generation, latest = searchGeneration_, matcher = std::move(matcher)](FileNode& root) {
        std::optional<MapLens::Found> found =
            MapLens::search(&root, matcher, searchLimit, [&] { return latest->load() != generation; });
        if (!found) return;
        relay->post([self, generation, found = std::move(*found)]() mutable {
            if (generation != self->searchGeneration_->load()) return;
            self->land(std::move(found));
        });
    });
}

void SpaceMapModel::land(MapLens::Found found) {
    // The match stepped to stays the current one if the new answer lists it too.
    const std::string current = found_ && matchIndex_ >= 0 ? found_->items[static_cast<std::size_t>(matchIndex_)].id : std::string();
    found_ = std::move(found);
    const auto& items = found_->items;
    auto same = std::find_if(items.begin(), items.end(), [&](const MapItem& item) { return item.id == current; });
    if (same != items.end()) matchIndex_ = static_cast<int>(same - items.begin());
    else matchIndex_ = std::min(matchIndex_, static_cast<int>(items.size()) - 1);
    setSearching(false);
    matchesAnew();
}

void SpaceMapModel::matchesAnew() {
    list_->dimmingChanged();
    emit matchesChanged();
    emit columnsChanged();
}

void SpaceMapModel::setSearching(bool searching) {
    if (searching == isSearching_) return;
    isSearching_ = searching;
    emit searchingChanged();
}

std::optional<SpaceMapModel::Matches> SpaceMapModel::matches() const {
    if (!found_) return std::nullopt;
    return Matches{found_->total, found_->bytes};
}

QVariant SpaceMapModel::matchesValue() const {
    if (!found_) return {};
    return QVariantMap{{"total", static_cast<qint64>(found_->total)}, {"bytes", static_cast<qint64>(found_->bytes)}};
}

const std::vector<MapItem>& SpaceMapModel::matchItems() const { return found_ ? found_->items : noItems; }

bool SpaceMapModel::dims(const MapItem& item) const { return found_ && !found_->lights(item); }

bool SpaceMapModel::dims(const FileNode& node) const { return found_ && !found_->lights(node); }

void SpaceMapModel::nextMatch() { stepBy(1); }

void SpaceMapModel::previousMatch() { stepBy(-1); }

void SpaceMapModel::stepBy(int direction) {
    if (!place_ || !found_ || found_->items.empty()) return;
    const int count = static_cast<int>(found_->items.size());
    const int index = matchIndex_ < 0 ? (direction > 0 ? 0 : count - 1) : ((matchIndex_ + direction) % count + count) % count;
    const MapItem match = found_->items[static_cast<std::size_t>(index)];
    // The root never matches, so every match has a folder above it.
    FileNode* holder = match.node->parent();
    if (holder == nullptr || !isAttached(match.node)) return;
    matchIndex_ = index;
    if (place_->focus != holder || place_->group || place_->lens != Lens::all) goTo({holder, Lens::all, std::nullopt}, true);
    // In columns the match is chosen in the folder's column, which opens it if it is a folder.
    if (!columnFolders_.empty() && columnFolders_.front() == holder) selectInColumn(0, toQString(match.id));
    else select(match, plain);
    emit matchesChanged();
    emit steppedTo(toQString(match.id));
}

void SpaceMapModel::forgetGoneMatches() {
    if (!found_) return;
    std::vector<MapItem> kept;
    int keptUpToCurrent = 0;
    for (std::size_t i = 0; i < found_->items.size(); ++i) {
        if (!isAttached(found_->items[i].node)) continue;
        if (static_cast<int>(i) <= matchIndex_) ++keptUpToCurrent;
        kept.push_back(std::move(found_->items[i]));
    }
    found_->items = std::move(kept);
    // A current match that went leaves the one before it current, so Next goes on from there.
    matchIndex_ = matchIndex_ < 0 ? -1 : keptUpToCurrent - 1;
    matchesAnew();
}

} // namespace tessel
