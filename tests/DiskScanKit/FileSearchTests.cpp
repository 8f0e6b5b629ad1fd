// Searching a tree by name, size and kind: what matches, in what order, and
// how much of it is kept.
#include <gtest/gtest.h>

#include <algorithm>

#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/FileSearch.h"
#include "TreeBuilder.h"

using namespace tessel;
using test::namesOf;
using Names = std::vector<std::string>;

namespace {

constexpr int noLimit = 1000;

Names found(FileNode& root, const std::string& text, FileQuery::Sort sort = FileQuery::Sort::nameAscending) {
    FileQuery query;
    query.text = text;
    query.sort = sort;
    return namesOf(FileSearch::run(query, root, noLimit).matches);
}

// A tree with names that collide in size, name and depth, so that only the
// tie rules can decide the order.
struct TiedTree : test::TreeBuilder {
    TiedTree() {
        FileNode* deep = folder(root, "deep");
        FileNode* deeper = folder(deep, "Deeper");
        for (int i = 0; i < 40; ++i) {
            FileNode* parent = i % 3 == 0 ? root : i % 3 == 1 ? deep : deeper;
            file(parent, std::string(1, static_cast<char>(i % 2 == 0 ? 'a' + i % 5 : 'A' + i % 5)) + "x",
                 (i * 7) % 6);
        }
    }
};

} // namespace

TEST(FileSearchText, WordsMatchInAnyOrderAndCase) {
    test::TreeBuilder t;
    FileNode* docs = t.folder(t.root, "Docs");
    t.file(docs, "2023 Tax Return.pdf", 10);
    t.file(docs, "tax-notes-2022.txt", 10);
    t.file(docs, "TAX2023.zip", 10);
    t.folder(t.root, "Returns");
    EXPECT_EQ(found(*t.root, "return TAX 2023"), (Names{"2023 Tax Return.pdf"}));
    EXPECT_EQ(found(*t.root, "2023   tax"), (Names{"2023 Tax Return.pdf", "TAX2023.zip"}));
    EXPECT_EQ(found(*t.root, "RETURN"), (Names{"2023 Tax Return.pdf", "Returns"})) << "folders match too";
    EXPECT_EQ(found(*t.root, "tax 2024"), Names{}) << "every word must be there";
}

TEST(FileSearchText, QuotedWordsMustStandSideBySide) {
    test::TreeBuilder t;
    t.file(t.root, "Tax Return 2023.pdf", 10);
    t.file(t.root, "Return of tax.txt", 10);
    t.file(t.root, "tax  return.txt", 10);
    EXPECT_EQ(found(*t.root, "\"tax return\""), (Names{"Tax Return 2023.pdf"}));
    EXPECT_EQ(found(*t.root, "tax return"), (Names{"Return of tax.txt", "tax  return.txt", "Tax Return 2023.pdf"}));
    EXPECT_EQ(found(*t.root, "2023 \"TAX RET"), (Names{"Tax Return 2023.pdf"})) << "an open quote runs to the end";
    EXPECT_EQ(found(*t.root, "pdf\"tax return\""), (Names{"Tax Return 2023.pdf"})) << "a quote ends the word before";
}

TEST(FileSearchText, FoldsLatinGreekAndCyrillicLettersButComparesOtherBytesAsTheyAre) {
    test::TreeBuilder t;
    t.file(t.root, "ÄRGER ÜBER ÉTÉ.txt", 10);
    t.file(t.root, "ΣΟΦΊΑ", 10);
    t.file(t.root, "Отчёт за ЁЛКУ.docx", 10);
    t.file(t.root, "ŁÓDŹ Œuvre", 10);
    t.file(t.root, "東京.jpg", 10);
    t.file(t.root, "cafe\xcc\x81", 10); // "café" with the accent stored apart
    t.file(t.root, "broken\xff\xc3", 10);
    EXPECT_EQ(found(*t.root, "ärger été über"), (Names{"ÄRGER ÜBER ÉTÉ.txt"}));
    EXPECT_EQ(found(*t.root, "σοφία"), (Names{"ΣΟΦΊΑ"}));
    EXPECT_EQ(found(*t.root, "ОТЧЁТ ёлку"), (Names{"Отчёт за ЁЛКУ.docx"}));
    EXPECT_EQ(found(*t.root, "łódź œUVRE"), (Names{"ŁÓDŹ Œuvre"}));
    EXPECT_EQ(found(*t.root, "京"), (Names{"東京.jpg"}));
    EXPECT_EQ(found(*t.root, "café"), Names{}) << "a composed accent is not the same bytes as a decomposed one";
    EXPECT_EQ(found(*t.root, "CAFE\xcc\x81"), (Names{"cafe\xcc\x81"}));
    EXPECT_EQ(found(*t.root, "BROKEN\xff"), (Names{"broken\xff\xc3"})) << "bytes that are not UTF-8 still match";
}

