// The places never offered to a tool: the system's own trees, other users'
// homes and the managed parts of the home, each platform by its own table.
#include <gtest/gtest.h>

#include "DiskScanKit/DuplicateFinder.h"

using namespace tessel;
using NeverScanRules::excludesEverything;

namespace {
bool onLinux(const char* path, const char* home = "/home/me") { return excludesEverything(path, home, Platform::linuxOS); }
bool onMac(const char* path, const char* home = "/Users/me") { return excludesEverything(path, home, Platform::macOS); }
} // namespace

TEST(NeverScanRules, OnLinux) {
    for (const char* path : {"/usr/", "/usr/share/doc/x.gz", "/proc/1", "/home/you/a.pdf", "/home/meg", "/root",
                             "/home/me/.cache/pip/x.whl", "/home/me/.local/share/Trash/files/a", "/home/me/.cargo/registry"})
        EXPECT_TRUE(onLinux(path)) << path;
    // Compared a component at a time; the other platform's trees are open.
    for (const char* path : {"/", "/usrlocal", "/media/me/Disk/film.mkv", "/home", "/home/me/Documents/a.pdf",
                             "/home/me/.cachet", "/home/me/.local/share", "/Library/Audio", "/home/me/Library/Caches"})
        EXPECT_FALSE(onLinux(path)) << path;
    EXPECT_FALSE(onLinux("/root/Videos", "/root")) << "the superuser's own home";
    EXPECT_TRUE(onLinux("/home/me", "/root"));
    EXPECT_FALSE(onLinux("/var/lib/me/file", "/var/lib/me")) << "a home inside a system tree";
    EXPECT_TRUE(onLinux("/var/lib/other/file", "/var/lib/me"));
    EXPECT_FALSE(onLinux("/data/.cache", "")) << "without a home only the system rules apply";
    EXPECT_FALSE(onLinux("relative/path"));
}

TEST(NeverScanRules, OnTheMac) {
    for (const char* path : {"/System/Volumes/Data/Users", "/Library/Caches", "/usr/local/bin", "/Users/you",
                             "/Users/me/Library/Caches/x", "/Users/me/Library/Mobile Documentsx", "/Users/me/.Trash/a.mov",
                             "/Users/me/.cargo/registry"})
        EXPECT_TRUE(onMac(path)) << path;
    // Library itself holds iCloud Drive, so it is entered.
    for (const char* path : {"/", "/Systematic", "/Volumes/Disk/film.mkv", "/Users/Shared/a.mov", "/lib/modules",
                             "/Users/me/Library", "/Users/me/Library/Mobile Documents/com~apple~CloudDocs/a.mov"})
        EXPECT_FALSE(onMac(path)) << path;
}
