// The web page of a scan: one file that opens in any browser and loads nothing.
//
// Self-contained. The page holds its style sheet inline and has no script, no
// image, no font and no link to anything. Its Content-Security-Policy
// ("default-src 'none'; style-src 'unsafe-inline'") says so to the browser as
// well, so even a page edited by hand after saving can't reach the network.
// The bars of the shares are spans whose width is an inline style.
//
// Escaping. Every name and path goes through `htmlEscaped` on its way in:
// & < > " ' become entities, so a name can't open a tag, close a cell or end an
// attribute, and a control byte becomes its Unicode control picture (a name
// holding ESC reads "␛"), so no raw control byte reaches the page. Folder
// parts of paths get "/<wbr>" after each slash, so a long path wraps at its
// separators and not in the middle of a name:
//
//   "/Users/me/<b>"  ->  <span class="dir">/<wbr>Users/<wbr>me/<wbr></span>&lt;b&gt;
//
// Layout. A header (eyebrow, the root's name, the date), three totals, the
// largest folders, the largest files and a footer. Colours are custom
// properties with a light set, a dark set under prefers-color-scheme and a
// print set; printing repeats each table's head on every page and never breaks
// a row. A share below 0.1% reads "<0.1%" while its bar keeps the real width.

#include <cstdio>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/ScanReport.h"
#include "DiskScanKit/TextFormat.h"
#include "ReportPieces.h"

