// The report writers on trees in memory: the spreadsheet, the page and the
// clipboard text, and the pieces they are made of.
#include <gtest/gtest.h>

#include "DiskScanKit/ScanReport.h"
#include "ReportFixtures.h"

using namespace tessel;
using namespace tessel::test;

namespace {

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

struct Reports : ::testing::Test {
    LocalZone zone{"UTC-1"};
    TreeBuilder t;
    const std::string date = "2026-11-21T21:40:12+01:00";
};

} // namespace

TEST(ReportPieces, FullPathStartsFromTheRootsWholePath) {
    TreeBuilder t;
    EXPECT_EQ(ScanReport::fullPath(*t.file(t.folder(t.root, "a"), "b", 1)), "/r/a/b");
    TreeBuilder disk("/");
    EXPECT_EQ(ScanReport::fullPath(*disk.root), "/");
    EXPECT_EQ(ScanReport::fullPath(*disk.folder(disk.root, "Users")), "/Users");
    EXPECT_EQ(ScanReport::rootName(*disk.root), "/");
}

TEST(ReportPieces, SplitPathKeepsTheSlashWithTheFolder) {
    EXPECT_EQ(ScanReport::splitPath("/r/a/b.txt").folder, "/r/a/");
    EXPECT_EQ(ScanReport::splitPath("/r/a/b.txt").name, "b.txt");
    EXPECT_EQ(ScanReport::splitPath("/").folder, "/");
    EXPECT_EQ(ScanReport::splitPath("/").name, "");
    EXPECT_EQ(ScanReport::splitPath("bare").name, "bare");
}

TEST(ReportPieces, DatesFollowTheLocalZone) {
    {
        LocalZone zone("UTC-1");
        EXPECT_EQ(ScanReport::isoDate(reportMoment()), "2026-11-21T21:40:12+01:00");
        EXPECT_EQ(ScanReport::readableDate(reportMoment()), "21 Nov 2026, 21:40");
    }
    LocalZone zone("XST+3:30");
    EXPECT_EQ(ScanReport::isoDate(reportMoment()), "2026-11-21T17:10:12-03:30");
    LocalZone utc("UTC0");
    EXPECT_EQ(ScanReport::isoDate(reportMoment() + std::chrono::days(41)), "2027-01-01T20:40:12+00:00");
    EXPECT_EQ(ScanReport::readableDate(reportMoment() + std::chrono::days(41)), "1 Jan 2027, 20:40");
}

TEST(ReportPieces, CsvFieldQuotesWhatASpreadsheetWouldMisread) {
    EXPECT_EQ(ScanReport::csvField("in side"), "in side");
    EXPECT_EQ(ScanReport::csvField(""), "");
    EXPECT_EQ(ScanReport::csvField("a,b"), "\"a,b\"");
    EXPECT_EQ(ScanReport::csvField("say \"hi\""), "\"say \"\"hi\"\"\"");
    EXPECT_EQ(ScanReport::csvField("line\nbreak"), "\"line\nbreak\"");
    EXPECT_EQ(ScanReport::csvField("cr\rx"), "\"cr\rx\"");
    EXPECT_EQ(ScanReport::csvField(" lead"), "\" lead\"");
    EXPECT_EQ(ScanReport::csvField("trail "), "\"trail \"");
    EXPECT_EQ(ScanReport::csvField("\ttab"), "\"\ttab\"");
}

TEST(ReportPieces, HtmlEscapingLeavesNoMarkupAndNoControlByte) {
    EXPECT_EQ(ScanReport::htmlEscaped("<a href='x'>&\"</a>"), "&lt;a href=&#39;x&#39;&gt;&amp;&quot;&lt;/a&gt;");
    EXPECT_EQ(ScanReport::htmlEscaped("/r/a", true), "/<wbr>r/<wbr>a");
    EXPECT_EQ(ScanReport::htmlEscaped(std::string_view("\0\a\n\x1b\x1f\x7f", 6)), "␀␇␊␛␟␡");
    EXPECT_EQ(ScanReport::htmlEscaped("Con 자백 é"), "Con 자백 é");
}

TEST_F(Reports, CsvHeadRowsEndInCrLfAndListRootFoldersThenFiles) {
    t.file(t.root, "big", 400);
    t.folder(t.root, "docs", 600);
    EXPECT_EQ(ScanReport::csv(*t.root, reportMoment(), 2000),
              "Path,Kind,Allocated bytes,Size,Share of scan,Scanned\r\n"
              "/r,Folder,1000,1.0 KB,100.00%," + date + "\r\n"
              "/r/docs,Folder,600,600 bytes,60.00%," + date + "\r\n"
              "/r/big,File,400,400 bytes,40.00%," + date + "\r\n");
}

TEST_F(Reports, CsvOfAnEmptyRootGivesShareZeroAndLimitCapsEachList) {
    t.file(t.folder(t.root, "a"), "x", 0);
    t.folder(t.root, "b");
    const std::string sheet = ScanReport::csv(*t.root, reportMoment(), 1);
    EXPECT_NE(sheet.find("/r,Folder,0,0 bytes,0.00%,"), std::string::npos) << sheet;
    EXPECT_EQ(countOf(sheet, "\r\n"), 4u) << "header, root, one folder, one file";
    EXPECT_EQ(countOf(sheet, ",0.00%,"), 3u) << sheet;
}

