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
    test::TempFolder folder;
    // A bundle at `relative` whose Info.plist, in binary or XML, holds `keys`.
    std::string bundle(const std::string& relative, std::vector<std::pair<std::string, std::string>> keys, bool binary = false,
                       const std::string& plistIn = "Contents") const {
        PropertyList info = PropertyList::dictionary();
        for (const auto& [key, value] : keys) info.set(key, PropertyList::text(value));
        test::writeText(folder / relative + "/" + plistIn + "/Info.plist", binary ? info.toBinary() : info.toXml());
        return folder / relative;
    }
};

TEST_F(MacApps, BundlesReadFromXmlAndBinaryInfoPlistsUserFoldersFirstEachOnce) {
    bundle("Applications/Bar.app", {{"CFBundleIdentifier", "com.foo.Bar"}, {"CFBundleName", "Bar"}, {"CFBundleDisplayName", "Bar Pro"},
                                    {"CFBundleShortVersionString", "2.1"}});
    bundle("Applications/Quux.app", {{"CFBundleIdentifier", "org.quux.Quux"}, {"CFBundleName", "Quux"}}, true);
    bundle("Applications/Plain.app", {});
    test::writeText(folder / "Applications/Broken.app/Contents/Info.plist", "not a list");
    std::filesystem::create_directories(folder / "Applications/Notes.txt");
    bundle("System/Alpha.app", {{"CFBundleName", "Alpha"}});

    const std::vector<InstalledApp> apps =
        AppCatalog::installedApps({folder / "Applications", folder / "Applications", folder / "Nowhere"}, {folder / "System"});
    std::vector<std::string> names;
    for (const InstalledApp& app : apps) names.push_back(app.name + (app.isSystemApp ? " (system)" : ""));
    EXPECT_EQ(names, (std::vector<std::string>{"Alpha (system)", "Bar Pro", "Plain", "Quux"}))
        << "a bundle with no readable Info.plist is no app; Plain is named by its file for want of a name in the list";
    EXPECT_EQ(apps[1].version, "2.1");
    EXPECT_EQ(apps[3].bundleIdentifier, "org.quux.Quux") << "read from a binary list";
}

TEST_F(MacApps, CarriedIdentifiersClaimNamesForTheAppThatCarriesThem) {
    const std::string bar = bundle("Applications/Bar.app", {{"CFBundleIdentifier", "com.foo.bar"}, {"CFBundleName", "Bar"}});
    bundle("Applications/Bar.app/Contents/Library/LoginItems/Bar Helper.app", {{"CFBundleIdentifier", "com.foo.bar.helper"}}, true);
    bundle("Applications/Bar.app/Contents/PlugIns/Share.appex", {{"CFBundleIdentifier", "net.sharing.Extension"}});
    bundle("Applications/Bar.app/Contents/Frameworks/Kit.framework", {{"CFBundleIdentifier", "com.kit.Kit"}}, false, "Resources");
    test::writeText(bar + "/Contents/Library/LaunchServices/com.foo.bar.Privileged.plist", "");
    bundle("Applications/Bar.app/Contents/Resources/Docs.folder", {{"CFBundleIdentifier", "com.not.carried"}});
    bundle("Applications/Baz.app", {{"CFBundleIdentifier", "com.foo.baz"}, {"CFBundleName", "Baz"}});

    const InstalledAppIndex index(AppCatalog::applications(folder / "Applications", false));
    std::set<std::string> carried;
    for (const auto& [identifier, claim] : index.carried) carried.insert(identifier + " " + claim.app.name);
    EXPECT_EQ(carried, (std::set<std::string>{"com.foo.bar.helper Bar", "net.sharing.extension Bar", "com.kit.kit Bar",
                                              "com.foo.bar.privileged Bar"}))
        << "only bundle extensions are looked into";
    EXPECT_EQ(index.carriedVendors, (std::set<std::string>{"com.foo", "net.sharing", "com.kit"}));

    const std::optional<InstalledAppIndex::Claim> team = index.claim("ABCDE12345.com.foo.bar.helper.data");
    ASSERT_TRUE(team) << "a team-prefixed name below a carried identifier";
    EXPECT_EQ(team->app.name, "Bar");
    EXPECT_TRUE(team->isCarried);
    EXPECT_FALSE(index.claim("group.com.foo.bar").value().isCarried);
    EXPECT_EQ(index.claim("com.foo.Baz.plist")->app.name, "Baz");
    EXPECT_FALSE(index.claim("com.foo.other")) << "a vendor is not an app";
    EXPECT_FALSE(index.claim("Bar")) << "a plain name is no claim";
    EXPECT_EQ(index.appContaining(bar + "/Contents/MacOS/Bar")->name, "Bar");
    EXPECT_FALSE(index.appContaining(folder / "Applications/Other.app/x"));
}

TEST(AppMatcherNames, FileNamesFindTheirAppsVersionsAside) {
    std::vector<InstalledApp> apps(5);
    for (std::size_t i = 0; const char* name : {"Firefox", "Visual Studio Code", "Paint", "Paint Pro", "Go"}) apps[i++].name = name;
    const AppMatcher matcher = AppMatcher::apps(apps);
    for (const auto& [file, app] : std::vector<std::pair<const char*, const char*>>{
             {"Firefox Setup 120.0.exe", "Firefox"}, {"firefox-120.0.tar.bz2", "Firefox"},
             {"VisualStudioCode-1.85.dmg", "Visual Studio Code"}, {"paint-pro-v3.2-x86_64.AppImage", "Paint Pro"}, // more words win
             {"Paint_2.1.AppImage", "Paint"}, {"Painter.zip", ""},                                                  // words match whole
             {"go1.21.linux-amd64.tar.gz", ""}})                                           // fewer than three letters never match
        EXPECT_EQ(matcher.app(file).value_or(InstalledApp{}).name, app) << file;
    EXPECT_EQ(AppMatcher::words("Viewer 2 Pro v3.1"), (std::vector<std::string>{"viewer", "pro"}));
}

} // namespace
} // namespace tessel
