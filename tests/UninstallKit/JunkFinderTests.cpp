// The junk finder on fixture homes: a Linux desktop's and a Mac's places laid
// out by the tests, sizes told by the tests' own sizer (so that each floor's
// boundary can be met to the byte), and times set on the files.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include "Fixture.h"
#include "UninstallKit/JunkFinder.h"

using namespace tessel;

namespace {

constexpr std::int64_t now = 1'800'000'000;
constexpr std::int64_t day = 86'400;

class JunkHome : public ::testing::Test {
protected:
    test::TempFolder folder;
    std::string home = folder / "home";
    std::map<std::string, std::int64_t> sizes;     // by path; 5 MB when not told
    std::map<std::string, std::int64_t> lastUses;  // by path
    std::map<std::string, std::string> appNames;   // folder or ID → app

    JunkHome() { test::makeFolder(home); }

    // A folder (or a file, for a name with an extension in `asFile`), its parents made.
    std::string make(const std::string& relative, std::optional<std::int64_t> bytes = {}, bool asFile = false) {
        const std::string path = home + "/" + relative;
        std::filesystem::create_directories(asFile ? std::filesystem::path(path).parent_path() : std::filesystem::path(path));
        if (asFile) std::ofstream(path) << "x";
        if (bytes) sizes[path] = *bytes;
        return path;
    }

    JunkFinder finder(Platform platform = Platform::linuxOS) {
        JunkFinder::Disk disk = JunkFinder::Disk::real();
        disk.sizer = [this](const std::string& path) {
            const auto found = sizes.find(path);
            return found == sizes.end() ? std::int64_t{5'000'000} : found->second;
        };
        disk.lastUsed = [this](const std::string& path) -> std::optional<std::int64_t> {
            const auto found = lastUses.find(path);
            if (found == lastUses.end()) return std::nullopt;
            return found->second;
        };
        JunkFinder::Settings settings;
        settings.platform = platform;
        settings.now = now;
        settings.ownIdentifier = "com.tessel.app";
        settings.appNamed = [this](const std::string& name) -> std::optional<std::string> {
            const auto found = appNames.find(name);
            if (found == appNames.end()) return std::nullopt;
            return found->second;
        };
        JunkPlaces places = JunkPlaces::forHome(home);
        places.root = folder / "root";
        return JunkFinder(places, disk, settings);
    }

    std::vector<JunkItem> found(Platform platform = Platform::linuxOS) { return finder(platform).find(); }
    static const JunkItem* named(const std::vector<JunkItem>& items, const std::string& name) {
        const auto item = std::ranges::find(items, name, &JunkItem::name);
        return item == items.end() ? nullptr : &*item;
    }
    static std::vector<std::string> namesOf(const std::vector<JunkItem>& items) {
        std::vector<std::string> names;
        for (const JunkItem& item : items) names.push_back(item.name);
        std::ranges::sort(names);
        return names;
    }
};

} // namespace

TEST_F(JunkHome, TheCacheFolderGivesEachChildOnceAndNeverModelsOrTessel) {
    make(".cache/pip");
    make(".cache/chromium");
    make(".cache/mesa_shader_cache", 1'000'000);
    make(".cache/fontconfig", 999'999);
    make(".cache/huggingface");
    make(".cache/MyModels");
    make(".cache/Tessel");
    make(".cache/thumbnails.txt", {}, true);
    appNames["chromium"] = "Chromium Web Browser";
    const std::vector<JunkItem> items = found();
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Chromium Web Browser cache", "mesa_shader_cache cache", "pip cache"}))
        << "pip once, from the tools' table; a floor of 1,000,000 bytes stands, one byte less doesn't";
    const JunkItem& pip = *named(items, "pip cache");
    EXPECT_EQ(pip.category, JunkCategory::packageCaches);
    EXPECT_EQ(pip.note, "The tool downloads what it needs again.");
    EXPECT_TRUE(pip.tools.contains("pip3"));
    const JunkItem& chromium = *named(items, "Chromium Web Browser cache");
    EXPECT_EQ(chromium.category, JunkCategory::appCaches);
    EXPECT_EQ(chromium.app, "Chromium Web Browser");
    EXPECT_TRUE(chromium.tools.contains("chromium")) << "the program the folder is named for holds it back";
    EXPECT_TRUE(chromium.startsTicked());
}

TEST_F(JunkHome, SandboxedAppsBrowserProfilesAndToolCachesOfLinux) {
    make(".var/app/org.gimp.GIMP/cache");
    make("snap/firefox/common/.cache");
    make(".config/google-chrome/Default/Cache");
    make(".config/google-chrome/Default/Preferences", {}, true);
    make(".config/google-chrome/Default/Service Worker/CacheStorage");
    make(".config/Code/Cache");
    make(".config/Code/CachedData");
    make(".config/Code/Local State", {}, true);
    make(".cargo/registry/cache");
    make(".m2/repository");
    make("go/pkg/mod/cache/download");
    appNames["org.gimp.GIMP"] = "GIMP";
    const std::vector<JunkItem> items = found();
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Cargo downloads", "GIMP cache", "Go modules",
                                                        "Google Chrome sites' offline copies (Default)",
                                                        "Google Chrome web cache (Default)", "Maven repository", "Visual Studio Code cached code",
                                                        "Visual Studio Code web cache", "firefox"}))
        << "the Go module downloads lie inside the modules, which stand for them";
    EXPECT_EQ(named(items, "Google Chrome web cache (Default)")->note, "Google Chrome rebuilds it as it is used. Nothing you made is in it.");
    EXPECT_EQ(named(items, "Google Chrome sites' offline copies (Default)")->note,
              "Copies sites keep to open offline. They save them again on the next visit.");
    const JunkItem& modules = *named(items, "Go modules");
    EXPECT_FALSE(modules.startsTicked()) << "read-only files the Trash could not empty";
    EXPECT_NE(modules.note.find("go clean -modcache"), std::string::npos);
    EXPECT_EQ(named(items, "GIMP cache")->identifier, "org.gimp.GIMP");
}