TEST_F(Reports, PageHeadIsSelfContained) {
    const std::string page = ScanReport::html(*t.root, reportMoment(), 200);
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">"));
    EXPECT_NE(page.find("<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                        "style-src 'unsafe-inline'\">"), std::string::npos);
    EXPECT_NE(page.find("<meta name=\"color-scheme\" content=\"light dark\">"), std::string::npos);
    EXPECT_NE(page.find("<title>Disk report: /r</title>"), std::string::npos);
    for (const char* outside : {"<script", "<img", "<link", "src=", "href=", "url(", "@import", "http:", "https:"})
        EXPECT_EQ(page.find(outside), std::string::npos) << outside;
}

TEST_F(Reports, PageHeaderSummaryAndFooter) {
    t.folder(t.root, "docs", 1500, 1200);
    const std::string page = ScanReport::html(*t.root, reportMoment(), 200);
    EXPECT_NE(page.find("<p class=\"eyebrow\">Disk report</p>\n<h1>/<wbr>r</h1>"), std::string::npos);
    EXPECT_NE(page.find("<p class=\"when\">Scanned <time datetime=\"" + date + "\">21 Nov 2026, 21:40</time></p>"),
              std::string::npos);
    EXPECT_NE(page.find("<div><dt>Total size</dt><dd>1.5 KB</dd></div>\n<div><dt>Files</dt><dd>1,200</dd></div>\n"
                        "<div><dt>Folders</dt><dd>1</dd></div>"), std::string::npos);
}

TEST_F(Reports, FooterSaysHowSizesAreCountedInTheTermsOfItsPlatform) {
    t.folder(t.root, "docs", 1500, 1200);
    const std::string mac = ScanReport::html(*t.root, reportMoment(), 200, Platform::macOS);
    const std::string onLinux = ScanReport::html(*t.root, reportMoment(), 200, Platform::linuxOS);
    EXPECT_NE(mac.find("<footer><p>Sizes are the space allocated on disk"), std::string::npos);
    EXPECT_NE(onLinux.find("as du measures it"), std::string::npos);
    EXPECT_EQ(onLinux.find("Finder"), std::string::npos);
    EXPECT_EQ(mac.substr(0, mac.find("<footer>")), onLinux.substr(0, onLinux.find("<footer>")))
        << "everything but the footer is the same page";
}

TEST_F(Reports, PageRowSplitsThePathAndShowsSizeAndShare) {
    t.file(t.folder(t.root, "a<b"), "it's", 750);
    t.file(t.root, "rest", 250);
    const std::string page = ScanReport::html(*t.root, reportMoment(), 200);
    EXPECT_NE(page.find("<tr><td class=\"path\"><span class=\"dir\">/<wbr>r/<wbr>a&lt;b/<wbr></span>it&#39;s</td>"
                        "<td class=\"num\">750 bytes</td><td class=\"num\"><span class=\"share\"><span class=\"track\" "
                        "aria-hidden=\"true\"><span class=\"fill\" style=\"width:75.00%\"></span></span>"
                        "<span class=\"pct\">75.0%</span></span></td></tr>"), std::string::npos) << page;
}

TEST_F(Reports, TinyShareReadsLessThanATenthButItsBarKeepsTheRealWidth) {
    t.file(t.root, "tiny", 5);
    t.file(t.root, "huge", 9995);
    const std::string page = ScanReport::html(*t.root, reportMoment(), 200);
    EXPECT_NE(page.find("style=\"width:0.05%\"></span></span><span class=\"pct\">&lt;0.1%</span>"), std::string::npos);
}

TEST_F(Reports, PageWithoutFoldersOrFilesSaysSo) {
    const std::string empty = ScanReport::html(*t.root, reportMoment(), 200);
    EXPECT_EQ(countOf(empty, "<p class=\"empty\">"), 2u) << empty;
    EXPECT_EQ(empty.find("<table>"), std::string::npos);
}

TEST_F(Reports, NoteOnSmallFilesOnlyWhereSomeWereCounted) {
    t.file(t.folder(t.root, "a"), "f", 10);
    const char* note = "<p class=\"note\">Small files are counted in their folder&#39;s total but not listed one by one.</p>";
    EXPECT_EQ(ScanReport::html(*t.root, reportMoment(), 200).find(note), std::string::npos);
    t.loose(t.root, 5, 2);
    EXPECT_NE(ScanReport::html(*t.root, reportMoment(), 200).find(note), std::string::npos);
}

TEST_F(Reports, SummaryTextGivesTotalsThenTheLargestOfEach) {
    FileNode* docs = t.folder(t.root, "docs", 3000, 2);
    t.file(docs, "a\nb", 2'000'000);
    t.file(t.root, "c", 1000);
    EXPECT_EQ(ScanReport::summaryText(*t.root, reportMoment()),
              "/r: 2.0 MB, scanned 21 Nov 2026, 21:40\n"
              "1 folders, 4 files\n\n"
              "Largest folders:\n  /r/docs — 2.0 MB\n\n"
              "Largest files:\n  /r/docs/a␊b — 2.0 MB\n  /r/c — 1.0 KB");
}

TEST_F(Reports, SummaryTextLeavesOutListsWithNoRowsAndStopsAtFive) {
    EXPECT_EQ(ScanReport::summaryText(*t.root, reportMoment()), "/r: 0 bytes, scanned 21 Nov 2026, 21:40\n0 folders, 0 files");
    for (int i = 0; i < 7; ++i) t.file(t.root, "f" + std::to_string(i), 10 + i);
    const std::string text = ScanReport::summaryText(*t.root, reportMoment());
    EXPECT_EQ(text.find("Largest folders:"), std::string::npos);
    EXPECT_EQ(countOf(text, "\n  /r/f"), 5u);
    EXPECT_NE(text.find("Largest files:\n  /r/f6 — 16 bytes"), std::string::npos) << text;
}
