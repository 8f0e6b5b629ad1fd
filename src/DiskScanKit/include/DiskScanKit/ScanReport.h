#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/Platform.h"

namespace tessel {

class FileNode;

namespace ScanReport {

struct Inventory {
    std::vector<FileNode*> folders;
    std::vector<FileNode*> files;
    std::int64_t folderCount = 0;
    std::int64_t fileCount = 0;
};

// How far a walk of the tree has come, from 0 to 1: the share of the root's
// bytes in the nodes it has passed. Called at each whole percent, and with 1
// at the end.
using Progress = std::function<void(double fraction)>;

// The largest folders and files below `root` (the root itself not listed),
// and how many of each the tree holds. Package contents are counted, not listed.
Inventory inventory(const FileNode& root, int limit, const Progress& progress = {});

// The writers: what leaves the application when a scan is exported. Each reads
// the tree once and returns UTF-8 text; none of them touches the disk.
using TimePoint = std::chrono::system_clock::time_point;

// A spreadsheet: a header row, the root, then up to `limit` folders and up to
// `limit` files, largest first. Every row ends in CR LF, the last one too.
std::string csv(const FileNode& root, TimePoint scannedAt, int limit, const Progress& progress = {});
// One self-contained web page with the totals and the largest folders and
// files: no script, no image, nothing it would load from anywhere. Its
// footer says how sizes are counted, in the terms of `platform`.
std::string html(const FileNode& root, TimePoint scannedAt, int limit, Platform platform = currentPlatform(),
                 const Progress& progress = {});
// A few lines for the clipboard: the totals and the five largest folders and files.
std::string summaryText(const FileNode& root, TimePoint scannedAt);
// The same from an inventory already taken, of at least `summaryRows` of each.
constexpr int summaryRows = 5;
std::string summaryText(const FileNode& root, const Inventory& listed, TimePoint scannedAt);

// The pieces the writers share.

// The names from `node` up to its root, joined with "/" and with a "/" in
// front; a root with no name gives "/".
std::string fullPath(const FileNode& node);
// What a report calls its root: the root's name (a scan names it by its whole
// path), or "/" for the nameless root of a disk.
std::string rootName(const FileNode& root);
// ISO 8601 in the current time zone, with its offset: "2026-11-21T21:40:12+01:00".
std::string isoDate(TimePoint when);
// The date as people read it, in the current time zone: "21 Nov 2026, 21:40".
std::string readableDate(TimePoint when);
// `node`'s share of `root` in percent; 0 when the root holds nothing.
double shareOf(const FileNode& node, const FileNode& root);
// One spreadsheet field: in double quotes, each inner quote doubled, when it
// holds a comma, a double quote or a line break, or begins or ends with a blank.
std::string csvField(std::string_view text);
// Text made safe for the page: & < > " ' as entities, a control byte as its
// Unicode control picture. With `breakingAfterSlashes`, each "/" becomes
// "/<wbr>" so that a long path can wrap.
std::string htmlEscaped(std::string_view text, bool breakingAfterSlashes = false);
// A path cut at its last "/": the folder part keeps the "/", the rest is the name.
struct PathParts {
    std::string folder;
    std::string name;
};
PathParts splitPath(std::string_view path);

} // namespace ScanReport
} // namespace tessel
