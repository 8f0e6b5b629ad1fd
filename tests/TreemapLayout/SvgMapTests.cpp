// The SVG pictures: well-formed XML whatever the names hold, with names and
// sizes where they fit.
#include <gtest/gtest.h>

#include <csignal>

#include <sys/wait.h>

#include <cstdio>
#include <limits>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/SvgMap.h"
#include "TreeBuilder.h"

using namespace tessel;

namespace {

constexpr std::int64_t GB = 1'000'000'000;

// Whether an independent XML reader, Python's, takes `doc` (well-formed, and
// only characters XML may hold): 1 yes, 0 no, -1 no Python here.
int pythonParses(const std::string& doc) {
    // Through a pipe: tests run side by side, and a file of a fixed name would be shared between them.
    std::FILE* python = popen("python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.stdin.buffer)' 2>/dev/null", "w");
    if (python == nullptr) return -1;
    // A parser that gives up early closes the pipe: that is its answer, not this test's end.
    void (*previous)(int) = std::signal(SIGPIPE, SIG_IGN);
    std::fwrite(doc.data(), 1, doc.size(), python);
    const int status = pclose(python);
    std::signal(SIGPIPE, previous);
    if (status == -1 || !WIFEXITED(status) || WEXITSTATUS(status) == 127) return -1;
    return WEXITSTATUS(status) == 0 ? 1 : 0;
}

struct SvgPicture : testing::Test, test::TreeBuilder {
    const TreemapTheme& theme = TreemapTheme::all().front();
};

} // namespace

// Names that break naive XML, as folders (title bands, open cards) and as files.
TEST_F(SvgPicture, HostileNamesStillMakeWellFormedXml) {
    std::int64_t bytes = 40 * GB;
    for (const std::string name : {"<script>alert(1)</script>", "Tom & Jerry", "bad\xff" "byte", "bell\x07", "]]> end"}) {
        add(add(root, name, true), name, false, bytes);
        add(root, name + " file", false, bytes /= 2);
    }
    std::string accented;
    for (int i = 0; i < 300; ++i) accented += "\xC3\xA9";
    add(root, accented, false, 8 * GB);
    const std::string treemap = SvgMap::treemap(*root, 1280, 800, theme);
    for (const std::string& svg : {treemap, SvgMap::cards(*root, 1280, 800, theme)}) {
        const int parsed = pythonParses(svg);
        if (parsed < 0) GTEST_SKIP() << "no Python here to read the XML";
        EXPECT_EQ(parsed, 1) << "Python's XML parser refused the picture";
        EXPECT_EQ(svg.find("<script"), std::string::npos);
        EXPECT_NE(svg.find("&lt;script&gt;"), std::string::npos);
    }
    EXPECT_NE(treemap.find("\xC3\xA9\xE2\x80\xA6</text>"), std::string::npos) << "a long name ends in an ellipsis on a whole character";
}

TEST(SvgEscaped, ReplacesWhatXmlCannotHoldAndKeepsEverythingElse) {
    const std::string replaced = "\xEF\xBF\xBD", fine = "\xC3\xA9\xE6\x97\xA5\xF0\x9F\x8E\x89 plain";
    const std::vector<std::pair<std::string, std::string>> cases{
        {"a<b\"\n\xff", "a&lt;b&quot;" + replaced + replaced}, {"x>y & 'z'", "x&gt;y &amp; &apos;z&apos;"},
        {"\xC0\xAF", replaced + replaced},                       // an overlong "/"
        {"\xED\xA0\x80", replaced + replaced + replaced},        // a surrogate
        {"\xEF\xBF\xBF" "\xC2\x85", replaced + replaced},        // U+FFFF, a C1 control
        {"cut short\xE2\x82", "cut short" + replaced + replaced}, {fine, fine}};
    for (const auto& [raw, escaped] : cases) EXPECT_EQ(SvgMap::escaped(raw), escaped) << raw;
}

TEST_F(SvgPicture, EmptyFolderOrSizeDrawsOnlyTheBackgroundOfTheSizeAsked) {
    add(root, "nothing", false, 0);
    for (const std::string& svg : {SvgMap::treemap(*root, 640.5, 480, theme), SvgMap::cards(*root, 640.5, 480, theme),
                                   SvgMap::treemap(*root, -5, std::numeric_limits<double>::quiet_NaN(), theme)}) {
        EXPECT_NE(pythonParses(svg), 0);
        EXPECT_EQ(svg.find("<rect"), svg.rfind("<rect"));
    }
    EXPECT_NE(SvgMap::cards(*root, 640.5, 480, theme).find("viewBox=\"0 0 640.5 480\""), std::string::npos);
}

TEST_F(SvgPicture, NamesAndSizesShowInDecimalUnitsAndCardsAreRounded) {
    FileNode* folder = add(root, "Documents", true);
    for (int i = 0; i < 6; ++i) add(folder, "d" + std::to_string(i), false, (i + 1) * GB);
    add(root, "Movies.mov", false, 25 * GB);
    const std::string treemap = SvgMap::treemap(*root, 1000, 700, theme), cards = SvgMap::cards(*root, 1000, 700, theme);
    for (const std::string& svg : {treemap, cards}) {
        EXPECT_NE(svg.find(">Movies.mov</text>"), std::string::npos);
        EXPECT_NE(svg.find(">" + ByteFormat::string(25 * GB) + "</text>"), std::string::npos);
    }
    EXPECT_TRUE(cards.find("rx=") != std::string::npos && treemap.find("rx=") == std::string::npos);
}
