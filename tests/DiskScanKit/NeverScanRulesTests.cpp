// The places never offered to a tool: managed folder names, the system's own
// trees, other users' homes and the managed parts of the home, on both platforms.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "DiskScanKit/DuplicateFinder.h"

using namespace tessel;
using NeverScanRules::excludesEverything;

namespace {

bool onLinux(const std::string& path, const std::string& home = "/home/me") {
    return excludesEverything(path, home, Platform::linuxOS);
}

bool onMac(const std::string& path, const std::string& home = "/Users/me") {
    return excludesEverything(path, home, Platform::macOS);
}

} // namespace

TEST(ManagedFolderNames, AreDistinctNamesOfStoresProgramsKeep) {
    const auto& names = NeverScanRules::managedFolderNames();
    const std::set<std::string_view> distinct(names.begin(), names.end());
    EXPECT_EQ(distinct.size(), names.size());
    for (std::string_view name : {".git", "node_modules", ".Trash", ".Trashes", "lost+found", "VirtualBox VMs",
                                  ".DocumentRevisions-V100", "site-packages", "Parallels"})
        EXPECT_TRUE(distinct.contains(name)) << name;
    for (std::string_view name : names) EXPECT_EQ(name.find('/'), std::string_view::npos) << name;
}

TEST(SystemTrees, LinuxTreesAreExcludedWithAllTheyHold) {
    for (const char* path : {"/usr", "/usr/share/doc/x.gz", "/var/cache/apt", "/proc/1", "/etc", "/boot/vmlinuz",
                             "/lib64", "/tmp/scratch", "/srv/www"})
        EXPECT_TRUE(onLinux(path)) << path;
}

TEST(SystemTrees, MacTreesAreExcludedWithAllTheyHold) {
    for (const char* path : {"/System", "/System/Volumes/Data/Users", "/Library/Caches", "/private/var/folders",
                             "/Applications/Tool.app", "/usr/local/bin", "/opt/homebrew"})
        EXPECT_TRUE(onMac(path)) << path;
}

TEST(SystemTrees, ComparedAComponentAtATime) {
    EXPECT_FALSE(onLinux("/usrlocal"));
    EXPECT_FALSE(onLinux("/variable/data"));
    EXPECT_FALSE(onMac("/Systematic"));
    EXPECT_TRUE(onLinux("/usr/"));
}

TEST(SystemTrees, EachPlatformReadsItsOwnTable) {
    EXPECT_TRUE(onMac("/Library/Audio"));
    EXPECT_FALSE(onLinux("/Library/Audio"));
    EXPECT_TRUE(onLinux("/lib/modules"));
    EXPECT_FALSE(onMac("/lib/modules"));
    EXPECT_FALSE(onMac("/Users/me/.local/share/Trash"));
    EXPECT_FALSE(onLinux("/home/me/Library/Caches"));
    // Tool stores sit in the same place on both.
    EXPECT_TRUE(onMac("/Users/me/.cargo/registry"));
    EXPECT_TRUE(onLinux("/home/me/.cargo/registry"));
}

TEST(SystemTrees, TheRootAndDisksElsewhereAreOpen) {
    for (const char* path : {"/", "/media/me/Disk/film.mkv", "/mnt/backup", "/data"}) EXPECT_FALSE(onLinux(path)) << path;
    for (const char* path : {"/", "/Volumes/Disk/film.mkv"}) EXPECT_FALSE(onMac(path)) << path;
}

TEST(OtherUsersHomes, LinuxHomesOfOthersAreExcludedAndOursIsNot) {
    EXPECT_TRUE(onLinux("/home/you"));
    EXPECT_TRUE(onLinux("/home/you/Documents/a.pdf"));
    EXPECT_TRUE(onLinux("/home/meg"));
    EXPECT_TRUE(onLinux("/root"));
    EXPECT_FALSE(onLinux("/home"));
    EXPECT_FALSE(onLinux("/home/me"));
    EXPECT_FALSE(onLinux("/home/me/Documents/a.pdf"));
    // The superuser's home is open to the superuser, and everyone else's is not.
    EXPECT_FALSE(onLinux("/root/Videos", "/root"));
    EXPECT_TRUE(onLinux("/home/me", "/root"));
}

TEST(OtherUsersHomes, MacHomesOfOthersAreExcludedButSharedIsNot) {
    EXPECT_TRUE(onMac("/Users/you"));
    EXPECT_TRUE(onMac("/Users/you/Desktop/a.mov"));
    EXPECT_FALSE(onMac("/Users"));
    EXPECT_FALSE(onMac("/Users/Shared/a.mov"));
    EXPECT_FALSE(onMac("/Users/me/Desktop/a.mov"));
}

TEST(OtherUsersHomes, AHomeInsideASystemTreeStaysOpen) {
    EXPECT_FALSE(onLinux("/var/lib/me/file", "/var/lib/me"));
    EXPECT_TRUE(onLinux("/var/lib/other/file", "/var/lib/me"));
    EXPECT_FALSE(onLinux("/var", "/var/lib/me"));
}

TEST(ManagedPartsOfTheHome, LinuxCachesTrashAndStoresAreExcluded) {
    for (const char* path : {"/home/me/.cache", "/home/me/.cache/pip/x.whl", "/home/me/.local/share/Trash/files/a",
                             "/home/me/.local/share/Tessel/Snapshots", "/home/me/.var/app/org.x", "/home/me/snap/x",
                             "/home/me/.cargo/registry", "/home/me/.ollama/models"})
        EXPECT_TRUE(onLinux(path)) << path;
}

TEST(ManagedPartsOfTheHome, TheirNeighboursAndParentsAreOpen) {
    for (const char* path : {"/home/me/.cachet", "/home/me/.local", "/home/me/.local/share", "/home/me/snapshots",
                             "/home/me/Videos/.cache.mkv"})
        EXPECT_FALSE(onLinux(path)) << path;
}

TEST(ManagedPartsOfTheHome, MacLibraryIsExcludedButICloudDriveInsideIt) {
    EXPECT_TRUE(onMac("/Users/me/Library/Caches/x"));
    EXPECT_TRUE(onMac("/Users/me/Library/Containers"));
    EXPECT_TRUE(onMac("/Users/me/Library/Mobile Documentsx"));
    EXPECT_TRUE(onMac("/Users/me/.Trash/a.mov"));
    // Library itself holds iCloud Drive, so it is entered.
    EXPECT_FALSE(onMac("/Users/me/Library"));
    EXPECT_FALSE(onMac("/Users/me/Library/Mobile Documents/com~apple~CloudDocs/a.mov"));
}

TEST(ManagedPartsOfTheHome, WithoutAHomeOnlyTheSystemRulesApply) {
    EXPECT_TRUE(onLinux("/usr/bin", ""));
    EXPECT_FALSE(onLinux("/data/.cache", ""));
    EXPECT_FALSE(onLinux("relative/path", "/home/me"));
}
