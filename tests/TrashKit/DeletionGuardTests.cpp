// The guard's two passes, in their order, on both platforms' tables.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "Fixture.h"
#include "TrashKit/DeletionGuard.h"

using namespace tessel;

namespace {

std::optional<DeletionRefusal> onMac(const std::string& path, std::optional<std::string> bundle = std::nullopt) {
    return DeletionGuard::staticRefusal(path, {"/Users/a", std::move(bundle), Platform::macOS, {}});
}

std::optional<DeletionRefusal> onLinux(const std::string& path) {
    return DeletionGuard::staticRefusal(path, {"/home/me", "/opt/tessel/bin/tessel-app", Platform::linuxOS,
                                               "/home/me/.local/share/Trash"});
}

// A file manager that may refuse the two permission questions.
struct Refusing : FileManager {
    bool deletable = true;
    bool writable = true;
    bool isDeletable(const AnchoredPath&) const override { return deletable; }
    bool isWritable(const AnchoredPath&) const override { return writable; }
};

} // namespace

TEST(DeletionGuardStatic, MacPlacesAreComparedAComponentAtATime) {
    using R = DeletionRefusal;
    EXPECT_EQ(onMac("/Volumes/Backup"), R::volumeRoot);
    EXPECT_EQ(onMac("/Volumes/Backup/Old"), std::nullopt);
    EXPECT_EQ(onMac("/Volumes/Backup/.Trashes/501/x"), R::inTrash);
    EXPECT_EQ(onMac("/Users/a/Library"), R::protectedFolder);
    EXPECT_EQ(onMac("/Users/a/Library/Caches"), std::nullopt);
    EXPECT_EQ(onMac("/Users/a/Library/Keychains/login.keychain-db"), R::keychain);
    EXPECT_EQ(onMac("/usr/local/bin/tool"), std::nullopt);
    EXPECT_EQ(onMac("/usr/localfoo"), R::systemPath) << "not within /usr/local";
    EXPECT_EQ(onMac("/Applications/Foo.app"), std::nullopt);
    EXPECT_EQ(onMac("/Applications/Foo.app/Contents/Info.plist"), R::insidePackage);
    EXPECT_EQ(onMac("/Applications/Tessel.app/Contents", "/Applications/Tessel.app"), R::ownApplication);
    EXPECT_EQ(onMac("/Users/a/Library/"), onMac("/Users/a/Library")) << "a trailing slash changes nothing";
}

TEST(DeletionGuardStatic, LinuxTablesKeepTheSystemAndTheStandardFolders) {
    using R = DeletionRefusal;
    for (const char* system : {"/proc/1", "/sys/kernel", "/dev/sda", "/boot/vmlinuz", "/etc/passwd", "/run/user/1000",
                               "/lib/x86_64-linux-gnu", "/lib64", "/bin/ls", "/sbin/init", "/var/lib/dpkg", "/usr",
                               "/usr/share/doc"})
        EXPECT_EQ(onLinux(system), R::systemPath) << system;
    for (const char* folder : {"/home/me", "/home/me/Documents", "/home/me/Templates", "/home/me/.cache",
                               "/home/me/.config", "/home/me/.local", "/usr/local", "/home", "/opt"})
        EXPECT_EQ(onLinux(folder), R::protectedFolder) << folder;
    for (const char* removable : {"/home/me/Documents/old.pdf", "/home/me/.cache/thumbnails", "/usr/local/bin/tool",
                                  "/var/log/old.log", "/opt/game", "/media/me/USB/film.mkv", "/home/me/.local/share/x"})
        EXPECT_EQ(onLinux(removable), std::nullopt) << removable;
    EXPECT_EQ(onLinux("/home/me/.local/share/keyrings/login.keyring"), R::keychain);
    EXPECT_EQ(onLinux("/home/me/.local/share/Trash/files/x"), R::inTrash);
    EXPECT_EQ(onLinux("/mnt/disk/.Trash-1000/files/x"), R::inTrash);
    EXPECT_EQ(onLinux("/srv/.Trash/1000/files/x"), R::inTrash);
    EXPECT_EQ(onLinux("/srv/.Trash"), std::nullopt) << "a folder called .Trash alone is no trash";
    EXPECT_EQ(onLinux("/media/me/USB"), R::volumeRoot);
    EXPECT_EQ(onLinux("/run/media/me/USB"), R::volumeRoot);
    EXPECT_EQ(onLinux("/mnt/disk"), R::volumeRoot);
    EXPECT_EQ(onLinux("/opt/tessel/bin/tessel-app"), R::ownApplication);
}

