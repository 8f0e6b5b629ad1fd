#pragma once
// A map of a folder as a standalone SVG picture, for reports and for looking
// at a layout without the app: the treemap or the cards, with names and sizes
// where they fit. The file always parses as XML, whatever the names hold.

#include <string>
#include <string_view>

#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/TreemapTheme.h"

namespace tessel::SvgMap {

// The treemap of `root` in a picture of `width` by `height` points.
std::string treemap(const FileNode& root, double width, double height, const TreemapTheme& theme);

// The card map of `root` in a picture of `width` by `height` points.
std::string cards(const FileNode& root, double width, double height, const TreemapTheme& theme);

// `text` as XML character data: &, <, >, " and ' as entities, and every byte
// that is not part of valid UTF-8, every control character and the two
// non-characters XML refuses (U+FFFE, U+FFFF) as U+FFFD.
std::string escaped(std::string_view text);

} // namespace tessel::SvgMap
