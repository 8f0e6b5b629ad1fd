// What Flatpak, snapd, AppImages, the package database and the processes add
// to the apps a described machine's desktop entries show.
#include <gtest/gtest.h>

#include <unistd.h>

#include "DescribedLinux.h"
#include "DpkgMachine.h"
#include "UninstallKit/AppHomes.h"
#include "UninstallKit/AppOwners.h"
#include "UninstallKit/CarriedNames.h"
#include "UninstallKit/FoundApps.h"
#include "UninstallKit/InstalledAppIndex.h"

namespace tessel {
namespace {

// A machine whose root holds a package database, with Maps deployed by Flatpak and Viewer on the PATH.
struct DescribedApps : DescribedLinux {
    test::DpkgMachine dpkg{false};
    const std::string maps = "/var/lib/flatpak/app/org.example.Maps/x86_64/stable/c0ffee";

    void SetUp() override {
        DescribedLinux::SetUp();
        machine.root = dpkg.root();
        program("/usr/bin/viewer");
        app("/usr/share/applications/viewer.desktop", "Viewer");
        write(maps + "/metadata", "[Application]\nname=org.example.Maps\n");
        test::makeSymlink("x86_64/stable", local("/var/lib/flatpak/app/org.example.Maps/current"));
        test::makeSymlink("c0ffee", local(maps.substr(0, maps.rfind('/')) + "/active"));
        app("/usr/share/applications/org.example.Maps.desktop", "Maps",
            "Exec=/usr/bin/flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");
    }
    static const FoundApp& named(const FoundAppListing& listing, const std::string& name) {
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
    void viewerPackage(const std::vector<std::string>& files) {
        dpkg.install({{"Package: viewer\nStatus: install ok installed\nPriority: important\nVersion: 2.0-1", "viewer", files},
                      {"Package: base\nStatus: install ok installed\nPriority: required\nVersion: 1", "base",
                       {"/usr", "/usr/bin", "/usr/share", "/usr/share/common/shared"}}});
    }
};

TEST_F(DescribedApps, SandboxesAndImagesGiveVersionsSizesAndAppsOfTheirOwn) {
    write(maps + "/files/share/metainfo/org.example.Maps.metainfo.xml", "<component><releases><release version=\"45.1\"/></releases></component>");
    write(maps + "/files/bin/maps", std::string(300'000, 'm'));
    write("/snap/notes/12/meta/snap.yaml", "name: notes\nversion: \"3.2\"\n");
    test::makeSymlink("12", local("/snap/notes/current"));
    write("/var/lib/snapd/snaps/notes_12.snap", std::string(200'000, 's'));
    app("/usr/share/applications/notes_notes.desktop", "Notes", "Exec=/snap/bin/notes\nX-SnapInstanceName=notes\n");
    appImage(machine.home + "/Applications/Paint.AppImage", 500'000);
    app(machine.home + "/.local/share/applications/paint.desktop", "Paint", "Exec=" + machine.home + "/Applications/Paint.AppImage\n");
    appImage(machine.home + "/Downloads/Loose-1.0.AppImage", 10);

    const FoundAppListing listing = FoundApps::gather(machine, std::nullopt, RunningPrograms{});
    EXPECT_EQ(named(listing, "Maps").app.version, "45.1");
    EXPECT_GE(named(listing, "Maps").bytes.value_or(0), 300'000) << "the whole deployment";
    EXPECT_EQ(named(listing, "Notes").app.version, "3.2");
    EXPECT_GE(named(listing, "Notes").bytes.value_or(0), 200'000) << "the snap's image";
    EXPECT_GE(named(listing, "Paint").bytes.value_or(0), 500'000);
    EXPECT_EQ(named(listing, "Loose-1.0").app.bundlePath, machine.home + "/Downloads/Loose-1.0.AppImage")
        << "an AppImage no entry runs is an app of its own";
    EXPECT_EQ(listing.apps.size(), 5u) << "Paint's image is not listed twice";
}

TEST_F(DescribedApps, AnAppRunsByItsProgramItsSandboxOrItsUnit) {
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
    program("/usr/bin/loose");
    app("/usr/share/applications/loose.desktop", "Loose", "Exec=loose\n");
    write("/usr/share/viewer/data", std::string(100'000, 'd'));
    write("/usr/share/common/shared", std::string(400'000, 's'));
    viewerPackage({"/usr", "/usr/bin", "/usr/bin/viewer", "/usr/share/viewer/data", "/usr/share/common/shared"});
    const PathOwners owners = PathOwners::build(machine.root);
    const FoundAppListing listing =
        FoundApps::gather(machine, std::nullopt, RunningPrograms{}, {&owners, PackageReceipts::list(machine.root)});
    const FoundApp& viewer = named(listing, "Viewer");
    EXPECT_EQ(viewer.app.package, "viewer");
    EXPECT_EQ(viewer.app.version, "2.0-1");
    EXPECT_TRUE(viewer.app.isSystemApp) << "Priority important";
    EXPECT_GE(viewer.bytes.value_or(0), 100'000);
    EXPECT_LT(viewer.bytes.value_or(0), 400'000) << "a file another package lists too is not the app's alone";
    EXPECT_EQ(named(listing, "Loose").app.source, "other") << "no package lists its program";
}

TEST_F(DescribedApps, APathBelongsToTheAppWhosePackageListsItOrWhoseFolderHoldsIt) {
    viewerPackage({"/usr", "/usr/bin", "/usr/bin/viewer", "/usr/share/viewer/help.html"});
    program("/opt/suite/tool/bin/tool");
    app("/usr/share/applications/tool.desktop", "Tool", "Exec=/opt/suite/tool/bin/tool\n");
    app("/usr/share/applications/notes_notes.desktop", "Notes", "Exec=/snap/bin/notes\nX-SnapInstanceName=notes\n");
    const PathOwners owners = PathOwners::build(machine.root);
    const AppOwners apps(AppCatalog::installedApps(machine).apps, &owners, machine);
    for (const auto& [path, name] : std::vector<std::pair<std::string, std::string>>{
             {"/usr/share/viewer/help.html", "Viewer"}, // listed by the package of its program
             {"/usr/bin/../share/viewer/help.html", "Viewer"},
             {"/opt/suite", "Tool"}, // unpacked by hand: the folder below /opt
             {"/var/lib/flatpak/app/org.example.Maps/x86_64/stable/active/files/bin/maps", "Maps"},
             {machine.dataHome + "/flatpak/app/org.example.Maps", "Maps"},
             {"/snap/notes/12/bin/notes", "Notes"},
             {"/usr/bin", ""}, // a folder other packages list too
             {"/var/lib/flatpak/app/org.example.MapsPro/x", ""}}) // whole names only
        EXPECT_EQ(apps.appContaining(path).value_or(InstalledApp{}).name, name) << path;
}

TEST_F(DescribedApps, AnAppsHomesAreItsOwnFolderOrWhatOnlyItsPackagesList) {
    program("/opt/editor/bin/editor");
    app("/usr/share/applications/editor.desktop", "Editor", "Exec=/opt/editor/bin/editor\n");
    program("/usr/bin/plain");
    app("/usr/share/applications/plain.desktop", "Plain", "Exec=plain\n");
    dpkg.install({{"Package: viewer\nStatus: install ok installed\nVersion: 2", "viewer",
                   {"/usr", "/usr/bin", "/usr/bin/viewer", "/usr/share", "/usr/share/viewer", "/usr/share/viewer/img",
                    "/usr/share/viewer/img/a.png", "/usr/share/doc/viewer", "/usr/share/doc/viewer/copyright"}},
                  {"Package: viewer-data\nSource: viewer (2)\nStatus: install ok installed\nVersion: 2", "viewer-data",
                   {"/usr", "/usr/share", "/usr/share/viewer", "/usr/share/viewer/img", "/usr/share/viewer-extra"}},
                  {"Package: base\nStatus: install ok installed\nVersion: 1", "base", {"/usr", "/usr/bin", "/usr/share", "/usr/share/doc"}}});
    const PathOwners owners = PathOwners::build(machine.root);
    std::vector<AppHome> homes = AppHomes::of(AppCatalog::installedApps(machine).apps, &owners, machine);
    std::erase_if(homes, [](const AppHome& home) { return home.name == "Maps"; });
    ASSERT_EQ(homes.size(), 2u) << "Plain has neither a folder of its own nor a package";
    EXPECT_EQ(homes[0].paths, std::vector<std::string>{"/opt/editor"});
    EXPECT_EQ(homes[1].paths, (std::vector<std::string>{"/usr/bin/viewer", "/usr/share/doc/viewer", "/usr/share/viewer",
                                                         "/usr/share/viewer-extra"}))
        << "a folder the app's packages share (one source) is its home, and so is a file of theirs in a shared "
           "folder; what lies below a home, and folders other packages list, are not";
}

TEST_F(DescribedApps, WhatAnAppsPackageCarriesIsClaimedForIt) {
    viewerPackage({"/usr/bin/viewer", "/usr/share/applications/viewer.desktop", "/usr/share/dbus-1/services/org.example.ViewerSearch.service"});
    write(maps + "/export/share/dbus-1/services/org.example.Maps.Provider.service", "");
    EXPECT_EQ(CarriedNames::fromPaths({"/usr/share/applications/org.example.Viewer.Settings.desktop",
                                       "/usr/lib/systemd/user/viewer-indexer.service", "/lib/systemd/user/viewer-indexer.timer",
                                       "/etc/xdg/autostart/viewer-tray.desktop", "/usr/share/doc/viewer/README.service"},
                                      "org.example.Viewer.desktop"),
              (std::vector<std::string>{"org.example.Viewer.Settings", "viewer-indexer", "viewer-tray"}))
        << "entries, user units and autostart entries, by their folders";

    const PathOwners owners = PathOwners::build(machine.root);
    std::vector<InstalledApp> apps = AppCatalog::installedApps(machine).apps;
    CarriedNames::fill(apps, &owners, machine);
    const InstalledAppIndex index(apps);
    const std::optional<InstalledAppIndex::Claim> search = index.claim("org.example.ViewerSearch");
    ASSERT_TRUE(search);
    EXPECT_EQ(search->app.name, "Viewer");
    EXPECT_TRUE(search->isCarried);
    ASSERT_TRUE(index.claim("org.example.Maps.Provider.cache")) << "a Flatpak's exports, and what is named below them";
    EXPECT_EQ(index.claim("org.example.Maps.Provider.cache")->app.name, "Maps");
    EXPECT_FALSE(index.claim("org.example.Other"));
}

} // namespace
} // namespace tessel
