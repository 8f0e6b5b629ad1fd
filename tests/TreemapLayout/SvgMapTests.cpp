// The SVG pictures: well-formed XML whatever the names hold, with names and
// sizes where they fit.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/SvgMap.h"
#include "TreeBuilder.h"

using namespace tessel;

namespace {

constexpr std::int64_t GB = 1'000'000'000;

// What an XML reader would refuse in a picture, or nothing: bytes that are not
// UTF-8 or are control characters, tags out of balance, markup left raw in
// text. Attributes here hold only numbers and colours.
std::string xmlProblem(const std::string& doc) {
    for (std::size_t i = 0; i < doc.size(); ++i) {
        const auto byte = static_cast<unsigned char>(doc[i]);
        const std::size_t length = byte < 0x80 ? 1 : byte >= 0xC2 && byte <= 0xDF ? 2 : byte >= 0xE0 && byte <= 0xEF ? 3
                                                   : byte >= 0xF0 && byte <= 0xF4 ? 4 : 0;
        if (length == 0 || (byte < 0x20 && byte != '\n')) return "bad byte at " + std::to_string(i);
        for (std::size_t k = 1; k < length; ++k)
            if (i + k >= doc.size() || (static_cast<unsigned char>(doc[i + k]) & 0xC0) != 0x80)
                return "broken UTF-8 at " + std::to_string(i);
        i += length - 1;
    }
    std::vector<std::string> open;
    for (std::size_t at = doc.find('<'); at != std::string::npos;) {
        const std::size_t end = doc.find('>', at);
        const std::string tag = doc.substr(at + 1, end - at - 1);
        if (end == std::string::npos || tag.empty() || tag.find('<') != std::string::npos)
            return "broken tag at " + std::to_string(at);
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1)) return "unbalanced " + tag;
            open.pop_back();
        } else if (tag[0] != '?' && tag.back() != '/') {
            open.push_back(tag.substr(0, tag.find(' ')));
        }
        at = doc.find('<', end);
        const std::string text = doc.substr(end + 1, at == std::string::npos ? std::string::npos : at - end - 1);
        if (text.find('>') != std::string::npos) return "raw '>' in " + text;
        for (std::size_t amp = text.find('&'); amp != std::string::npos; amp = text.find('&', amp + 1)) {
            const auto is = [&](const char* entity) { return text.compare(amp, std::strlen(entity), entity) == 0; };
            if (!is("&amp;") && !is("&lt;") && !is("&gt;") && !is("&quot;") && !is("&apos;"))
                return "raw '&' in " + text;
        }
    }
    return open.empty() ? "" : "unclosed " + open.back();
}

// Whether Python's XML parser reads `doc`: 1 yes, 0 no, -1 no Python here.
int pythonParses(const std::string& doc) {
    const std::string path = testing::TempDir() + "tessel-map.svg";
    std::ofstream(path, std::ios::binary) << doc;
    const std::string command =
        "python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' '" + path + "' 2>/dev/null";
    const int status = std::system(command.c_str());
    std::remove(path.c_str());
    if (status == -1 || !WIFEXITED(status) || WEXITSTATUS(status) == 127) return -1;
    return WEXITSTATUS(status) == 0 ? 1 : 0;
}

struct SvgPicture : testing::Test, test::TreeBuilder {
    const TreemapTheme& theme = TreemapTheme::all().front();

    // Names that break naive XML, as folders (title bands, open cards) and as files.
    void hostile() {
        std::int64_t bytes = 40 * GB;
        for (const char* name : {"<script>alert(1)</script>", "Tom & Jerry", "\"quoted\" 'single'", "bad\xff" "byte",
                                 "line\nbreak", "bell\x07", "overlong\xC0\xAF", "surrogate\xED\xA0\x80",
                                 "cut short\xE2\x82", "]]> end", "caf\xC3\xA9 \xF0\x9F\x8E\x89"}) {
            FileNode* folder = add(root, name, true);
            add(folder, name, false, bytes);
            add(folder, std::string(name) + " 2", false, bytes / 3);
            add(root, std::string(name) + " file", false, bytes / 2);
            bytes = bytes * 4 / 5;
        }
        std::string long_;
        for (int i = 0; i < 300; ++i) long_ += "\xC3\xA9";
        add(root, long_, false, 8 * GB);
    }
};

} // namespace

