// The junk finder on fixture homes: a Linux desktop's and a Mac's places laid
// out by the tests, sizes told by the tests' own sizer (so that each floor's
// boundary can be met to the byte), and times set on the files.
#include <gtest/gtest.h>

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
    std::map<std::string, std::int64_t> sizes;    // by path; 5 MB when not told
    std::map<std::string, std::int64_t> lastUses; // by path; none when not told
    std::map<std::string, std::string> appNames;  // folder or ID → app

    // A folder, or a file of `fileBytes` when some are given, its parents made.
    std::string make(const std::string& relative, std::int64_t fileBytes = 0) {
        const std::string path = home + "/" + relative;
        std::filesystem::create_directories(fileBytes > 0 ? std::filesystem::path(path).parent_path() : std::filesystem::path(path));
        if (fileBytes > 0) test::writeFile(path, fileBytes);
        return path;
    }
    template <class Value>
    static std::optional<Value> in(const std::map<std::string, Value>& map, const std::string& key) {
        const auto found = map.find(key);
        return found == map.end() ? std::nullopt : std::optional<Value>(found->second);
    }
    JunkFinder finder(Platform platform = Platform::linuxOS) {
        JunkFinder::Disk disk = JunkFinder::Disk::real();
        disk.sizer = [this](const std::string& path) { return in(sizes, path).value_or(5'000'000); };
        disk.lastUsed = [this](const std::string& path) { return in(lastUses, path); };
        JunkFinder::Settings settings;
        settings.platform = platform;
        settings.now = now;
        settings.ownIdentifier = "com.tessel.app";
        settings.appNamed = [this](const std::string& name) { return in(appNames, name); };
        JunkPlaces places = JunkPlaces::forHome(home);
        places.root = folder / "root";
        return JunkFinder(places, disk, settings);
    }
    std::vector<JunkItem> found(Platform platform = Platform::linuxOS) { return finder(platform).find(); }
    static const JunkItem& named(const std::vector<JunkItem>& items, const std::string& name) {
        const auto item = std::ranges::find(items, name, &JunkItem::name);
        if (item == items.end()) throw std::runtime_error("no item named " + name);
        return *item;
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
    for (const char* cache : {"pip", "chromium", "mesa_shader_cache", "fontconfig", "huggingface", "MyModels", "Tessel"})
        make(".cache/" + std::string(cache));
    make(".cache/thumbnails.txt", 1);
    sizes[home + "/.cache/mesa_shader_cache"] = 1'000'000;
    sizes[home + "/.cache/fontconfig"] = 999'999;
    appNames["chromium"] = "Chromium Web Browser";
    const std::vector<JunkItem> items = found();
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Chromium Web Browser cache", "mesa_shader_cache cache", "pip cache"}))
        << "pip once, from the tools' table; a floor of 1,000,000 bytes stands, one byte less doesn't";
    EXPECT_EQ(named(items, "pip cache").category, JunkCategory::packageCaches);
    const JunkItem& chromium = named(items, "Chromium Web Browser cache");
    EXPECT_EQ(chromium.app, "Chromium Web Browser");
    EXPECT_TRUE(chromium.tools.contains("chromium")) << "the program the folder is named for holds it back";
}

TEST_F(JunkHome, HostileEntriesAreKeptToTheByteOrPassedOverWithoutWaiting) {
    const std::string latin1 = "caf\xe9";
    const std::string longest(255, 'x');
    make(".cache/" + latin1);
    make(".cache/" + longest);
    make("elsewhere/big");
    std::filesystem::create_directory_symlink(home + "/elsewhere/big", home + "/.cache/linked");
    make("Downloads");
    ASSERT_EQ(mkfifo((home + "/Downloads/pipe.deb").c_str(), 0600), 0);
    std::vector<std::string> paths;
    for (const JunkItem& item : found()) paths.push_back(item.path);
    std::ranges::sort(paths);
    EXPECT_EQ(paths, (std::vector<std::string>{home + "/.cache/" + latin1, home + "/.cache/" + longest}))
        << "a name not UTF-8 and one of 255 bytes stand as they are; a link is not followed, a pipe never opened";
}

TEST_F(JunkHome, SandboxedAppsBrowserProfilesAndToolCachesOfLinux) {
    for (const char* path : {".var/app/org.gimp.GIMP/cache", "snap/firefox/common/.cache", ".config/google-chrome/Default/Cache",
                             ".config/google-chrome/Default/Service Worker/CacheStorage", ".config/Code/Cache",
                             ".config/Code/CachedData", ".cargo/registry/cache", ".m2/repository", "go/pkg/mod/cache/download"})
        make(path);
    make(".config/google-chrome/Default/Preferences", 1);
    make(".config/Code/Local State", 1);
    appNames["org.gimp.GIMP"] = "GIMP";
    const std::vector<JunkItem> items = found();
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Cargo downloads", "GIMP cache", "Go modules",
                                                        "Google Chrome sites' offline copies (Default)",
                                                        "Google Chrome web cache (Default)", "Maven repository", "Visual Studio Code cached code",
                                                        "Visual Studio Code web cache", "firefox"}))
        << "the Go module downloads lie inside the modules, which stand for them";
    EXPECT_FALSE(named(items, "Go modules").startsTicked()) << "read-only files the Trash could not empty";
    EXPECT_EQ(named(items, "GIMP cache").identifier, "org.gimp.GIMP");
}

