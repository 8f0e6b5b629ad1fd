#include "support/RowSelection.h"

#include <algorithm>

namespace tessel {

void RowSelection::click(const std::vector<std::string>& shown, std::size_t index, Gesture gesture) {
    if (index >= shown.size()) return;
    const std::string& id = shown[index];
    switch (gesture) {
    case Gesture::only:
        chosen_ = {id};
        anchor_ = id;
        break;
    case Gesture::toggle:
        if (!chosen_.erase(id)) chosen_.insert(id);
        anchor_ = id;
        break;
    case Gesture::extend: {
        auto anchor = anchor_ ? std::find(shown.begin(), shown.end(), *anchor_) : shown.end();
        if (anchor == shown.end()) {
            // The anchor left the list: the range starts at the row clicked.
            chosen_ = {id};
            anchor_ = id;
            break;
        }
        const auto from = static_cast<std::size_t>(anchor - shown.begin());
        chosen_.clear();
        for (std::size_t i = std::min(from, index); i <= std::max(from, index); ++i) chosen_.insert(shown[i]);
        break;
    }
    }
}

void RowSelection::pointAt(const std::vector<std::string>& shown, std::size_t index) {
    if (index < shown.size() && !contains(shown[index])) click(shown, index, Gesture::only);
}

void RowSelection::keepOnly(const std::vector<std::string>& shown) {
    const std::set<std::string> present(shown.begin(), shown.end());
    std::erase_if(chosen_, [&](const std::string& id) { return !present.contains(id); });
    if (anchor_ && !present.contains(*anchor_)) anchor_.reset();
}

void RowSelection::clear() {
    chosen_.clear();
    anchor_.reset();
}

std::vector<std::size_t> RowSelection::indexesIn(const std::vector<std::string>& shown) const {
    std::vector<std::size_t> indexes;
    for (std::size_t i = 0; i < shown.size(); ++i)
        if (chosen_.contains(shown[i])) indexes.push_back(i);
    return indexes;
}

} // namespace tessel