TEST_F(JunkHome, LogsOfLinuxAndCrashReportsOnlyOfThisUser) {
    make(".local/state/wireplumber/log", {}, true);
    make(".local/state/app/history", {}, true);
    make(".xsession-errors", {}, true);
    make(".xsession-errors.old", {}, true);
    test::makeFolder(folder / "root");
    test::makeFolder(folder / "root/var");
    test::makeFolder(folder / "root/var/crash");
    std::ofstream(folder / "root/var/crash/_usr_bin_app.1000.crash") << "core";
    for (const std::string& path : {home + "/.local/state/wireplumber/log", home + "/.xsession-errors",
                                    home + "/.xsession-errors.old", folder / "root/var/crash/_usr_bin_app.1000.crash"})
        test::writeFile(path, 1'100'000);
    const std::vector<JunkItem> items = found();
    ASSERT_EQ(items.size(), 4u) << testing::PrintToString(namesOf(items));
    EXPECT_TRUE(std::ranges::all_of(items, [](const JunkItem& item) {
        return item.category == JunkCategory::logs && item.note == "Logs are records, not documents." && item.startsTicked();
    }));
    EXPECT_NE(named(items, "Crash report _usr_bin_app.1000.crash"), nullptr);
}

TEST_F(JunkHome, DownloadsInstallersOnlyOfTheirKindsAndOldDownloadsByLastUse) {
    for (const char* name : {"tool.deb", "image.ISO", "setup.run", "Editor.AppImage", "notes.txt", "old.zip", "fresh.zip",
                             "unknown.bin", "small.zip", "app.dmg"})
        test::writeFile(make("Downloads/" + std::string(name), {}, true), 1'100'000);
    make("Downloads/old");
    test::writeFile(make("Desktop/distro.iso", {}, true), 1'100'000);
    test::writeFile(make("Downloads/bundle/inner.rpm", {}, true), 1'100'000);
    for (const char* name : {"notes.txt", "old.zip", "fresh.zip", "small.zip", "old", "Editor.AppImage"})
        sizes[home + "/Downloads/" + name] = 10'000'000;
    lastUses[home + "/Downloads/notes.txt"] = now - 200 * day;
    lastUses[home + "/Downloads/old.zip"] = now - 90 * day;
    lastUses[home + "/Downloads/fresh.zip"] = now - 90 * day + 1;
    lastUses[home + "/Downloads/small.zip"] = now - 200 * day;
    lastUses[home + "/Downloads/Editor.AppImage"] = now - 1 * day;
    // Files are measured by their own blocks; the fixture's are 1.1 MB, too small for a download.
    JunkFinder junk = finder();
    std::vector<std::string> installers, old;
    for (const JunkFinder::Candidate& candidate : junk.downloadCandidates())
        (candidate.category == JunkCategory::installers ? installers : old).push_back(candidate.name);
    std::ranges::sort(installers);
    std::ranges::sort(old);
    EXPECT_EQ(installers, (std::vector<std::string>{"app.dmg", "distro.iso", "image.ISO", "inner.rpm", "setup.run", "tool.deb"}))
        << "an AppImage is the app itself";
    EXPECT_EQ(old, (std::vector<std::string>{"notes.txt", "old.zip", "small.zip"}))
        << "exactly 90 days is old; one second less is not; no last use is never old";
    const std::optional<JunkFinder::Candidate> zip =
        junk.oldDownload(home + "/Downloads/old.zip", "old.zip", {"old.zip", "old"});
    ASSERT_TRUE(zip);
    EXPECT_EQ(zip->floor, JunkFinder::smallestDownload);
    EXPECT_NE(zip->note.find("A folder beside it, \u201cold\u201d, may be what it unpacked to."), std::string::npos) << zip->note;
    EXPECT_TRUE(zip->note.starts_with("Not opened since ")) << zip->note;
    EXPECT_EQ(JunkFinder::unpackedFolder("photos-20240102T030405Z-001.zip", {"photos"}), "photos");
    for (const JunkItem& item : found()) EXPECT_FALSE(item.startsTicked()) << item.name << ": the user's own things";
}