TEST_F(JunkHome, LogsOfLinuxAndCrashReportsOnlyOfThisUser) {
    for (const char* path : {".local/state/wireplumber/log", ".xsession-errors", ".xsession-errors.old"}) make(path, 1'100'000);
    make(".local/state/app/history", 1);
    std::filesystem::create_directories(folder / "root/var/crash");
    test::writeFile(folder / "root/var/crash/_usr_bin_app.1000.crash", 1'100'000);
    const std::vector<JunkItem> items = found();
    ASSERT_EQ(items.size(), 4u) << testing::PrintToString(namesOf(items));
    EXPECT_TRUE(std::ranges::all_of(items, [](const JunkItem& item) { return item.category == JunkCategory::logs && item.startsTicked(); }));
    EXPECT_NO_THROW(named(items, "Crash report _usr_bin_app.1000.crash"));
}

TEST_F(JunkHome, DownloadsInstallersOnlyOfTheirKindsAndOldDownloadsByLastUse) {
    for (const char* name : {"tool.deb", "image.ISO", "setup.run", "Editor.AppImage", "notes.txt", "old.zip", "fresh.zip",
                             "unknown.bin", "small.zip", "app.dmg", "bundle/inner.rpm"})
        make("Downloads/" + std::string(name), 1'100'000);
    make("Desktop/distro.iso", 1'100'000);
    for (const auto& [name, age] : std::map<std::string, std::int64_t>{
             {"notes.txt", 200 * day}, {"old.zip", 90 * day}, {"fresh.zip", 90 * day - 1}, {"small.zip", 200 * day}, {"Editor.AppImage", day}})
        lastUses[home + "/Downloads/" + name] = now - age;
    // Files are measured by their own blocks; the fixture's are 1.1 MB, too small for an old download.
    std::vector<std::string> installers, old;
    for (const JunkFinder::Candidate& candidate : finder().downloadCandidates())
        (candidate.category == JunkCategory::installers ? installers : old).push_back(candidate.name);
    std::ranges::sort(installers);
    std::ranges::sort(old);
    EXPECT_EQ(installers, (std::vector<std::string>{"app.dmg", "distro.iso", "image.ISO", "inner.rpm", "setup.run", "tool.deb"}))
        << "an AppImage is the app itself";
    EXPECT_EQ(old, (std::vector<std::string>{"notes.txt", "old.zip", "small.zip"}))
        << "exactly 90 days is old; one second less is not; no last use is never old";
    EXPECT_EQ(JunkFinder::unpackedFolder("photos-20240102T030405Z-001.zip", {"photos"}), "photos");
}

TEST_F(JunkHome, VirtualMachinesAndGamesAreNeverTicked) {
    for (const char* path : {"VirtualBox VMs/Debian", ".local/share/containers/storage", ".local/share/Steam/steamapps/common/Portal 2",
                             ".local/share/Steam/steamapps/common/Proton 8.0",
                             ".local/share/Steam/steamapps/common/Steam Linux Runtime 3.0 (sniper)", "Games/Heroic/Hades", "Games/Celeste", ".steam"})
        make(path);
    make(".local/share/gnome-boxes/images/fedora", 1'100'000);
    std::filesystem::create_directory_symlink(home + "/.local/share", home + "/.steam/steam");
    const std::vector<JunkItem> items = found();
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Celeste", "Debian", "Hades", "Podman's storage", "Portal 2", "fedora"}))
        << "Steam's own tools are no games, the library behind ~/.steam is looked at once, and Heroic's folder is no Lutris game";
    for (const JunkItem& item : items) EXPECT_FALSE(item.startsTicked()) << item.name;
    for (const auto& [game, app] : {std::pair{"Portal 2", "Steam"}, {"Hades", "Heroic"}, {"Celeste", "Lutris"}})
        EXPECT_EQ(named(items, game).app, app);
}

TEST_F(JunkHome, TheMacsPlacesKeepTheirWords) {
    for (const char* path : {"Library/Caches/com.apple.Safari", "Library/Caches/GeoServices", "Library/Caches/com.vendor.App",
                             "Library/Caches/com.tessel.app", "Library/Caches/Homebrew", "Library/Logs/DiagnosticReports",
                             "Library/Developer/Xcode/DerivedData/Shop-abcdefghij", "Library/Developer/Xcode/iOS DeviceSupport/17.2",
                             "Library/Developer/Xcode/Archives/2024-01-02/Shop 2.xcarchive",
                             "Library/Developer/Xcode/Archives/2024-01-02/Shop.XCARCHIVE"})
        make(path);
    const std::vector<JunkItem> items = found(Platform::macOS);
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Crash reports", "GeoServices", "Homebrew downloads", "Shop",
                                                        "Shop 2 archive", "com.apple.Safari", "com.vendor.App",
                                                        "iOS 17.2 device support"}));
    EXPECT_TRUE(named(items, "com.apple.Safari").isSystem);
    EXPECT_FALSE(named(items, "GeoServices").startsTicked());
    EXPECT_TRUE(named(items, "com.vendor.App").startsTicked());
    EXPECT_FALSE(named(items, "iOS 17.2 device support").startsTicked()) << "under DeviceSupport/, though recommended";
    EXPECT_FALSE(named(items, "Shop 2 archive").recommended);
}

TEST(JunkItems, NestedItemsCountOnceAtTheOutermost) {
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

TEST(JunkItems, OnlyRecommendedProgramsLeftoversOfTheUsersOwnStartTicked) {
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
