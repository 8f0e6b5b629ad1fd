// The guard's two passes, in their order, on both platforms' tables.
#include <gtest/gtest.h>

#include "Fixture.h"
#include "TrashKit/DeletionGuard.h"

using namespace tessel;
using R = DeletionRefusal;

namespace {

using Cases = std::vector<std::pair<std::optional<R>, std::vector<const char*>>>;

// A file manager that may refuse the two permission questions.
struct Refusing : FileManager {
    bool deletable = true;
    bool writable = true;
    bool isDeletable(const AnchoredPath&) const override { return deletable; }
    bool isWritable(const AnchoredPath&) const override { return writable; }
};

} // namespace

// Places are compared a component at a time, and a trailing slash changes nothing.
TEST(DeletionGuardStatic, EachPlaceIsRefusedForItsOwnReason) {
    DeletionGuard::Context mac{"/Users/a", "/Applications/Tessel.app", Platform::macOS, {}};
    const Cases onMac{
        {R::volumeRoot, {"/Volumes/Backup"}}, {R::inTrash, {"/Volumes/Backup/.Trashes/501/x"}},
        {R::protectedFolder, {"/Users/a/Library", "/Users/a/Library/"}}, {R::systemPath, {"/usr/localfoo"}},
        {R::keychain, {"/Users/a/Library/Keychains/login.keychain-db"}},
        {R::insidePackage, {"/Applications/Foo.app/Contents/Info.plist"}},
        {R::ownApplication, {"/Applications/Tessel.app/Contents"}},
        {std::nullopt, {"/Volumes/Backup/Old", "/Users/a/Library/Caches", "/usr/local/bin/tool", "/Applications/Foo.app"}}};
    DeletionGuard::Context linux{"/home/me", "/opt/tessel/bin/tessel-app", Platform::linuxOS,
                                 "/home/me/.local/share/Trash", std::vector<std::string>{"/data/Dropbox/"}};
    const Cases onLinux{
        {R::systemPath, {"/etc/passwd", "/usr/share/doc", "/snap/firefox/4336/usr/lib", "/nix/store/0c5f-hello/bin/x",
                         "/home/me/.local/share/flatpak/"}},
        {R::protectedFolder,
         {"/home/me", "/home/me/Documents/", "/usr/local", "/home", "/home/me/.local/share", "/home/me/.local"}},
        {R::keychain, {"/home/me/.local/share/keyrings/login.keyring"}},
        {R::inTrash, {"/home/me/.local/share/Trash/files/x", "/mnt/disk/.Trash-1000/files/x", "/srv/.Trash/1000/files/x"}},
        {R::volumeRoot, {"/media/me/USB", "/run/media/me/USB", "/mnt/disk"}},
        {R::ownApplication, {"/opt/tessel/bin/tessel-app"}}, {R::cloudSynced, {"/data/Dropbox", "/data/Dropbox/x"}},
        {std::nullopt, {"/home/me/Documents/old.pdf", "/usr/local/bin/tool", "/var/log/old.log", "/media/me/USB/film.mkv",
                        "/srv/.Trash", "/data/Dropboxes", "/snapshots/old", "/home/me/.local/share/flatpak-old"}}};
    for (const auto& [cases, context] : {std::pair{&onMac, &mac}, std::pair{&onLinux, &linux}})
        for (const auto& [refusal, paths] : *cases)
            for (const char* path : paths) EXPECT_EQ(DeletionGuard::staticRefusal(path, *context), refusal) << path;
    linux.cloudFolders.reset();
    EXPECT_EQ(DeletionGuard::staticRefusal("/data/Dropbox/x", linux), std::nullopt) << "none given, none read";
}

TEST(DeletionGuardOrder, TheFirstReasonFoundIsTheOneGivenAndAPlanCountsOnlyWhatMayGo) {
    test::TempFolder home;
    const DeletionGuard::Context context{home.path(), std::nullopt, Platform::linuxOS, home / "Trash"};
    test::writeFile(home / "file", 10);
    test::makeFolder(home / "folder");
    Refusing files;
    auto judged = [&](const std::string& path, bool isDirectory) {
        return DeletionGuard::refusal({path, 0, isDirectory}, context, files, "");
    };
    EXPECT_EQ(judged("/usr/bin/not-there", false), R::systemPath) << "the system tree before the disk";
    EXPECT_EQ(judged(home / "gone", true), R::missing) << "existence before type";
    EXPECT_EQ(judged(home / "file", true), R::typeChanged);
    const DeletionPlan plan = DeletionGuard::plan(
        {{home / "file", 100, false}, {home / "gone", 9, false}, {home / "folder", 200, true}}, context, files, "");
    EXPECT_EQ(plan.allowed, (std::vector<DeletionCandidate>{{home / "file", 100, false}, {home / "folder", 200, true}}));
    EXPECT_EQ(plan.totalBytes(), 300);
    files.writable = false;
    EXPECT_EQ(judged(home / "folder", true), R::notPermitted) << "a folder that moves must be writable";
    EXPECT_EQ(judged(home / "file", false), std::nullopt) << "a file need not be";
    files.deletable = false;
    EXPECT_EQ(judged(home / "file", false), R::notPermitted);
    EXPECT_TRUE(DeletionRefusals::isForFileManager(R::notPermitted));
    EXPECT_FALSE(DeletionRefusals::isForFileManager(R::inTrash));
}

TEST(DeletionGuardCollapse, AFolderTakesWhatIsInsideIt) {
    using C = DeletionCandidate;
    const std::vector<std::pair<std::vector<C>, std::vector<std::string>>> cases{
        {{{"/a/b", 1, false}, {"/a", 5, true}}, {"/a"}},
        {{{"/a/b", 1, false}, {"/a", 5, false}}, {"/a", "/a/b"}}, // a plain file holds nothing
        {{{"/a", 5, true}, {"/a", 5, true}}, {"/a", "/a"}},       // a duplicate is not its own ancestor
        {{{"/ab", 1, false}, {"/a", 5, true}, {"/a/", 5, true}}, {"/a", "/ab", "/a/"}}};
    for (const auto& [candidates, kept] : cases) {
        std::vector<std::string> paths;
        for (const C& candidate : DeletionGuard::collapseNested(candidates)) paths.push_back(candidate.path);
        EXPECT_EQ(paths, kept) << candidates[0].path;
    }
}

TEST(DeletionRefusalWords, OnLinuxNoneSpeaksOfTheMac) {
    for (DeletionRefusal refusal : DeletionRefusals::all()) {
        const std::string words = std::string(DeletionRefusals::explanation(refusal, Platform::linuxOS)) + " " +
                                  std::string(DeletionRefusals::rawValue(refusal, Platform::linuxOS));
        for (const char* mac : {"Finder", "macOS", "iCloud"}) EXPECT_EQ(words.find(mac), std::string::npos) << words;
    }
}