TEST_F(SvgPicture, HostileNamesStillMakeWellFormedXml) {
    hostile();
    for (const std::string& svg : {SvgMap::treemap(*root, 1280, 800, theme), SvgMap::cards(*root, 1280, 800, theme)}) {
        EXPECT_EQ(xmlProblem(svg), "");
        EXPECT_EQ(svg.find("<script"), std::string::npos);
        EXPECT_NE(svg.find("&lt;script&gt;"), std::string::npos);
        EXPECT_NE(svg.find("Tom &amp; Jerry"), std::string::npos);
        const int parsed = pythonParses(svg);
        if (parsed >= 0) {
            EXPECT_EQ(parsed, 1) << "Python's XML parser refused the picture";
        }
    }
}

TEST_F(SvgPicture, LongNamesEndInAnEllipsisOnAWholeCharacter) {
    hostile();
    EXPECT_NE(SvgMap::treemap(*root, 1280, 800, theme).find("\xC3\xA9\xE2\x80\xA6</text>"), std::string::npos);
}

TEST(SvgEscaped, ReplacesWhatXmlCannotHoldAndKeepsEverythingElse) {
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(SvgMap::escaped("a<b\"\n\xff"), "a&lt;b&quot;" + replaced + replaced);
    EXPECT_EQ(SvgMap::escaped("x>y & 'z'"), "x&gt;y &amp; &apos;z&apos;");
    EXPECT_EQ(SvgMap::escaped("\xC0\xAF"), replaced + replaced);                       // an overlong "/"
    EXPECT_EQ(SvgMap::escaped("\xED\xA0\x80"), replaced + replaced + replaced);        // a surrogate
    EXPECT_EQ(SvgMap::escaped("\xEF\xBF\xBF" "\xC2\x85"), replaced + replaced);        // U+FFFF, a C1 control
    const std::string fine = "\xC3\xA9\xE6\x97\xA5\xF0\x9F\x8E\x89 plain";
    EXPECT_EQ(SvgMap::escaped(fine), fine);
}

TEST_F(SvgPicture, DocumentDeclaresItsSizeAndPaintsTheBackground) {
    add(root, "a", false, 10);
    const std::string svg = SvgMap::cards(*root, 640.5, 480, theme);
    EXPECT_EQ(svg.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\"", 0),
              0u);
    EXPECT_NE(svg.find("width=\"640.5\" height=\"480\" viewBox=\"0 0 640.5 480\""), std::string::npos);
    EXPECT_NE(svg.find("<rect width=\"640.5\" height=\"480\" fill=\"#f4f4f6\"/>"), std::string::npos);
}

TEST_F(SvgPicture, EmptyFolderOrSizeDrawsOnlyTheBackground) {
    add(root, "nothing", false, 0);
    for (const std::string& svg : {SvgMap::treemap(*root, 800, 600, theme), SvgMap::cards(*root, 800, 600, theme),
                                   SvgMap::treemap(*root, -5, std::numeric_limits<double>::quiet_NaN(), theme)}) {
        EXPECT_EQ(xmlProblem(svg), "");
        EXPECT_EQ(svg.find("<rect"), svg.rfind("<rect"));
    }
}

TEST_F(SvgPicture, NamesAndSizesShowInDecimalUnitsAndCardsAreRounded) {
    FileNode* folder = add(root, "Documents", true);
    for (int i = 0; i < 6; ++i) add(folder, "d" + std::to_string(i), false, (i + 1) * GB);
    add(root, "Movies.mov", false, 25 * GB);
    const std::string treemap = SvgMap::treemap(*root, 1000, 700, theme);
    const std::string cards = SvgMap::cards(*root, 1000, 700, theme);
    for (const std::string& svg : {treemap, cards}) {
        EXPECT_NE(svg.find(">Movies.mov</text>"), std::string::npos);
        EXPECT_NE(svg.find(">" + ByteFormat::string(25 * GB) + "</text>"), std::string::npos);
    }
    EXPECT_NE(cards.find("rx=\"12\""), std::string::npos); // on the ground
    EXPECT_NE(cards.find("rx=\"8\""), std::string::npos);  // inside the open card
    EXPECT_EQ(treemap.find("rx="), std::string::npos);
}
