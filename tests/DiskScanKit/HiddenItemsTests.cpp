// Hidden items: the form of the notes, the "._" note, and which items are listed.
#include <gtest/gtest.h>

#include <set>

#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/HiddenItems.h"
#include "TreeBuilder.h"

using namespace tessel;
using test::namesOf;
using Names = std::vector<std::string>;

TEST(HiddenItemNotes, SummariesAreOneSentenceButForTheFewThatNeedMore) {
    const std::set<std::string_view> given{".Spotlight-V100", ".DS_Store", ".ssh", ".git"};
    for (const auto& [name, note] : HiddenItems::notes()) {
        if (given.contains(name)) continue;
        const std::string& text = note.summary;
        ASSERT_FALSE(text.empty()) << name;
        EXPECT_TRUE(text.ends_with('.')) << name << ": " << text;
        EXPECT_EQ(text.find(". "), std::string::npos) << name << ": " << text;
        EXPECT_EQ(text.find("  "), std::string::npos) << name << ": " << text;
    }
}

TEST(HiddenItemExplanation, LooksUpExactNamesOnly) {
    ASSERT_TRUE(HiddenItems::explanation(".npm"));
    EXPECT_TRUE(HiddenItems::explanation(".npm")->rebuildsItself);
    ASSERT_TRUE(HiddenItems::explanation(".Trash"));
    EXPECT_FALSE(HiddenItems::explanation(".Trash")->rebuildsItself);
    for (const char* name : {".GIT", ".gitignore", "git", ".trash", ".cache ", "", "."})
        EXPECT_FALSE(HiddenItems::explanation(name)) << '"' << name << '"';
}

TEST(HiddenItemExplanation, FinderInformationFilesShareOneNote) {
    std::optional<HiddenItemNote> photo = HiddenItems::explanation("._Holiday.jpg");
    std::optional<HiddenItemNote> folder = HiddenItems::explanation("._.Trashes");
    ASSERT_TRUE(photo);
    ASSERT_TRUE(folder);
    EXPECT_TRUE(photo->summary.starts_with("Finder information for the file with the same name minus the ._"))
        << photo->summary;
    EXPECT_EQ(folder->summary, photo->summary) << "the prefix decides, not what follows it";
    EXPECT_FALSE(photo->rebuildsItself);
    EXPECT_FALSE(HiddenItems::explanation("._")) << "there is no file it could belong to";
    EXPECT_FALSE(HiddenItems::explanation("_.Holiday.jpg"));
}

TEST(HiddenItemResults, ListsHiddenItemsAtAnyDepthWithoutEnteringThem) {
    test::TreeBuilder t;
    FileNode* cache = t.folder(t.root, ".cache");
    FileNode* pip = t.folder(cache, ".pip");
    t.file(pip, ".wheel", 500);
    t.file(cache, "blob", 300);
    FileNode* app = t.folder(t.folder(t.root, "Projects"), "app");
    FileNode* git = t.folder(app, ".git");
    t.file(t.folder(git, "objects"), ".pack", 200);
    t.file(app, ".env", 50);
    t.file(app, "main.c", 900);
    t.file(t.root, "._notes.txt", 10);

    SearchResults results = HiddenItems::results(*t.root, 10);
    EXPECT_EQ(namesOf(results.matches), (Names{".cache", ".git", ".env", "._notes.txt"}));
    EXPECT_EQ(results.totalMatched, 4);
    EXPECT_EQ(results.totalBytes, 800 + 200 + 50 + 10) << "each hidden folder counts once, with all it holds";
    EXPECT_FALSE(results.truncated);

    SearchResults first = HiddenItems::results(*t.root, 1);
    EXPECT_EQ(namesOf(first.matches), (Names{".cache"}));
    EXPECT_EQ(first.totalMatched, 4);
    EXPECT_TRUE(first.truncated);
}
