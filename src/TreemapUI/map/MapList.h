#pragma once
// The list view of the map: rows in a chosen order, each opening into its own
// rows only when asked, and at most 500 rows under one parent, the rest folded
// into one "more" row so that a folder of a million files stays quick.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TreemapLayout/MapItem.h"

namespace tessel {

struct MapListOrder {
    enum class Key { name, kind, size };
    Key key = Key::size;
    bool ascending = false;

    // "size-descending", "name-ascending": how it is kept in the settings.
    std::string rawValue() const;
    static std::optional<MapListOrder> fromRawValue(const std::string& raw);
    void sort(std::vector<MapItem>& items) const;
    // Whether `a` comes before `b` in this order.
    bool before(const MapItem& a, const MapItem& b) const;
    bool operator==(const MapListOrder&) const = default;
};

// "Package", "More", "Smaller files", "Application", "Folder", or the kind's title.
std::string kindTitle(const MapItem& item);
// The icon that stands for the item.
std::string symbol(const MapItem& item);

class MapRow {
public:
    static constexpr std::size_t mostRows = 500;

    MapRow(MapItem item, std::int64_t folderTotal, MapListOrder order);

    // The rows of `items` in `order`: the first 500, and one "more" row for the rest.
    static std::vector<MapRow> rows(std::vector<MapItem> items, MapListOrder order, std::int64_t total);

    const MapItem& item() const { return item_; }
    // Of the folder it lies in.
    double share() const;
    std::int64_t folderTotal() const { return folderTotal_; }
    bool hasChildren() const;
    // Built the first time they are asked for.
    std::vector<MapRow>& children();
    bool isBuilt() const { return built_.has_value(); }

private:
    MapItem item_;
    std::int64_t folderTotal_;
    MapListOrder order_;
    std::optional<std::vector<MapRow>> built_;
};

} // namespace tessel