TEST_F(JunkHome, VirtualMachinesAndGamesAreNeverTicked) {
    make("VirtualBox VMs/Debian");
    test::writeFile(make(".local/share/gnome-boxes/images/fedora", {}, true), 1'100'000);
    make(".local/share/containers/storage");
    make(".local/share/Steam/steamapps/common/Portal 2");
    make(".local/share/Steam/steamapps/common/Proton 8.0");
    make(".local/share/Steam/steamapps/common/Steam Linux Runtime 3.0 (sniper)");
    std::filesystem::create_directories(home + "/.steam");
    std::filesystem::create_directory_symlink(home + "/.local/share", home + "/.steam/steam");
    make("Games/Heroic/Hades");
    make("Games/Celeste");
    const std::vector<JunkItem> items = found();
    EXPECT_EQ(namesOf(items),
              (std::vector<std::string>{"Celeste", "Debian", "Hades", "Podman's storage", "Portal 2", "fedora"}))
        << "Steam's own tools are no games, the library behind ~/.steam is looked at once, and Heroic's folder is no Lutris game";
    for (const JunkItem& item : items) EXPECT_FALSE(item.startsTicked()) << item.name;
    EXPECT_EQ(named(items, "Portal 2")->app, "Steam");
    EXPECT_EQ(named(items, "Hades")->app, "Heroic");
    EXPECT_EQ(named(items, "Celeste")->app, "Lutris");
}

TEST_F(JunkHome, TheMacsPlacesKeepTheirWords) {
    make("Library/Caches/com.apple.Safari");
    make("Library/Caches/GeoServices");
    make("Library/Caches/com.vendor.App");
    make("Library/Caches/com.tessel.app");
    make("Library/Caches/Homebrew");
    make("Library/Logs/DiagnosticReports");
    make("Library/Developer/Xcode/DerivedData/Shop-abcdefghij");
    make("Library/Developer/Xcode/iOS DeviceSupport/17.2");
    make("Library/Developer/Xcode/Archives/2024-01-02/Shop 2.xcarchive");
    make("Library/Developer/Xcode/Archives/2024-01-02/Shop.XCARCHIVE");
    const std::vector<JunkItem> items = found(Platform::macOS);
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Crash reports", "GeoServices", "Homebrew downloads", "Shop",
                                                        "Shop 2 archive", "com.apple.Safari", "com.vendor.App",
                                                        "iOS 17.2 device support"}));
    EXPECT_TRUE(named(items, "com.apple.Safari")->isSystem);
    EXPECT_EQ(named(items, "GeoServices")->note, "Kept by macOS, which rebuilds it. Not ticked for you.");
    EXPECT_EQ(named(items, "com.vendor.App")->identifier, "com.vendor.App");
    EXPECT_TRUE(named(items, "com.vendor.App")->startsTicked());
    EXPECT_FALSE(named(items, "iOS 17.2 device support")->startsTicked()) << "under DeviceSupport/";
    EXPECT_TRUE(named(items, "iOS 17.2 device support")->recommended);
    EXPECT_FALSE(named(items, "Shop 2 archive")->recommended);
}

TEST_F(JunkHome, NestedItemsCountOnceAtTheOutermost) {
    auto item = [](const std::string& path, bool isDirectory) {
        JunkItem made;
        made.path = path;
        made.isDirectory = isDirectory;
        return made;
    };
    const std::vector<JunkItem> kept = JunkFinder::outermost(
        {item("/h/.cache/x/y", true), item("/h/.cache/xy", true), item("/h/.cache/x", true), item("/h/.cache/x/f", false)});
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_EQ(kept[0].path, "/h/.cache/xy");
    EXPECT_EQ(kept[1].path, "/h/.cache/x");
}

TEST(JunkTicks, OnlyRecommendedProgramsLeftoversOfTheUsersOwnStartTicked) {
    JunkItem plain;
    plain.path = "/h/.cache/x";
    EXPECT_TRUE(plain.startsTicked());
    auto changed = [&](auto change) {
        JunkItem item = plain;
        change(item);
        return item.startsTicked();
    };
    EXPECT_FALSE(changed([](JunkItem& item) { item.recommended = false; }));
    EXPECT_FALSE(changed([](JunkItem& item) { item.isSystem = true; }));
    EXPECT_FALSE(changed([](JunkItem& item) { item.requiresAdministrator = true; }));
    EXPECT_FALSE(changed([](JunkItem& item) { item.path = "/h/Library/Developer/Xcode/iOS DeviceSupport/17/x"; }));
    for (JunkCategory category : JunkCategories::all)
        EXPECT_EQ(changed([&](JunkItem& item) { item.category = category; }), !JunkCategories::isTheirs(category))
            << JunkCategories::rawValue(category);
}