TEST(FileSearchText, NoWordsMatchEveryNamedNodeButNeverTheRoot) {
    test::TreeBuilder t;
    FileNode* a = t.folder(t.root, "a");
    t.file(a, "f", 10);
    t.file(a, "", 20); // a file kept without its name
    for (const char* text : {"", "  \t ", "\"\""}) {
        SearchResults results = FileSearch::run(FileQuery{.text = text}, *t.root, noLimit);
        EXPECT_EQ(namesOf(results.matches), (Names{"a", "f"})) << '"' << text << '"';
        EXPECT_EQ(results.totalMatched, 2);
    }
}

TEST(FileQuery, IsEmptyOnlyWithoutWordsOrSizeLimits) {
    EXPECT_TRUE(FileQuery{}.isEmpty());
    EXPECT_TRUE((FileQuery{.text = " \t"}.isEmpty()));
    EXPECT_TRUE((FileQuery{.text = "\"\""}.isEmpty()));
    EXPECT_TRUE((FileQuery{.kind = FileQuery::Kind::filesOnly}.isEmpty())) << "a kind is not a limit";
    EXPECT_FALSE((FileQuery{.text = "a"}.isEmpty()));
    EXPECT_FALSE((FileQuery{.minimumBytes = 1}.isEmpty()));
    EXPECT_FALSE((FileQuery{.maximumBytes = 0}.isEmpty()));
}

TEST(FileSearchFilters, SizeBoundsIncludeBothEnds) {
    test::TreeBuilder t;
    FileNode* box = t.folder(t.root, "box");
    for (std::int64_t bytes : {99, 100, 150, 200, 201}) t.file(box, "f" + std::to_string(bytes), bytes);
    FileQuery query{.minimumBytes = 100, .maximumBytes = 200, .kind = FileQuery::Kind::filesOnly,
                    .sort = FileQuery::Sort::smallestFirst};
    EXPECT_EQ(namesOf(FileSearch::run(query, *t.root, noLimit).matches), (Names{"f100", "f150", "f200"}));
    query.maximumBytes.reset();
    EXPECT_EQ(namesOf(FileSearch::run(query, *t.root, noLimit).matches), (Names{"f100", "f150", "f200", "f201"}));
    query.kind = FileQuery::Kind::all;
    query.minimumBytes = 700;
    EXPECT_EQ(namesOf(FileSearch::run(query, *t.root, noLimit).matches), (Names{"box"})) << "judged by its total";
}

TEST(FileSearchFilters, KindKeepsFilesOrFolders) {
    test::TreeBuilder t;
    FileNode* photos = t.folder(t.root, "photos");
    t.file(photos, "photo.jpg", 10);
    t.folder(photos, "old photos");
    FileQuery query{.text = "photo"};
    query.kind = FileQuery::Kind::filesOnly;
    EXPECT_EQ(namesOf(FileSearch::run(query, *t.root, noLimit).matches), (Names{"photo.jpg"}));
    query.kind = FileQuery::Kind::foldersOnly;
    query.sort = FileQuery::Sort::nameAscending;
    EXPECT_EQ(namesOf(FileSearch::run(query, *t.root, noLimit).matches), (Names{"old photos", "photos"}));
}

TEST(FileSearchFilters, AcceptsFiltersMatchesAndDescendsIntoFencesOffSubtrees) {
    test::TreeBuilder t;
    FileNode* keep = t.folder(t.root, "keep");
    t.file(keep, "log one", 10);
    t.file(keep, "log two", 10);
    FileNode* fenced = t.folder(t.root, "log fenced");
    t.file(fenced, "log inside", 10);
    FileNode* deeper = t.folder(fenced, "sub");
    t.file(deeper, "log deeper", 10);
    std::vector<std::string> askedToEnter;
    auto accepts = [](const FileNode& node) { return node.name() != "log two"; };
    auto descendsInto = [&](const FileNode& folder) {
        askedToEnter.emplace_back(folder.name());
        return folder.name() != "log fenced";
    };
    FileQuery query{.text = "log", .sort = FileQuery::Sort::nameAscending};
    SearchResults results = FileSearch::run(query, *t.root, noLimit, accepts, descendsInto);
    EXPECT_EQ(namesOf(results.matches), (Names{"log fenced", "log one"})) << "a fenced folder can still match";
    EXPECT_EQ(results.totalMatched, 2);
    std::sort(askedToEnter.begin(), askedToEnter.end());
    EXPECT_EQ(askedToEnter, (Names{"keep", "log fenced"})) << "nothing below the fence is reached";
}

TEST(FileSearchFilters, TheRootIsEnteredWhateverDescendsIntoSays) {
    test::TreeBuilder t;
    t.file(t.folder(t.root, "top"), "below", 10);
    auto nowhere = [](const FileNode&) { return false; };
    SearchResults results = FileSearch::run(FileQuery{}, *t.root, noLimit, {}, nowhere);
    EXPECT_EQ(namesOf(results.matches), (Names{"top"}));
}

