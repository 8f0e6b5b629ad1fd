// Hidden items: which names have a note, the "._" note, and which items are listed.
#include <gtest/gtest.h>

#include "DiskScanKit/HiddenItems.h"
#include "TreeBuilder.h"

using namespace tessel;
using Names = std::vector<std::string>;

TEST(HiddenItemExplanation, ExactNamesAndTheDotUnderscorePrefix) {
    EXPECT_TRUE(HiddenItems::explanation(".npm"));
    for (const char* name : {".GIT", ".gitignore", "git", ".cache ", "", "._", "_.Holiday.jpg"})
        EXPECT_FALSE(HiddenItems::explanation(name)) << '"' << name << '"';
    const std::optional<HiddenItemNote> photo = HiddenItems::explanation("._Holiday.jpg");
    ASSERT_TRUE(photo);
    EXPECT_EQ(HiddenItems::explanation("._.Trashes")->summary, photo->summary) << "the prefix decides, not what follows";
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
    EXPECT_EQ(test::namesOf(results.matches), (Names{".cache", ".git", ".env", "._notes.txt"}));
    EXPECT_EQ(results.totalBytes, 800 + 200 + 50 + 10) << "each hidden folder counts once, with all it holds";
    const SearchResults first = HiddenItems::results(*t.root, 1);
    EXPECT_EQ(test::namesOf(first.matches), (Names{".cache"}));
    EXPECT_EQ(first.totalMatched, 4);
    EXPECT_TRUE(first.truncated);
}
