// The report writers on trees in memory: the spreadsheet, the page and the
// clipboard text, and the pieces they are made of.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <set>

#include "DiskScanKit/ScanReport.h"
#include "ScopedEnvironment.h"
#include "TreeBuilder.h"

using namespace tessel;
using namespace tessel::test;
using namespace std::chrono;

namespace {

const system_clock::time_point moment = sys_days{November / 21 / 2026} + hours{20} + minutes{40} + seconds{12};

// TZ as a POSIX rule ("UTC-1" is an hour east), needing no zone files, while this lives.
struct LocalZone {
    struct ReadAgain {
        ~ReadAgain() { tzset(); }
    } readAgain; // goes after `environment` has put TZ back
    ScopedEnvironment environment;
    explicit LocalZone(const char* rule) {
        environment.set("TZ", rule);
        tzset();
    }
};

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

struct Reports : ::testing::Test {
    LocalZone zone{"UTC-1"};
    TreeBuilder t;
    std::string page(Platform platform = Platform::linuxOS) { return ScanReport::html(*t.root, moment, 200, platform); }
};

} // namespace

TEST(ReportPieces, TheDiskRootAndDatesInTheLocalZone) {
    TreeBuilder disk("/");
    EXPECT_EQ(ScanReport::fullPath(*disk.folder(disk.root, "Users")), "/Users");
    EXPECT_EQ(ScanReport::rootName(*disk.root), "/");
    for (auto [rule, iso] : {std::pair{"UTC-1", "2026-11-21T21:40:12+01:00"}, {"XST+3:30", "2026-11-21T17:10:12-03:30"}}) {
        LocalZone zone(rule);
        EXPECT_EQ(ScanReport::isoDate(moment), iso);
    }
    LocalZone utc("UTC0");
    EXPECT_EQ(ScanReport::readableDate(moment + days(41)), "1 Jan 2027, 20:40");
}

TEST(ReportPieces, CsvFieldsAndHtmlEscaping) {
    for (auto [text, field] : {std::pair{"in side", "in side"}, {"a,b", "\"a,b\""}, {"say \"hi\"", "\"say \"\"hi\"\"\""},
                               {"line\nbreak", "\"line\nbreak\""}, {"cr\rx", "\"cr\rx\""}, {" lead", "\" lead\""},
                               {"trail ", "\"trail \""}, {"\ttab", "\"\ttab\""}})
        EXPECT_EQ(ScanReport::csvField(text), field);
    EXPECT_EQ(ScanReport::htmlEscaped("<a href='x'>&\"</a>"), "&lt;a href=&#39;x&#39;&gt;&amp;&quot;&lt;/a&gt;");
    EXPECT_EQ(ScanReport::htmlEscaped(std::string_view("\0\a\n\x1b\x7f", 5)), "␀␇␊␛␡");
    EXPECT_EQ(ScanReport::htmlEscaped("Con 자백 é"), "Con 자백 é");
}

TEST_F(Reports, CsvListsTheRootThenFoldersThenFilesEachRowEndingInCrLf) {
    t.file(t.root, "big", 400);
    t.folder(t.root, "docs", 600);
    const std::string date = "2026-11-21T21:40:12+01:00";
    EXPECT_EQ(ScanReport::csv(*t.root, moment, 2000),
              "Path,Kind,Allocated bytes,Size,Share of scan,Scanned\r\n"
              "/r,Folder,1000,1.0 KB,100.00%," + date + "\r\n"
              "/r/docs,Folder,600,600 bytes,60.00%," + date + "\r\n"
              "/r/big,File,400,400 bytes,40.00%," + date + "\r\n");
}

TEST_F(Reports, CsvOfAnEmptyRootGivesShareZeroAndLimitCapsEachList) {
    t.file(t.folder(t.root, "a"), "x", 0);
    t.folder(t.root, "b");
    const std::string sheet = ScanReport::csv(*t.root, moment, 1);
    EXPECT_EQ(countOf(sheet, "\r\n"), 4u) << "header, root, one folder, one file";
    EXPECT_EQ(countOf(sheet, ",0.00%,"), 3u) << sheet;
}

