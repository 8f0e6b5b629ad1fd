#pragma once
// Which rows of a list are chosen, by the gestures people know: a click
// chooses one row, Ctrl-click adds or takes away one, Shift-click chooses
// every row from the last plain or Ctrl-clicked row (the anchor) to this one.
// Rows are known by their ids, not their places, so a list that is sorted
// again or filled anew keeps what is still in it chosen.
//
//     rows a b c d e; click b, Shift-click d  → b c d
//     then Ctrl-click c                        → b d     (anchor c)
//     then Shift-click e                       → c d e

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tessel {

class RowSelection {
public:
    enum class Gesture { only, toggle, extend };

    // `shown` are the ids of the rows in the order the list shows them.
    void click(const std::vector<std::string>& shown, std::size_t index, Gesture gesture);
    // A context menu acts on the chosen rows if the row under it is one of them, else on that row alone.
    void pointAt(const std::vector<std::string>& shown, std::size_t index);
    // After the list was filled anew: rows that left it are no longer chosen.
    void keepOnly(const std::vector<std::string>& shown);
    void clear();

    bool contains(const std::string& id) const { return chosen_.contains(id); }
    bool empty() const { return chosen_.empty(); }
    std::size_t size() const { return chosen_.size(); }
    // The chosen ids in the order of `shown`.
    std::vector<std::size_t> indexesIn(const std::vector<std::string>& shown) const;

private:
    std::set<std::string> chosen_;
    std::optional<std::string> anchor_;
};

} // namespace tessel
