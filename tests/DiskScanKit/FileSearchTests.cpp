// Searching a tree by name, size and kind: what matches, in what order, and
// how much of it is kept; and the search for hidden items, with their notes.
#include <gtest/gtest.h>

#include "DiskScanKit/FileSearch.h"
#include "DiskScanKit/HiddenItems.h"
#include "TreeBuilder.h"

using namespace tessel;
using test::namesOf;
using Names = std::vector<std::string>;
using Sort = FileQuery::Sort;
using Kind = FileQuery::Kind;

namespace {

constexpr int noLimit = 1000;

Names found(FileNode& root, const FileQuery& query) { return namesOf(FileSearch::run(query, root, noLimit).matches); }
Names found(FileNode& root, const std::string& text) { return found(root, {.text = text, .sort = Sort::nameAscending}); }

} // namespace

TEST(FileSearchText, WordsMatchInAnyOrderAndCaseAndQuotedOnesSideBySide) {
    test::TreeBuilder t;
    t.file(t.folder(t.root, "Docs"), "Tax Return 2023.pdf", 10);
    t.file(t.root, "Return of tax.txt", 10);
    t.file(t.root, "TAX2023.zip", 10);
    t.folder(t.root, "Returns");
    EXPECT_EQ(found(*t.root, "return TAX 2023"), (Names{"Tax Return 2023.pdf"}));
    EXPECT_EQ(found(*t.root, "2023   tax"), (Names{"Tax Return 2023.pdf", "TAX2023.zip"}));
    EXPECT_EQ(found(*t.root, "RETURN"), (Names{"Return of tax.txt", "Returns", "Tax Return 2023.pdf"}));
    EXPECT_EQ(found(*t.root, "tax 2024"), Names{}) << "every word must be there";
    EXPECT_EQ(found(*t.root, "\"tax return\""), (Names{"Tax Return 2023.pdf"}));
    EXPECT_EQ(found(*t.root, "2023 \"TAX RET"), (Names{"Tax Return 2023.pdf"})) << "an open quote runs to the end";
    EXPECT_EQ(found(*t.root, "pdf\"tax return\""), (Names{"Tax Return 2023.pdf"})) << "a quote ends the word before";
}

TEST(FileSearchText, FoldsLatinGreekAndCyrillicLettersButComparesOtherBytesAsTheyAre) {
    test::TreeBuilder t;
    for (const char* name : {"ÄRGER ÉTÉ.txt", "ΣΟΦΊΑ", "Отчёт ЁЛКУ", "ŁÓDŹ Œuvre", "cafe\xcc\x81", "broken\xff\xc3"})
        t.file(t.root, name, 10);
    EXPECT_EQ(found(*t.root, "été ärger"), (Names{"ÄRGER ÉTÉ.txt"}));
    EXPECT_EQ(found(*t.root, "σοφία"), (Names{"ΣΟΦΊΑ"}));
    EXPECT_EQ(found(*t.root, "ёлку"), (Names{"Отчёт ЁЛКУ"}));
    EXPECT_EQ(found(*t.root, "łódź œUVRE"), (Names{"ŁÓDŹ Œuvre"}));
    EXPECT_EQ(found(*t.root, "café"), Names{}) << "a composed accent is not the same bytes as a decomposed one";
    EXPECT_EQ(found(*t.root, "BROKEN\xff"), (Names{"broken\xff\xc3"})) << "bytes that are not UTF-8 still match";
}

TEST(FileSearchText, NoWordsMatchEveryNamedNodeButNeverTheRoot) {
    test::TreeBuilder t;
    FileNode* a = t.folder(t.root, "a");
    t.file(a, "f", 10);
    t.file(a, "", 20); // a file kept without its name
    for (const char* text : {"", "  \t ", "\"\""}) EXPECT_EQ(found(*t.root, text), (Names{"a", "f"})) << '"' << text << '"';
    EXPECT_TRUE((FileQuery{.text = " \"\"", .kind = Kind::filesOnly}.isEmpty())) << "a kind is not a limit";
    EXPECT_FALSE((FileQuery{.minimumBytes = 1}.isEmpty()));
    EXPECT_FALSE((FileQuery{.maximumBytes = 0}.isEmpty()));
}

TEST(FileSearchFilters, SizeBoundsIncludeBothEndsAndKindKeepsFilesOrFolders) {
    test::TreeBuilder t;
    FileNode* box = t.folder(t.root, "box");
    for (std::int64_t bytes : {99, 100, 200, 201}) t.file(box, "f" + std::to_string(bytes), bytes);
    t.folder(box, "f folder");
    FileQuery query{.minimumBytes = 100, .maximumBytes = 200, .kind = Kind::filesOnly, .sort = Sort::smallestFirst};
    EXPECT_EQ(found(*t.root, query), (Names{"f100", "f200"}));
    query.maximumBytes.reset();
    EXPECT_EQ(found(*t.root, query), (Names{"f100", "f200", "f201"}));
    EXPECT_EQ(found(*t.root, {.minimumBytes = 600}), (Names{"box"})) << "a folder is judged by its total";
    EXPECT_EQ(found(*t.root, {.text = "f", .kind = Kind::foldersOnly}), (Names{"f folder"}));
}

