// What Flatpak, snapd, AppImages and the processes add to the apps a
// described machine's desktop entries show.
#include <gtest/gtest.h>

#include <unistd.h>

#include "DescribedLinux.h"
#include "DpkgMachine.h"
#include "UninstallKit/AppHomes.h"
#include "UninstallKit/AppOwners.h"
#include "UninstallKit/CarriedNames.h"
#include "UninstallKit/InstalledAppIndex.h"
#include "UninstallKit/FoundApps.h"

namespace tessel {
namespace {

struct DescribedApps : DescribedLinux {
    const FoundApp& named(const FoundAppListing& listing, const std::string& name) {
        for (const FoundApp& found : listing.apps)
            if (found.app.name == name) return found;
        throw std::runtime_error("no app named " + name);
    }
    // A file that is an AppImage of type 2 with nothing readable behind its header.
    void appImage(const std::string& path, std::size_t padding) const {
        std::string header(64, '\0');
        header.replace(0, 4, "\x7f" "ELF");
        header[4] = 2;
        header[5] = 1;
        header.replace(8, 3, std::string("AI\x02", 3));
        write(path, header + std::string(padding, 'x'));
        chmod(local(path).c_str(), 0755);
    }
};

TEST_F(DescribedApps, SandboxesAndImagesGiveVersionsSizesAndAppsOfTheirOwn) {
    const std::string deploy = "/var/lib/flatpak/app/org.example.Maps/x86_64/stable/c0ffee";
    write(deploy + "/metadata", "[Application]\nname=org.example.Maps\n");
    write(deploy + "/files/share/metainfo/org.example.Maps.metainfo.xml",
          "<component><releases><release version=\"45.1\"/></releases></component>");
    write(deploy + "/files/bin/maps", std::string(300'000, 'm'));
    test::makeSymlink("x86_64/stable", local("/var/lib/flatpak/app/org.example.Maps/current"));
    test::makeSymlink("c0ffee", local("/var/lib/flatpak/app/org.example.Maps/x86_64/stable/active"));
    app("/usr/share/applications/org.example.Maps.desktop", "Maps",
        "Exec=/usr/bin/flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");

    write("/snap/notes/12/meta/snap.yaml", "name: notes\nversion: \"3.2\"\n");
    test::makeSymlink("12", local("/snap/notes/current"));
    write("/var/lib/snapd/snaps/notes_12.snap", std::string(200'000, 's'));
    app("/usr/share/applications/notes_notes.desktop", "Notes", "Exec=/snap/bin/notes\nX-SnapInstanceName=notes\n");

    appImage(machine.home + "/Applications/Paint.AppImage", 500'000);
    app(machine.home + "/.local/share/applications/paint.desktop", "Paint",
        "Exec=" + machine.home + "/Applications/Paint.AppImage\n");
    appImage(machine.home + "/Downloads/Loose-1.0.AppImage", 10);

    const FoundAppListing listing = FoundApps::gather(machine, std::nullopt, RunningPrograms{});
    const FoundApp& maps = named(listing, "Maps");
    EXPECT_EQ(maps.app.version, "45.1");
    EXPECT_GE(maps.bytes.value_or(0), 300'000) << "the whole deployment";
    const FoundApp& notes = named(listing, "Notes");
    EXPECT_EQ(notes.app.version, "3.2");
    EXPECT_GE(notes.bytes.value_or(0), 200'000) << "the snap's image";
    const FoundApp& paint = named(listing, "Paint");
    EXPECT_EQ(paint.app.source, "appimage");
    EXPECT_GE(paint.bytes.value_or(0), 500'000);
    const FoundApp& loose = named(listing, "Loose-1.0");
    EXPECT_EQ(loose.app.source, "appimage") << "an AppImage no entry runs is an app of its own";
    EXPECT_EQ(loose.app.bundlePath, machine.home + "/Downloads/Loose-1.0.AppImage");
    EXPECT_EQ(listing.apps.size(), 4u) << "Paint's image is not listed twice";
}

TEST_F(DescribedApps, AnAppRunsByItsProgramItsSandboxOrItsUnit) {
    app("/usr/share/applications/viewer.desktop", "Viewer");
    app("/usr/share/applications/org.example.Maps.desktop", "Maps",
        "Exec=/usr/bin/flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");
    program("/usr/bin/idle");
    app("/usr/share/applications/org.example.Idle.desktop", "Idle", "Exec=idle\n");
    RunningPrograms running;
    running.executables.insert(machine.root + "/usr/bin/viewer");
    running.flatpakApps.insert("org.example.Maps");
    const FoundAppListing listing = FoundApps::gather(machine, std::nullopt, running);
    EXPECT_TRUE(named(listing, "Viewer").isRunning);
    EXPECT_TRUE(named(listing, "Maps").isRunning);
    EXPECT_FALSE(named(listing, "Idle").isRunning);
    running.launchedApps.insert("org.example.Idle");
    EXPECT_TRUE(named(FoundApps::gather(machine, std::nullopt, running), "Idle").isRunning);
}

TEST_F(DescribedApps, AnEntryWhosePackageListsItsProgramIsThatPackagesApp) {
    test::DpkgMachine dpkg(false);
    machine.root = dpkg.root();
    program("/usr/bin/viewer");
    program("/usr/bin/loose");
    app("/usr/share/applications/viewer.desktop", "Viewer");
    app("/usr/share/applications/loose.desktop", "Loose", "Exec=loose\n");
    write("/usr/share/viewer/data", std::string(100'000, 'd'));
    write("/usr/share/common/shared", std::string(400'000, 's'));
    dpkg.install({{"Package: viewer\nStatus: install ok installed\nPriority: important\nVersion: 2.0-1", "viewer",
                   {"/usr", "/usr/bin", "/usr/bin/viewer", "/usr/share/viewer/data", "/usr/share/common/shared"}},
                  {"Package: common\nStatus: install ok installed\nPriority: optional\nVersion: 1", "common",
                   {"/usr", "/usr/share/common/shared"}}});
    const PathOwners owners = PathOwners::build(machine.root);
    const FoundAppListing listing =
        FoundApps::gather(machine, std::nullopt, RunningPrograms{}, {&owners, PackageReceipts::list(machine.root)});
    const FoundApp& viewer = named(listing, "Viewer");
    EXPECT_EQ(viewer.app.source, "dpkg");
    EXPECT_EQ(viewer.app.package, "viewer");
    EXPECT_EQ(viewer.app.version, "2.0-1");
    EXPECT_TRUE(viewer.app.isSystemApp) << "Priority important";
    EXPECT_GE(viewer.bytes.value_or(0), 100'000);
    EXPECT_LT(viewer.bytes.value_or(0), 400'000) << "a file another package lists too is not the app's alone";
    const FoundApp& loose = named(listing, "Loose");
    EXPECT_EQ(loose.app.source, "other") << "no package lists its program";
    EXPECT_EQ(loose.bytes, std::nullopt);
}

TEST_F(DescribedApps, APathBelongsToTheAppWhosePackageListsItOrWhoseFolderHoldsIt) {
    test::DpkgMachine dpkg(false);
    machine.root = dpkg.root();
    program("/usr/bin/viewer");
    app("/usr/share/applications/viewer.desktop", "Viewer");
    dpkg.install({{"Package: viewer\nStatus: install ok installed\nPriority: optional\nVersion: 2", "viewer",
                   {"/usr", "/usr/bin", "/usr/bin/viewer", "/usr/share/viewer/help.html"}},
                  {"Package: base\nStatus: install ok installed\nPriority: required\nVersion: 1", "base", {"/usr", "/usr/bin"}}});
    program("/opt/suite/tool/bin/tool");
    app("/usr/share/applications/tool.desktop", "Tool", "Exec=/opt/suite/tool/bin/tool\n");
    app("/usr/share/applications/org.example.Maps.desktop", "Maps",
        "Exec=/usr/bin/flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");
    app("/usr/share/applications/notes_notes.desktop", "Notes", "Exec=/snap/bin/notes\nX-SnapInstanceName=notes\n");
    const PathOwners owners = PathOwners::build(machine.root);
    const AppOwners apps(AppCatalog::installedApps(machine).apps, &owners, machine);

    auto nameAt = [&](const std::string& path) { return apps.appContaining(path).value_or(InstalledApp{}).name; };
    EXPECT_EQ(nameAt("/usr/share/viewer/help.html"), "Viewer") << "listed by the package of its program";
    EXPECT_EQ(nameAt("/usr/bin/../share/viewer/help.html"), "Viewer");
    EXPECT_EQ(nameAt("/opt/suite/tool/lib/x.so"), "Tool");
    EXPECT_EQ(nameAt("/opt/suite"), "Tool") << "unpacked by hand: the folder below /opt";
    EXPECT_EQ(nameAt("/var/lib/flatpak/app/org.example.Maps/x86_64/stable/active/files/bin/maps"), "Maps");
    EXPECT_EQ(nameAt(machine.dataHome + "/flatpak/app/org.example.Maps"), "Maps");
    EXPECT_EQ(nameAt("/snap/notes/12/bin/notes"), "Notes");
    EXPECT_EQ(apps.appContaining("/opt/other/file"), std::nullopt);
    EXPECT_EQ(apps.appContaining("/usr/bin"), std::nullopt) << "a folder other packages list too";
    EXPECT_EQ(apps.appContaining("/var/lib/flatpak/app/org.example.MapsPro/x"), std::nullopt) << "whole names only";
}

TEST_F(DescribedApps, AnAppsHomesAreItsOwnFolderOrWhatOnlyItsPackagesList) {
    test::DpkgMachine dpkg(false);
    machine.root = dpkg.root();
    program("/usr/bin/viewer");
    app("/usr/share/applications/viewer.desktop", "Viewer");
    program("/opt/editor/bin/editor");
    app("/usr/share/applications/editor.desktop", "Editor", "Exec=/opt/editor/bin/editor\n");
    program("/usr/bin/plain");
    app("/usr/share/applications/plain.desktop", "Plain", "Exec=plain\n");
    dpkg.install({{"Package: viewer\nStatus: install ok installed\nPriority: optional\nVersion: 2", "viewer",
                   {"/usr", "/usr/bin", "/usr/bin/viewer", "/usr/share", "/usr/share/viewer", "/usr/share/viewer/img",
                    "/usr/share/viewer/img/a.png", "/usr/share/viewer/help.html", "/usr/share/doc/viewer",
                    "/usr/share/doc/viewer/copyright"}},
                  {"Package: viewer-data\nSource: viewer (2)\nStatus: install ok installed\nPriority: optional\nVersion: 2",
                   "viewer-data", {"/usr", "/usr/share", "/usr/share/viewer", "/usr/share/viewer/img", "/usr/share/viewer/img/b.png",
                                   "/usr/share/viewer-extra", "/usr/share/viewer-extra/x"}},
                  {"Package: base\nStatus: install ok installed\nPriority: required\nVersion: 1", "base",
                   {"/usr", "/usr/bin", "/usr/share", "/usr/share/doc"}}});
    const PathOwners owners = PathOwners::build(machine.root);
    const std::vector<AppHome> homes = AppHomes::of(AppCatalog::installedApps(machine).apps, &owners, machine);
    ASSERT_EQ(homes.size(), 2u) << "Plain has neither a folder of its own nor a package";
    EXPECT_EQ(homes[0].name, "Editor");
    EXPECT_EQ(homes[0].paths, std::vector<std::string>{"/opt/editor"});
    EXPECT_EQ(homes[1].name, "Viewer");
    EXPECT_EQ(homes[1].paths, (std::vector<std::string>{"/usr/bin/viewer", "/usr/share/doc/viewer", "/usr/share/viewer",
                                                         "/usr/share/viewer-extra"}))
        << "a folder the app's packages share (one source) is its home, and so is a file of theirs in a shared "
           "folder; what lies below a home, and folders other packages list, are not";
}

TEST(CarriedNamesOfPaths, EntriesServicesUnitsAndAutostartByTheirFolders) {
    EXPECT_EQ(CarriedNames::fromPaths({"/usr/share/applications/org.example.Viewer.desktop",
                                       "/usr/share/applications/org.example.Viewer.Settings.desktop",
                                       "/usr/share/dbus-1/services/org.example.Viewer.SearchProvider.service",
                                       "/usr/lib/systemd/user/viewer-indexer.service", "/lib/systemd/user/viewer-indexer.timer",
                                       "/etc/xdg/autostart/viewer-tray.desktop", "/usr/share/doc/viewer/README.service",
                                       "/usr/bin/viewer"},
                                      "org.example.Viewer.desktop"),
              (std::vector<std::string>{"org.example.Viewer.SearchProvider", "org.example.Viewer.Settings", "viewer-indexer",
                                        "viewer-tray"}));
}

TEST_F(DescribedApps, WhatAnAppsPackageCarriesIsClaimedForIt) {
    test::DpkgMachine dpkg(false);
    machine.root = dpkg.root();
    program("/usr/bin/viewer");
    app("/usr/share/applications/org.example.Viewer.desktop", "Viewer");
    dpkg.install({{"Package: viewer\nStatus: install ok installed\nPriority: optional\nVersion: 2", "viewer",
                   {"/usr/bin/viewer", "/usr/share/applications/org.example.Viewer.desktop",
                    "/usr/share/dbus-1/services/org.example.ViewerSearch.service"}}});
    const std::string deploy = "/var/lib/flatpak/app/org.example.Maps/x86_64/stable/c0ffee";
    write(deploy + "/metadata", "[Application]\nname=org.example.Maps\n");
    write(deploy + "/export/share/dbus-1/services/org.example.Maps.Provider.service", "");
    test::makeSymlink("x86_64/stable", local("/var/lib/flatpak/app/org.example.Maps/current"));
    test::makeSymlink("c0ffee", local("/var/lib/flatpak/app/org.example.Maps/x86_64/stable/active"));
    app("/usr/share/applications/org.example.Maps.desktop", "Maps",
        "Exec=/usr/bin/flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");

    const PathOwners owners = PathOwners::build(machine.root);
    std::vector<InstalledApp> apps = AppCatalog::installedApps(machine).apps;
    CarriedNames::fill(apps, &owners, machine);
    const InstalledAppIndex index(apps);
    const std::optional<InstalledAppIndex::Claim> search = index.claim("org.example.ViewerSearch");
    ASSERT_TRUE(search);
    EXPECT_EQ(search->app.name, "Viewer");
    EXPECT_TRUE(search->isCarried);
    const std::optional<InstalledAppIndex::Claim> provider = index.claim("org.example.Maps.Provider.cache");
    ASSERT_TRUE(provider) << "a Flatpak's exports, and what is named below them";
    EXPECT_EQ(provider->app.name, "Maps");
    EXPECT_FALSE(index.claim("org.example.Other"));
}

} // namespace
} // namespace tessel
