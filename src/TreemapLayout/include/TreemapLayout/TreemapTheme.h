#pragma once
// The colours of the map and of the window around it. Each top-level item
// takes a hue from its name, and everything inside it the same hue, a little
// lighter with each level, so that a folder's contents read as one family.

#include <string>
#include <string_view>
#include <vector>

#include "TreemapLayout/Color.h"

namespace tessel {

struct TreemapTheme {
    std::string id;
    std::string name;
    std::vector<Color> tilePalette;
    Color background;
    Color surface;
    Color text;
    Color secondaryText;
    Color tileOutline;
    Color highlight;
    Color accent;
    bool prefersDark = false;

    static const std::vector<TreemapTheme>& all();
    // The theme with this id, or the first one.
    static const TreemapTheme& theme(std::string_view id);
    // Stable from one launch to the next: derived from the name's bytes only.
    static int paletteIndex(std::string_view name);
    Color tileColor(int paletteIndex, int depth, bool isDirectory) const;
};

} // namespace tessel