TEST(DeletionGuardStatic, PackageStoresAreTheSystemsOwn) {
    using R = DeletionRefusal;
    for (const char* store : {"/snap", "/snap/firefox/4336/usr/lib/firefox", "/var/lib/snapd/snaps/core_1.snap",
                              "/var/lib/flatpak", "/var/lib/flatpak/app/org.gimp.GIMP", "/nix/store",
                              "/nix/store/0c5f-hello-2.12/bin/hello", "/home/me/.local/share/flatpak",
                              "/home/me/.local/share/flatpak/app/com.spotify.Client/current"})
        EXPECT_EQ(onLinux(store), R::systemPath) << store;
    for (const char* near : {"/snapshots/old", "/nix/var/log/x", "/home/me/.local/share/flatpak-old", "/home/me/snap/x"})
        EXPECT_EQ(onLinux(near), std::nullopt) << near;
    EXPECT_EQ(onLinux("/home/me/.local/share/flatpak/"), R::systemPath) << "a trailing slash changes nothing";
    EXPECT_TRUE(DeletionGuard::packageStores("/Users/a", Platform::macOS).empty()) << "the Mac tables stay as written";
}

TEST(DeletionGuardStatic, CloudFoldersTheContextHoldsAreCloudSynced) {
    DeletionGuard::Context context{"/home/me", std::nullopt, Platform::linuxOS, "/home/me/.local/share/Trash"};
    EXPECT_EQ(DeletionGuard::staticRefusal("/data/Dropbox/x", context), std::nullopt) << "none given, none read";
    context.cloudFolders = {"/data/Dropbox/", "/home/me/Sync"};
    EXPECT_EQ(DeletionGuard::staticRefusal("/data/Dropbox/x", context), DeletionRefusal::cloudSynced);
    EXPECT_EQ(DeletionGuard::staticRefusal("/data/Dropbox", context), DeletionRefusal::cloudSynced);
    EXPECT_EQ(DeletionGuard::staticRefusal("/data/Dropboxes", context), std::nullopt);
    EXPECT_EQ(DeletionGuard::staticRefusal("/home/me/.local/share/Trash/files/Sync", context), DeletionRefusal::inTrash);
}

TEST(DeletionGuardOrder, StaticTestsComeBeforeTheDisk) {
    test::TempFolder home;
    const DeletionGuard::Context context{home.path(), std::nullopt, Platform::linuxOS, home / "Trash"};
    LocalFileManager disk;
    // Neither exists: the system tree answers before the disk is asked.
    EXPECT_EQ(DeletionGuard::refusal({"/usr/bin/not-there", 0, false}, context, disk, "/nonexistent"),
              DeletionRefusal::systemPath);
    EXPECT_EQ(DeletionGuard::refusal({home / "gone", 0, true}, context, disk, "/nonexistent"), DeletionRefusal::missing)
        << "existence before type";
    test::writeFile(home / "was a file", 10);
    EXPECT_EQ(DeletionGuard::refusal({home / "was a file", 10, true}, context, disk, "/nonexistent"),
              DeletionRefusal::typeChanged);
    test::makeFolder(home / "folder");
    EXPECT_EQ(DeletionGuard::refusal({home / "folder", 0, true}, context, disk, "/nonexistent"), std::nullopt);
}