TEST_F(Reports, ThePageLoadsNothingAndHostileNamesStayText) {
    // Markup, a comment, an entity, quotes, control bytes and a line break, in the root's path and in names.
    TreeBuilder hostile("/scans/<script>alert(1)</script>");
    hostile.folder(hostile.root, "<svg onload=alert(1)>", 9000);
    for (const char* name : {"Tom's & \"Jerry\"", "bell\a esc\x1b[31m del\x7f", "line\nbreak", "<!-- open", "]]><b>bold",
                             "<tr><td>a row of its own"})
        hostile.file(hostile.root, name, 1000);
    const std::string html = ScanReport::html(*hostile.root, moment, 200, Platform::linuxOS);
    EXPECT_NE(html.find("<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                        "style-src 'unsafe-inline'\">"), std::string::npos);
    for (const char* outside : {"src=", "href=", "url(", "@import", "http:", "https:"}) // nothing to load
        EXPECT_EQ(html.find(outside), std::string::npos) << outside;
    const std::set<std::string> pageTags{"!DOCTYPE", "html", "head", "meta", "title", "style", "body", "main", "header",
        "p", "h1", "time", "dl", "div", "dt", "dd", "section", "h2", "table", "colgroup", "col", "thead", "tbody", "tr",
        "th", "td", "span", "wbr", "footer"};
    for (std::size_t at = html.find('<'); at != std::string::npos; at = html.find('<', at + 1)) {
        const std::size_t start = html[at + 1] == '/' ? at + 2 : at + 1;
        EXPECT_TRUE(pageTags.contains(html.substr(start, html.find_first_of(" >", start) - start))) << html.substr(at, 30);
    }
    EXPECT_EQ(countOf(html, "<tr>"), 2u + 1u + 6u) << "a head row in each table and one row a node";
    EXPECT_TRUE(std::none_of(html.begin(), html.end(), [](char c) { return (c >= 0 && c < 0x20 && c != '\n') || c == 0x7F; }))
        << "a raw control byte reached the page";
    EXPECT_NE(html.find("<title>Disk report: /scans/&lt;script&gt;alert(1)&lt;/script&gt;</title>"), std::string::npos);
}

TEST_F(Reports, ThePagesFooterSpeaksOfItsPlatform) {
    const std::string onLinux = page(), mac = page(Platform::macOS);
    EXPECT_NE(onLinux.find("as du measures it"), std::string::npos);
    EXPECT_EQ(onLinux.find("Finder"), std::string::npos);
    EXPECT_EQ(mac.substr(0, mac.find("<footer>")), onLinux.substr(0, onLinux.find("<footer>")))
        << "everything but the footer is the same page";
}

TEST_F(Reports, PageRowSplitsThePathAndShowsSizeAndShare) {
    t.file(t.folder(t.root, "a<b"), "it's", 7500);
    t.file(t.root, "rest", 2495);
    t.file(t.root, "tiny", 5);
    const std::string html = page();
    EXPECT_NE(html.find("<td class=\"path\"><span class=\"dir\">/<wbr>r/<wbr>a&lt;b/<wbr></span>it&#39;s</td>"
                        "<td class=\"num\">7.5 KB</td>"), std::string::npos) << html;
    EXPECT_NE(html.find("style=\"width:75.00%\"></span></span><span class=\"pct\">75.0%</span>"), std::string::npos);
    EXPECT_NE(html.find("style=\"width:0.05%\"></span></span><span class=\"pct\">&lt;0.1%</span>"), std::string::npos);
}

TEST_F(Reports, PageSaysWhenAListIsEmptyAndNotesSmallFilesOnlyWhereSomeWereCounted) {
    EXPECT_EQ(countOf(page(), "<p class=\"empty\">"), 2u);
    t.file(t.folder(t.root, "a"), "f", 10);
    EXPECT_EQ(page().find("<p class=\"note\">"), std::string::npos);
    t.loose(t.root, 5, 2);
    EXPECT_NE(page().find("<p class=\"note\">"), std::string::npos);
}

TEST_F(Reports, SummaryTextGivesTotalsThenTheLargestFiveOfEach) {
    EXPECT_EQ(ScanReport::summaryText(*t.root, moment), "/r: 0 bytes, scanned 21 Nov 2026, 21:40\n0 folders, 0 files");
    FileNode* docs = t.folder(t.root, "docs", 3000, 2);
    t.file(docs, "a\nb", 2'000'000);
    t.file(t.root, "c", 1000);
    EXPECT_EQ(ScanReport::summaryText(*t.root, moment),
              "/r: 2.0 MB, scanned 21 Nov 2026, 21:40\n"
              "1 folders, 4 files\n\n"
              "Largest folders:\n  /r/docs — 2.0 MB\n\n"
              "Largest files:\n  /r/docs/a␊b — 2.0 MB\n  /r/c — 1.0 KB");
    for (int i = 0; i < 7; ++i) t.file(t.root, "f" + std::to_string(i), 10 + i);
    EXPECT_EQ(countOf(ScanReport::summaryText(*t.root, moment), "\n  /r/"), 1u + 5u);
}
