// The spreadsheet of a scan: one row per listed node, for Numbers, Excel or a script.
//
// Shape. A header row, then the root, then the inventory's folders and then its
// files, each largest first, six columns each:
//
//   Path,Kind,Allocated bytes,Size,Share of scan,Scanned
//   /Users/me,Folder,1200000000,1.2 GB,100.00%,2026-11-21T21:40:12+01:00
//   "/Users/me/a, b",Folder,300000000,300 MB,25.00%,2026-11-21T21:40:12+01:00
//
// Every row ends in CR LF, the last one too: that is what spreadsheets write
// and expect, and a line break inside a quoted name (a bare LF) then can't be
// taken for the end of a row by a reader that splits on CR LF.
//
// Quoting. A field goes in double quotes when it holds a comma, a double
// quote, a CR or an LF, and also when it begins or ends with a blank, which
// a spreadsheet would otherwise trim away; each double quote inside is
// doubled. Names are written exactly as they are, so a round trip through a
// spreadsheet gives back the same bytes. A cell that begins with "=" could be
// read as a formula, but the only cell a name reaches is the path, and a full
// path always begins with "/".
//
// Shares use two decimals ("0.05%"), unlike the page's "<0.1%": a spreadsheet
// sorts and sums them, and a "<" would make the cell text.

#include "DiskScanKit/ScanReport.h"

#include <cstdio>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"

namespace tessel::ScanReport {

namespace {

constexpr const char* rowEnd = "\r\n";
constexpr const char* headerRow = "Path,Kind,Allocated bytes,Size,Share of scan,Scanned";
constexpr const char* folderKind = "Folder";
constexpr const char* fileKind = "File";

bool isBlank(char c) { return c == ' ' || c == '\t'; }

void appendRow(std::string& out, const FileNode& node, const FileNode& root, const std::string& date) {
    char share[32];
    std::snprintf(share, sizeof share, "%.2f%%", shareOf(node, root));
    out += csvField(fullPath(node));
    out += ',';
    out += node.isDirectory() ? folderKind : fileKind;
    out += ',';
    out += std::to_string(node.totalBytes());
    out += ',';
    out += ByteFormat::string(node.totalBytes());
    out += ',';
    out += share;
    out += ',';
    out += date;
    out += rowEnd;
}

} // namespace

std::string csvField(std::string_view text) {
    const bool quoted = text.find_first_of(",\"\r\n") != std::string_view::npos ||
                        (!text.empty() && (isBlank(text.front()) || isBlank(text.back())));
    if (!quoted) return std::string(text);
    std::string field = "\"";
    for (char c : text) {
        if (c == '"') field += '"';
        field += c;
    }
    field += '"';
    return field;
}

std::string csv(const FileNode& root, TimePoint scannedAt, int limit, const Progress& progress) {
    const Inventory listed = inventory(root, limit, progress);
    const std::string date = isoDate(scannedAt);
    std::string out = headerRow;
    out += rowEnd;
    appendRow(out, root, root, date);
    for (const FileNode* folder : listed.folders) appendRow(out, *folder, root, date);
    for (const FileNode* file : listed.files) appendRow(out, *file, root, date);
    return out;
}

} // namespace tessel::ScanReport