namespace tessel::ScanReport {

namespace {

constexpr const char* pageEyebrow = "Disk report";
constexpr const char* titlePrefix = "Disk report: ";
constexpr const char* scannedLabel = "Scanned ";
constexpr const char* totalSizeLabel = "Total size";
constexpr const char* filesLabel = "Files";
constexpr const char* foldersLabel = "Folders";
constexpr const char* pathHeader = "Path";
constexpr const char* sizeHeader = "Size";
constexpr const char* shareHeader = "Share";
// How sizes are counted, in the words of the machine the page was made on:
// Finder on a Mac, du on Linux, which counts allocated space as Tessel does.
constexpr const char* macFooterText =
    "Sizes are the space allocated on disk, in decimal units, as Finder reports them. Made with Tessel.";
constexpr const char* linuxFooterText =
    "Sizes are the space allocated on disk, as du measures it, in decimal units (1 MB is 1,000,000 bytes). "
    "Made with Tessel.";

struct Section {
    const char* id;
    const char* title;
    const char* note; // nullptr when there is none
    const char* emptyText;
};

constexpr const char* looseFilesNote = "Small files are counted in their folder's total but not listed one by one.";
constexpr Section foldersSection{"folders", "Largest folders", looseFilesNote,
                                 "There are no folders inside the scanned folder."};
constexpr Section filesSection{"files", "Largest files", nullptr, "No files to list one by one."};

constexpr const char* pageHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<meta name="color-scheme" content="light dark">
)";

constexpr const char* styleSheet = R"(<style>
:root {
  --page: #f5f5f3; --card: #ffffff; --text: #1c1c1e; --muted: #6b6b70;
  --rule: #e3e3df; --track: #ebebe7; --bar: #2f6fe4;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #141416; --card: #1d1d20; --text: #f2f2f4; --muted: #a1a1a8;
    --rule: #303035; --track: #2b2b30; --bar: #5b9bff;
  }
}
* { box-sizing: border-box; }
html { background: var(--page); }
body {
  margin: 0; background: var(--page); color: var(--text);
  font: 15px/1.5 system-ui, -apple-system, BlinkMacSystemFont, "Segoe UI", Roboto, "Helvetica Neue", Arial, sans-serif;
  -webkit-text-size-adjust: 100%; text-size-adjust: 100%;
}
main { max-width: 980px; margin: 0 auto; padding: 40px 16px 56px; }
.eyebrow {
  margin: 0; color: var(--muted); font-size: 12px; font-weight: 600;
  letter-spacing: 0.08em; text-transform: uppercase;
}
h1 { margin: 6px 0 4px; font-size: 30px; line-height: 1.2; font-weight: 700; letter-spacing: -0.01em; overflow-wrap: anywhere; }
.when { margin: 0; color: var(--muted); }
.summary { display: grid; grid-template-columns: repeat(3, minmax(0, 1fr)); gap: 12px; margin: 28px 0 40px; }
.summary div { background: var(--card); border: 1px solid var(--rule); border-radius: 12px; padding: 14px 18px 16px; }
.summary dt { color: var(--muted); font-size: 13px; }
.summary dd { margin: 2px 0 0; font-size: 24px; font-weight: 650; font-variant-numeric: tabular-nums; }
section { margin: 0 0 40px; }
h2 { margin: 0 0 4px; font-size: 19px; line-height: 1.3; font-weight: 650; }
.note, .empty { margin: 0 0 12px; color: var(--muted); font-size: 14px; }
.empty { margin-top: 8px; }
.card { background: var(--card); border: 1px solid var(--rule); border-radius: 12px; overflow: hidden; margin-top: 12px; }
.note + .card { margin-top: 0; }
table { width: 100%; border-collapse: collapse; table-layout: fixed; }
col.size { width: 112px; }
col.share { width: 176px; }
th {
  padding: 10px 16px; border-bottom: 1px solid var(--rule); text-align: left;
  color: var(--muted); font-size: 12px; font-weight: 600; letter-spacing: 0.04em; text-transform: uppercase;
}
td { padding: 9px 16px; border-top: 1px solid var(--rule); vertical-align: middle; }
tbody tr:first-child td { border-top: 0; }
.num { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
.path { overflow-wrap: anywhere; }
.dir { color: var(--muted); }
span.share { display: flex; align-items: center; justify-content: flex-end; gap: 10px; }
.track { flex: 1; max-width: 96px; height: 6px; border-radius: 3px; background: var(--track); overflow: hidden; }
.fill { display: block; height: 100%; border-radius: 3px; background: var(--bar); }
.pct { min-width: 3.6em; }
footer { padding-top: 16px; border-top: 1px solid var(--rule); color: var(--muted); font-size: 13px; }
footer p { margin: 0; }
@media (max-width: 640px) {
  main { padding-top: 28px; }
  h1 { font-size: 24px; }
  .summary { gap: 8px; margin: 20px 0 32px; }
  .summary div { padding: 10px 12px 12px; }
  .summary dd { font-size: 18px; }
  th, td { padding-left: 10px; padding-right: 10px; }
  col.size { width: 84px; }
  col.share { width: 68px; }
  .track { display: none; }
}
@media print {
  :root {
    --page: #ffffff; --card: #ffffff; --text: #000000; --muted: #555555;
    --rule: #cccccc; --track: #e6e6e6; --bar: #555555;
  }
  main { max-width: none; padding: 0; }
  .card, .summary div { border-radius: 0; }
  .card { overflow: visible; }
  thead { display: table-header-group; }
  tr { break-inside: avoid; page-break-inside: avoid; }
  .track, .fill { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
}
</style>
)";

void appendShareCell(std::string& out, double percent) {
    char width[32];
    std::snprintf(width, sizeof width, "%.2f%%", percent);
    out += R"(<td class="num"><span class="share"><span class="track" aria-hidden="true"><span class="fill" style="width:)";
    out += width;
    out += R"("></span></span><span class="pct">)";
    out += htmlEscaped(TextFormat::share(percent));
    out += "</span></span></td>";
}

void appendRow(std::string& out, const FileNode& node, const FileNode& root) {
    const PathParts parts = splitPath(fullPath(node));
    out += R"(<tr><td class="path"><span class="dir">)";
    out += htmlEscaped(parts.folder, true);
    out += "</span>";
    out += htmlEscaped(parts.name);
    out += R"(</td><td class="num">)";
    out += htmlEscaped(ByteFormat::string(node.totalBytes()));
    out += "</td>";
    appendShareCell(out, shareOf(node, root));
    out += "</tr>\n";
}