TEST(FileSearchOrder, LargestFirstThenShallowerThenName) {
    test::TreeBuilder t;
    FileNode* sub = t.folder(t.root, "sub");
    t.file(sub, "a", 5);
    t.file(t.root, "c", 5);
    t.file(t.root, "b", 5);
    t.file(sub, "big", 9);
    FileQuery query{.kind = FileQuery::Kind::filesOnly};
    EXPECT_EQ(namesOf(FileSearch::run(query, *t.root, noLimit).matches), (Names{"big", "b", "c", "a"}));
    query.sort = FileQuery::Sort::smallestFirst;
    EXPECT_EQ(namesOf(FileSearch::run(query, *t.root, noLimit).matches), (Names{"b", "c", "a", "big"}));
}

TEST(FileSearchOrder, NameIgnoresCaseThenComparesBytesThenDepth) {
    test::TreeBuilder t;
    FileNode* sub = t.folder(t.root, "Zebra");
    FileNode* deepA = t.file(sub, "apple", 1);
    t.file(t.root, "banana", 1);
    FileNode* shallowA = t.file(t.root, "apple", 1);
    t.file(t.root, "Banana", 1);
    t.file(t.root, "Émile", 1);
    t.file(t.root, "cherry", 1);
    FileQuery query{.sort = FileQuery::Sort::nameAscending};
    std::vector<FileNode*> matches = FileSearch::run(query, *t.root, noLimit).matches;
    EXPECT_EQ(namesOf(matches), (Names{"apple", "apple", "Banana", "banana", "cherry", "Zebra", "Émile"}));
    ASSERT_GE(matches.size(), 2u);
    EXPECT_EQ(matches[0], shallowA);
    EXPECT_EQ(matches[1], deepA);
}

TEST(FileSearchLimits, LimitKeepsTheBestWhileTotalsCountEveryMatch) {
    test::TreeBuilder t;
    std::int64_t sum = 0;
    for (int i = 0; i < 200; ++i) {
        t.file(t.root, "item" + std::to_string(i), (i * 37) % 200);
        sum += (i * 37) % 200;
    }
    SearchResults results = FileSearch::run(FileQuery{.text = "ITEM"}, *t.root, 3);
    EXPECT_EQ(namesOf(results.matches), (Names{"item27", "item54", "item81"})) << "199, 198 and 197 bytes";
    EXPECT_EQ(results.totalMatched, 200);
    EXPECT_EQ(results.totalBytes, sum);
    EXPECT_TRUE(results.truncated);

    SearchResults exact = FileSearch::run(FileQuery{.text = "ITEM"}, *t.root, 200);
    EXPECT_EQ(exact.matches.size(), 200u);
    EXPECT_FALSE(exact.truncated) << "exactly the limit is not more than it";
    for (int limit : {0, -3}) {
        SearchResults none = FileSearch::run(FileQuery{}, *t.root, limit);
        EXPECT_TRUE(none.matches.empty());
        EXPECT_EQ(none.totalMatched, 200);
        EXPECT_TRUE(none.truncated);
    }
}

TEST(FileSearchLimits, EveryLimitGivesTheSamePrefixInEveryOrder) {
    TiedTree t;
    for (auto sort : {FileQuery::Sort::largestFirst, FileQuery::Sort::smallestFirst,
                      FileQuery::Sort::nameAscending}) {
        FileQuery query{.kind = FileQuery::Kind::filesOnly, .sort = sort};
        std::vector<FileNode*> all = FileSearch::run(query, *t.root, noLimit).matches;
        ASSERT_EQ(all.size(), 40u);
        for (int limit : {1, 2, 7, 39}) {
            SearchResults some = FileSearch::run(query, *t.root, limit);
            EXPECT_EQ(some.matches, std::vector<FileNode*>(all.begin(), all.begin() + limit))
                << "sort " << static_cast<int>(sort) << ", limit " << limit;
            EXPECT_EQ(some.totalMatched, 40);
            EXPECT_TRUE(some.truncated);
        }
    }
}

TEST(FileSearchWalk, FindsTheBottomOfAChainFiveThousandFoldersDeep) {
    test::TreeBuilder t;
    FileNode* folder = t.root;
    for (int level = 0; level < 5000; ++level) folder = t.folder(folder, "level");
    FileNode* needle = t.file(folder, "needle", 42);
    SearchResults results = FileSearch::run(FileQuery{.text = "needle"}, *t.root, 10);
    ASSERT_EQ(results.matches, std::vector<FileNode*>{needle});
    EXPECT_EQ(needle->depth(), 5001);

    SearchResults levels = FileSearch::run(FileQuery{.text = "LEVEL", .sort = FileQuery::Sort::nameAscending},
                                           *t.root, 2);
    EXPECT_EQ(levels.totalMatched, 5000);
    EXPECT_EQ(levels.totalBytes, 5000 * 42);
    ASSERT_EQ(levels.matches.size(), 2u);
    EXPECT_EQ(levels.matches[0]->depth(), 1) << "equal names: the shallower first";
    EXPECT_EQ(levels.matches[1]->depth(), 2);
}