TEST(DeletionGuardOrder, PermissionRefusalsGoToTheFileManager) {
    test::TempFolder home;
    test::makeFolder(home / "folder");
    const DeletionGuard::Context context{home.path(), std::nullopt, Platform::linuxOS, home / "Trash"};
    Refusing files;
    files.deletable = false;
    EXPECT_EQ(DeletionGuard::refusal({home / "folder", 0, true}, context, files, ""), DeletionRefusal::notPermitted);
    files.deletable = true;
    files.writable = false;
    EXPECT_EQ(DeletionGuard::refusal({home / "folder", 0, true}, context, files, ""), DeletionRefusal::notPermitted)
        << "a folder that moves must be writable";
    EXPECT_TRUE(DeletionRefusals::isForFileManager(DeletionRefusal::notPermitted));
    EXPECT_FALSE(DeletionRefusals::isForFileManager(DeletionRefusal::inTrash));
}

TEST(DeletionGuardCollapse, AFolderTakesWhatIsInsideIt) {
    using C = DeletionCandidate;
    auto paths = [](const std::vector<C>& candidates) {
        std::vector<std::string> list;
        for (const C& candidate : candidates) list.push_back(candidate.path);
        return list;
    };
    EXPECT_EQ(paths(DeletionGuard::collapseNested({{"/a/b", 1, false}, {"/a", 5, true}})),
              (std::vector<std::string>{"/a"}));
    EXPECT_EQ(paths(DeletionGuard::collapseNested({{"/a/b", 1, false}, {"/a", 5, false}})),
              (std::vector<std::string>{"/a", "/a/b"})) << "a plain file holds nothing";
    EXPECT_EQ(paths(DeletionGuard::collapseNested({{"/a", 5, true}, {"/a", 5, true}})),
              (std::vector<std::string>{"/a", "/a"})) << "a duplicate is not its own ancestor";
    EXPECT_EQ(paths(DeletionGuard::collapseNested({{"/ab", 1, false}, {"/a", 5, true}, {"/a/", 5, true}})),
              (std::vector<std::string>{"/a", "/ab", "/a/"}));
}

TEST(DeletionGuardPlan, KeepsOrderAndCountsOnlyWhatMayGo) {
    test::TempFolder home;
    test::writeFile(home / "one", 10);
    test::writeFile(home / "two", 10);
    const DeletionGuard::Context context{home.path(), std::nullopt, Platform::linuxOS, home / "Trash"};
    const DeletionPlan plan = DeletionGuard::plan(
        {{home / "one", 100, false}, {"/etc/hosts", 7, false}, {home / "two", 200, false}, {home / "none", 9, false}},
        context, LocalFileManager(), "");
    ASSERT_EQ(plan.allowed.size(), 2u);
    EXPECT_EQ(plan.allowed[1].path, home / "two");
    ASSERT_EQ(plan.refused.size(), 2u);
    EXPECT_EQ(plan.refused[0].second, DeletionRefusal::systemPath);
    EXPECT_EQ(plan.refused[1].second, DeletionRefusal::missing);
    EXPECT_EQ(plan.totalBytes(), 300);
}

// What a Linux user reads of a refusal speaks of Linux.
TEST(DeletionRefusalWords, OnLinuxNoneSpeaksOfTheMac) {
    for (DeletionRefusal refusal : DeletionRefusals::all()) {
        const std::string_view words = DeletionRefusals::explanation(refusal, Platform::linuxOS);
        EXPECT_EQ(words.find("Finder"), std::string_view::npos) << words;
        EXPECT_EQ(words.find("macOS"), std::string_view::npos) << words;
        EXPECT_EQ(words.find("iCloud"), std::string_view::npos) << words;
        EXPECT_EQ(DeletionRefusals::rawValue(refusal, Platform::linuxOS).find("iCloud"), std::string_view::npos);
    }
    EXPECT_NE(DeletionRefusals::explanation(DeletionRefusal::cloudSynced, Platform::macOS),
              DeletionRefusals::explanation(DeletionRefusal::cloudSynced, Platform::linuxOS));
}