void appendSection(std::string& out, const Section& section, const std::vector<FileNode*>& nodes,
                   const FileNode& root, bool withNote) {
    const std::string headingId = std::string(section.id) + "-title";
    out += "<section id=\"" + std::string(section.id) + "\" aria-labelledby=\"" + headingId + "\">\n";
    out += "<h2 id=\"" + headingId + "\">" + htmlEscaped(section.title) + "</h2>\n";
    if (nodes.empty()) {
        out += "<p class=\"empty\">" + htmlEscaped(section.emptyText) + "</p>\n</section>\n";
        return;
    }
    if (withNote && section.note != nullptr) out += "<p class=\"note\">" + htmlEscaped(section.note) + "</p>\n";
    out += "<div class=\"card\"><table>\n";
    out += R"(<colgroup><col><col class="size"><col class="share"></colgroup>)";
    out += "\n<thead><tr><th>";
    out += htmlEscaped(pathHeader);
    out += R"(</th><th class="num">)";
    out += htmlEscaped(sizeHeader);
    out += R"(</th><th class="num">)";
    out += htmlEscaped(shareHeader);
    out += "</th></tr></thead>\n<tbody>\n";
    for (const FileNode* node : nodes) appendRow(out, *node, root);
    out += "</tbody>\n</table></div>\n</section>\n";
}

void appendSummaryItem(std::string& out, const char* label, const std::string& value) {
    out += "<div><dt>" + htmlEscaped(label) + "</dt><dd>" + htmlEscaped(value) + "</dd></div>\n";
}

// Whether some folder, the root included, counts small files that have no node
// of their own: only then does the note on the folders' totals apply.
bool holdsLooseFiles(const FileNode& root) {
    std::vector<const FileNode*> stack{&root};
    while (!stack.empty()) {
        const FileNode* node = stack.back();
        stack.pop_back();
        if (node->aggregatedFileCount() > 0) return true;
        for (const FileNode* child : node->children())
            if (child->isDirectory()) stack.push_back(child);
    }
    return false;
}

} // namespace

std::string htmlEscaped(std::string_view text, bool breakingAfterSlashes) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        case '/': out += breakingAfterSlashes ? "/<wbr>" : "/"; break;
        default:
            if (!appendControlPicture(out, static_cast<unsigned char>(c))) out += c;
        }
    }
    return out;
}

std::string html(const FileNode& root, TimePoint scannedAt, int limit, Platform platform, const Progress& progress) {
    const Inventory listed = inventory(root, limit, progress);
    const std::string name = rootName(root);
    std::string out = pageHead;
    out += "<title>" + htmlEscaped(titlePrefix + name) + "</title>\n";
    out += styleSheet;
    out += "</head>\n<body>\n<main>\n<header>\n";
    out += "<p class=\"eyebrow\">" + htmlEscaped(pageEyebrow) + "</p>\n";
    out += "<h1>" + htmlEscaped(name, true) + "</h1>\n";
    out += "<p class=\"when\">" + htmlEscaped(scannedLabel) + "<time datetime=\"" + htmlEscaped(isoDate(scannedAt)) +
           "\">" + htmlEscaped(readableDate(scannedAt)) + "</time></p>\n";
    out += "</header>\n<dl class=\"summary\">\n";
    appendSummaryItem(out, totalSizeLabel, ByteFormat::string(root.totalBytes()));
    appendSummaryItem(out, filesLabel, TextFormat::grouped(listed.fileCount));
    appendSummaryItem(out, foldersLabel, TextFormat::grouped(listed.folderCount));
    out += "</dl>\n";
    appendSection(out, foldersSection, listed.folders, root, holdsLooseFiles(root));
    appendSection(out, filesSection, listed.files, root, false);
    out += "<footer><p>" + htmlEscaped(platform == Platform::macOS ? macFooterText : linuxFooterText) +
           "</p></footer>\n";
    out += "</main>\n</body>\n</html>\n";
    return out;
}

} // namespace tessel::ScanReport
