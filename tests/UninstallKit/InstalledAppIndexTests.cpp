// Mac bundles written by the tests (Info.plist in XML and in binary), the
// index built from them, the claims names make on apps, and the matching of
// downloads to apps by name.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Fixture.h"
#include "TrashKit/PropertyList.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/AppMatcher.h"
#include "UninstallKit/InstalledAppIndex.h"

namespace tessel {
namespace {

struct MacApps : ::testing::Test {
    // A bundle at `path` whose Info.plist holds `keys`, in binary or XML.
    void bundle(const std::string& path, std::vector<std::pair<std::string, std::string>> keys, bool binary = false,
                const std::string& plistIn = "Contents") const {
        PropertyList info = PropertyList::dictionary();
        for (const auto& [key, value] : keys) info.set(key, PropertyList::text(value));
        std::filesystem::create_directories(path + "/" + plistIn);
        std::ofstream(path + "/" + plistIn + "/Info.plist") << (binary ? info.toBinary() : info.toXml());
    }
    std::string at(const std::string& relative) const { return folder / relative; }

    test::TempFolder folder;
};

TEST_F(MacApps, BundlesReadFromXmlAndBinaryInfoPlists) {
    bundle(at("Applications/Bar.app"), {{"CFBundleIdentifier", "com.foo.Bar"},
                                        {"CFBundleName", "Bar"},
                                        {"CFBundleDisplayName", "Bar Pro"},
                                        {"CFBundleShortVersionString", "2.1"}});
    bundle(at("Applications/Quux.app"), {{"CFBundleIdentifier", "org.quux.Quux"}, {"CFBundleName", "Quux"}}, true);
    bundle(at("Applications/Plain.app"), {});
    std::filesystem::create_directories(at("Applications/Empty.app/Contents"));
    std::filesystem::create_directories(at("Applications/Broken.app/Contents"));
    std::ofstream(at("Applications/Broken.app/Contents/Info.plist")) << "not a list";
    std::filesystem::create_directories(at("Applications/Notes.txt"));

    const std::vector<InstalledApp> apps = AppCatalog::applications(at("Applications"), false);
    ASSERT_EQ(apps.size(), 3u) << "a bundle with no readable Info.plist is no app";
    EXPECT_EQ(apps[0].name, "Bar Pro");
    EXPECT_EQ(apps[0].bundleIdentifier, "com.foo.Bar");
    EXPECT_EQ(apps[0].version, "2.1");
    EXPECT_EQ(apps[0].developerPrefix(), "com.foo");
    EXPECT_EQ(apps[0].source, "bundle");
    EXPECT_EQ(apps[1].name, "Plain") << "the file name, for want of a name in the list";
    EXPECT_EQ(apps[1].bundleIdentifier, std::nullopt);
    EXPECT_EQ(apps[2].name, "Quux");
    EXPECT_EQ(apps[2].bundleIdentifier, "org.quux.Quux");
    EXPECT_EQ(apps[2].bundlePath, at("Applications/Quux.app"));
}

TEST_F(MacApps, UserFoldersComeFirstAndEachBundleOnce) {
    bundle(at("Applications/zeta.app"), {{"CFBundleName", "zeta"}});
    bundle(at("System/Alpha.app"), {{"CFBundleName", "Alpha"}});
    const std::vector<InstalledApp> apps =
        AppCatalog::installedApps({at("Applications"), at("Applications"), at("Nowhere")}, {at("System")});
    ASSERT_EQ(apps.size(), 2u);
    EXPECT_EQ(apps[0].name, "Alpha");
    EXPECT_TRUE(apps[0].isSystemApp);
    EXPECT_FALSE(apps[1].isSystemApp);
    EXPECT_EQ(AppCatalog::userSearchPaths("/Users/me").back(), "/Users/me/Applications");
}

TEST_F(MacApps, CarriedIdentifiersClaimNamesForTheAppThatCarriesThem) {
    const std::string bar = at("Applications/Bar.app");
    bundle(bar, {{"CFBundleIdentifier", "com.foo.bar"}, {"CFBundleName", "Bar"}});
    bundle(bar + "/Contents/Library/LoginItems/Bar Helper.app", {{"CFBundleIdentifier", "com.foo.bar.helper"}}, true);
    bundle(bar + "/Contents/PlugIns/Share.appex", {{"CFBundleIdentifier", "net.sharing.Extension"}});
    bundle(bar + "/Contents/Frameworks/Kit.framework", {{"CFBundleIdentifier", "com.kit.Kit"}}, false, "Resources");
    std::filesystem::create_directories(bar + "/Contents/Library/LaunchServices");
    std::ofstream(bar + "/Contents/Library/LaunchServices/com.foo.bar.Privileged.plist") << "";
    bundle(bar + "/Contents/Resources/Docs.folder", {{"CFBundleIdentifier", "com.not.carried"}});
    bundle(at("Applications/Baz.app"), {{"CFBundleIdentifier", "com.foo.baz"}, {"CFBundleName", "Baz"}});

    const InstalledAppIndex index(AppCatalog::applications(at("Applications"), false));
    EXPECT_EQ(index.carried.size(), 4u);
    for (const char* identifier : {"com.foo.bar.helper", "net.sharing.extension", "com.kit.kit", "com.foo.bar.privileged"})
        EXPECT_EQ(index.carried.contains(identifier) ? index.carried.at(identifier).app.name : "", "Bar") << identifier;
    EXPECT_EQ(index.carriedVendors, (std::set<std::string>{"com.foo", "net.sharing", "com.kit"}));
    EXPECT_EQ(index.byVendor.at("com.foo").size(), 2u);
    EXPECT_EQ(index.byName.at("bar").front().bundleIdentifier, "com.foo.bar");

    const std::optional<InstalledAppIndex::Claim> helper = index.claim("com.foo.bar.helper");
    ASSERT_TRUE(helper);
    EXPECT_EQ(helper->app.name, "Bar");
    EXPECT_TRUE(helper->isCarried);
    const std::optional<InstalledAppIndex::Claim> team = index.claim("ABCDE12345.com.foo.bar.helper.data");
    ASSERT_TRUE(team) << "a team-prefixed name";
    EXPECT_EQ(team->identifier, "com.foo.bar.helper.data");
    EXPECT_TRUE(team->isCarried);
    const std::optional<InstalledAppIndex::Claim> own = index.claim("group.com.foo.bar");
    ASSERT_TRUE(own);
    EXPECT_FALSE(own->isCarried);
    EXPECT_EQ(index.claim("com.foo.Baz.plist")->app.name, "Baz");
    EXPECT_FALSE(index.claim("com.foo.other")) << "a vendor is not an app";
    EXPECT_FALSE(index.claim("Bar")) << "a plain name is no claim";
    EXPECT_FALSE(index.carried.contains("com.not.carried")) << "only bundle extensions are looked into";
    EXPECT_EQ(index.appContaining(bar + "/Contents/MacOS/Bar")->name, "Bar");
    EXPECT_FALSE(index.appContaining(at("Applications/Other.app/x")));
}

TEST(InstalledAppIndexLinux, DesktopAppsAreIndexedButCarryNothing) {
    InstalledApp maps;
    maps.name = "Maps";
    maps.source = "flatpak";
    maps.bundleIdentifier = "org.example.Maps";
    maps.bundlePath = "/nonexistent/org.example.Maps.desktop";
    const InstalledAppIndex index({maps});
    EXPECT_EQ(index.app("org.example.maps.Cache")->name, "Maps");
    EXPECT_TRUE(index.carried.empty());
    EXPECT_EQ(index.byVendor.at("org.example").size(), 1u);
}

TEST(AppMatcherNames, FileNamesFindTheirAppsVersionsAside) {
    const auto named = [](const char* name) {
        InstalledApp app;
        app.name = name;
        return app;
    };
    const AppMatcher matcher =
        AppMatcher::apps({named("Firefox"), named("Visual Studio Code"), named("Paint"), named("Paint Pro"), named("Go")});
    const auto match = [&](const char* file) { return matcher.app(file).value_or(named("(none)")).name; };
    EXPECT_EQ(match("Firefox Setup 120.0.exe"), "Firefox");
    EXPECT_EQ(match("firefox-120.0.tar.bz2"), "Firefox");
    EXPECT_EQ(match("VisualStudioCode-1.85.dmg"), "Visual Studio Code");
    EXPECT_EQ(match("paint-pro-v3.2-x86_64.AppImage"), "Paint Pro") << "the app with more matching words wins";
    EXPECT_EQ(match("Paint_2.1.AppImage"), "Paint");
    EXPECT_EQ(match("Painter.zip"), "(none)") << "words match whole";
    EXPECT_EQ(match("go1.21.linux-amd64.tar.gz"), "(none)") << "names of fewer than three letters are not matched";
    EXPECT_EQ(AppMatcher::words("Viewer 2 Pro v3.1"), (std::vector<std::string>{"viewer", "pro"}));
}

} // namespace
} // namespace tessel
