// The clipboard text of a scan: a few lines to paste into a message.
//
//   /Users/me: 120 GB, scanned 21 Nov 2026, 21:40
//   3,214 folders, 48,120 files
//
//   Largest folders:
//     /Users/me/Library — 40.2 GB
//
//   Largest files:
//     /Users/me/Movies/holiday.mov — 8.1 GB
//
// Up to five rows in each list, largest first; a list with no rows is left
// out with its heading. The date is day, short English month, year and
// 24-hour time in the current time zone, as `readableDate` writes it. Lines
// are joined with LF and the text ends without one, as a pasted snippet should.
// A control byte in a name shows as its Unicode control picture, so a name
// with a line break still takes one row.

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/ScanReport.h"
#include "DiskScanKit/TextFormat.h"
#include "ReportPieces.h"

namespace tessel::ScanReport {

namespace {

constexpr const char* scannedWord = ", scanned ";
constexpr const char* foldersWord = " folders";
constexpr const char* filesWord = " files";
constexpr const char* largestFoldersHeading = "Largest folders:";
constexpr const char* largestFilesHeading = "Largest files:";
constexpr const char* rowIndent = "  ";
constexpr const char* sizeSeparator = " — ";

void appendList(std::string& out, const char* heading, const std::vector<FileNode*>& nodes) {
    if (nodes.empty()) return;
    out += "\n\n";
    out += heading;
    for (const FileNode* node : nodes) {
        out += '\n';
        out += rowIndent;
        out += withControlPictures(fullPath(*node));
        out += sizeSeparator;
        out += ByteFormat::string(node->totalBytes());
    }
}

} // namespace

std::string summaryText(const FileNode& root, TimePoint scannedAt) {
    return summaryText(root, inventory(root, summaryRows), scannedAt);
}

std::string summaryText(const FileNode& root, const Inventory& listed, TimePoint scannedAt) {
    std::string out = withControlPictures(rootName(root));
    out += ": ";
    out += ByteFormat::string(root.totalBytes());
    out += scannedWord;
    out += readableDate(scannedAt);
    out += '\n';
    out += TextFormat::grouped(listed.folderCount) + foldersWord + ", " + TextFormat::grouped(listed.fileCount) + filesWord;
    appendList(out, largestFoldersHeading, listed.folders);
    appendList(out, largestFilesHeading, listed.files);
    return out;
}

} // namespace tessel::ScanReport