TEST(FileSearchFilters, AcceptsFiltersMatchesAndDescendsIntoFencesOffSubtreesButNotTheRoot) {
    test::TreeBuilder t;
    FileNode* keep = t.folder(t.root, "keep");
    t.file(keep, "log one", 10);
    t.file(keep, "log two", 10);
    FileNode* fenced = t.folder(t.root, "log fenced");
    t.file(t.folder(fenced, "sub"), "log deeper", 10);
    const auto accepts = [](const FileNode& node) { return node.name() != "log two"; };
    const auto descendsInto = [](const FileNode& folder) { return folder.name() != "log fenced"; };
    const SearchResults results =
        FileSearch::run({.text = "log", .sort = Sort::nameAscending}, *t.root, noLimit, accepts, descendsInto);
    EXPECT_EQ(namesOf(results.matches), (Names{"log fenced", "log one"})) << "a fenced folder can still match";
    const auto nowhere = [](const FileNode&) { return false; };
    EXPECT_EQ(namesOf(FileSearch::run({}, *t.root, noLimit, {}, nowhere).matches), (Names{"keep", "log fenced"}));
}

TEST(FileSearchOrder, BySizeThenShallowerThenBytesAndByNameIgnoringCaseThenBytesThenDepth) {
    test::TreeBuilder t;
    FileNode* sub = t.folder(t.root, "Zebra");
    t.file(sub, "apple", 5);
    t.file(t.root, "c", 5);
    t.file(t.root, "banana", 5);
    FileNode* shallowA = t.file(t.root, "apple", 1);
    t.file(t.root, "Banana", 1);
    t.file(t.root, "Émile", 1);
    t.file(sub, "big", 9);
    EXPECT_EQ(found(*t.root, {.kind = Kind::filesOnly}), (Names{"big", "banana", "c", "apple", "Banana", "apple", "Émile"}));
    EXPECT_EQ(found(*t.root, {.kind = Kind::filesOnly, .sort = Sort::smallestFirst}),
              (Names{"Banana", "apple", "Émile", "banana", "c", "apple", "big"}));
    const std::vector<FileNode*> byName = FileSearch::run({.sort = Sort::nameAscending}, *t.root, noLimit).matches;
    EXPECT_EQ(namesOf(byName), (Names{"apple", "apple", "Banana", "banana", "big", "c", "Zebra", "Émile"}));
    EXPECT_EQ(byName[0], shallowA) << "equal names: the shallower first";
}

TEST(FileSearchLimits, EveryLimitGivesTheSamePrefixInEveryOrderWhileTotalsCountEveryMatch) {
    // Names that collide in size, name and depth, so that only the tie rules decide.
    test::TreeBuilder t;
    FileNode* deep = t.folder(t.root, "deep");
    FileNode* deeper = t.folder(deep, "Deeper");
    std::int64_t sum = 0;
    for (int i = 0; i < 40; ++i)
        sum += t.file(i % 3 == 0 ? t.root : i % 3 == 1 ? deep : deeper,
                      std::string(1, static_cast<char>((i % 2 ? 'A' : 'a') + i % 5)) + "x", (i * 7) % 6)->totalBytes();
    for (Sort sort : {Sort::largestFirst, Sort::smallestFirst, Sort::nameAscending}) {
        const FileQuery query{.kind = Kind::filesOnly, .sort = sort};
        const std::vector<FileNode*> all = FileSearch::run(query, *t.root, noLimit).matches;
        ASSERT_EQ(all.size(), 40u);
        for (int limit : {1, 2, 7, 39}) {
            const SearchResults some = FileSearch::run(query, *t.root, limit);
            EXPECT_EQ(some.matches, std::vector<FileNode*>(all.begin(), all.begin() + limit))
                << "sort " << static_cast<int>(sort) << ", limit " << limit;
            EXPECT_TRUE(some.truncated);
            EXPECT_EQ(some.totalBytes, sum);
        }
        EXPECT_FALSE(FileSearch::run(query, *t.root, 40).truncated) << "exactly the limit is not more than it";
        EXPECT_EQ(FileSearch::run(query, *t.root, -3).totalMatched, 40) << "a limit below one lists nothing but counts all";
    }
}

TEST(FileSearchWalk, FindsTheBottomOfAChainFiveThousandFoldersDeep) {
    test::TreeBuilder t;
    FileNode* folder = t.root;
    for (int level = 0; level < 5000; ++level) folder = t.folder(folder, "level");
    FileNode* needle = t.file(folder, "needle", 42);
    EXPECT_EQ(FileSearch::run({.text = "needle"}, *t.root, 10).matches, std::vector<FileNode*>{needle});
    EXPECT_EQ(FileSearch::run({.text = "LEVEL"}, *t.root, 2).totalMatched, 5000);
}

TEST(HiddenItemExplanation, ExactNamesAndTheDotUnderscorePrefix) {
    for (const char* name : {".npm", "._Holiday.jpg", "._.Trashes"}) EXPECT_TRUE(HiddenItems::explanation(name)) << name;
    for (const char* name : {".GIT", ".gitignore", ".cache ", "", "._", "_.Holiday.jpg"})
        EXPECT_FALSE(HiddenItems::explanation(name)) << '"' << name << '"';
}

TEST(HiddenItemResults, ListsHiddenItemsAtAnyDepthWithoutEnteringThem) {
    test::TreeBuilder t;
    FileNode* cache = t.folder(t.root, ".cache");
    t.file(t.folder(cache, ".pip"), ".wheel", 500);
    t.file(cache, "blob", 300);
    FileNode* app = t.folder(t.folder(t.root, "Projects"), "app");
    t.file(t.folder(t.folder(app, ".git"), "objects"), ".pack", 200);
    t.file(app, ".env", 50);
    t.file(app, "main.c", 900);
    t.file(t.root, "._notes.txt", 10);

    const SearchResults results = HiddenItems::results(*t.root, 10);
    EXPECT_EQ(namesOf(results.matches), (Names{".cache", ".git", ".env", "._notes.txt"}));
    EXPECT_EQ(results.totalBytes, 800 + 200 + 50 + 10) << "each hidden folder counts once, with all it holds";
}
