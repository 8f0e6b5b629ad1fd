// Flatpak and snap installations laid out by the tests as the tools lay them out.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "Fixture.h"
#include "UninstallKit/SandboxedApps.h"

using namespace tessel;

namespace {

void write(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << text;
}

// INSTALLATION/app/ID/ARCH/BRANCH/COMMIT with its two links, as Flatpak deploys an app.
std::string deployFlatpak(const std::string& installation, const std::string& id, const std::string& metainfo = {}) {
    const std::string app = installation + "/app/" + id, deploy = app + "/x86_64/stable/0a1b2c";
    write(deploy + "/metadata", "[Application]\nname=" + id + "\nruntime=org.gnome.Platform/x86_64/45\n");
    if (!metainfo.empty()) write(deploy + "/files/share/metainfo/" + id + ".metainfo.xml", metainfo);
    symlink("x86_64/stable", (app + "/current").c_str());
    symlink("0a1b2c", (app + "/x86_64/stable/active").c_str());
    return deploy;
}

} // namespace

TEST(SandboxedApps, FlatpaksOfBothInstallationsWithTheNewestReleasesVersion) {
    test::TempFolder machine;
    const std::string system = machine / "var/lib/flatpak", user = machine / "home/.local/share/flatpak";
    const std::string gimp = deployFlatpak(system, "org.gimp.GIMP",
                                           "<?xml version=\"1.0\"?><component type=\"desktop-application\"><id>org.gimp.GIMP</id>"
                                           "<releases><release version=\"2.10.36\" date=\"2023-11-07\"/>"
                                           "<release version=\"2.10.34\"/></releases></component>");
    deployFlatpak(user, "org.example.Notes");
    // Half removed: its link leads nowhere. And one whose metadata names another app.
    write(system + "/app/org.gone.App/x86_64/stable/.keep", "");
    symlink("x86_64/stable", (system + "/app/org.gone.App/current").c_str());
    deployFlatpak(system, "org.liar.App");
    write(system + "/app/org.liar.App/x86_64/stable/0a1b2c/metadata", "[Application]\nname=org.other.App\n");

    const std::vector<FlatpakApp> apps = SandboxedApps::flatpaks(machine.path(), machine / "home/.local/share");
    ASSERT_EQ(apps.size(), 2u);
    EXPECT_EQ(apps[0], (FlatpakApp{"org.gimp.GIMP", "x86_64", "stable", "2.10.36", false, gimp}));
    EXPECT_EQ(apps[1].id, "org.example.Notes");
    EXPECT_TRUE(apps[1].perUser);
    EXPECT_EQ(apps[1].version, std::nullopt);
}

TEST(SandboxedApps, SnapsByTheirCurrentRevision) {
    test::TempFolder machine;
    write(machine / "snap/firefox/4173/meta/snap.yaml", "name: firefox\nversion: '121.0-1'\nsummary: a browser\napps:\n  firefox:\n    command: x\n");
    symlink("4173", (machine / "snap/firefox/current").c_str());
    test::makeFolder(machine / "snap/unmounted");
    test::makeFolder(machine / "snap/unmounted/12");
    symlink("12", (machine / "snap/unmounted/current").c_str());
    test::makeFolder(machine / "snap/bin"); // snapd's own folder of commands: no current revision
    const std::vector<SnapApp> snaps = SandboxedApps::snaps(machine.path());
    ASSERT_EQ(snaps.size(), 2u);
    EXPECT_EQ(snaps[0], (SnapApp{"firefox", "121.0-1", machine / "snap/firefox/4173"}));
    EXPECT_EQ(snaps[1], (SnapApp{"unmounted", std::nullopt, machine / "snap/unmounted/12"}));
}

TEST(SandboxedApps, MetainfoWithoutReleasesOrNotXmlHasNoVersion) {
    EXPECT_EQ(SandboxedApps::metainfoVersion("<component><id>x</id></component>"), std::nullopt);
    EXPECT_EQ(SandboxedApps::metainfoVersion("not xml <"), std::nullopt);
    EXPECT_EQ(SandboxedApps::metainfoVersion("<application><releases><release version=\"3\"/></releases></application>"), "3");
}

TEST(SandboxedApps, ThePackageHoldingAPathIsTheDeploymentAroundIt) {
    test::TempFolder machine;
    const std::string userData = machine / "home/.local/share";
    deployFlatpak(machine / "var/lib/flatpak", "org.gimp.GIMP");
    test::makeFolder(machine / "var/lib/flatpak/runtime");
    test::makeFolder(machine / "var/lib/flatpak/runtime/org.gnome.Platform");
    deployFlatpak(userData + "/flatpak", "org.example.Notes");
    test::makeFolder(machine / "snap");
    test::makeFolder(machine / "snap/firefox");
    test::makeFolder(machine / "snap/bin");
    write(machine / "var/lib/snapd/snaps/core_22_16202.snap", "");

    auto holding = [&](const std::string& path) { return SandboxedApps::packageHolding(path, machine.path(), userData); };
    EXPECT_EQ(holding("/var/lib/flatpak/app/org.gimp.GIMP/current/active/files/bin/gimp"),
              (SandboxedPackage{"org.gimp.GIMP", "flatpak"}));
    EXPECT_EQ(holding("/var/lib/flatpak/runtime/org.gnome.Platform"), (SandboxedPackage{"org.gnome.Platform", "flatpak"}));
    EXPECT_EQ(holding(userData + "/flatpak/app/org.example.Notes/x86_64"), (SandboxedPackage{"org.example.Notes", "flatpak"}))
        << "the user's installation is where it is, not under the root";
    EXPECT_EQ(holding("/snap/firefox/4173/usr/lib/firefox"), (SandboxedPackage{"firefox", "snap"}));
    EXPECT_EQ(holding("/var/lib/snapd/snaps/core_22_16202.snap"), (SandboxedPackage{"core_22", "snap"}))
        << "the revision follows the last underscore";

    for (const char* nothing : {"/var/lib/flatpak/app", "/var/lib/flatpak/app/org.gone.App/x", "/var/lib/flatpak/apps/x",
                                "/snap/bin/firefox", "/snap/gone/1", "/snapshots/firefox", "/var/lib/snapd/snaps/gone_1.snap"}) {
        SCOPED_TRACE(nothing);
        EXPECT_EQ(holding(nothing), std::nullopt);
    }
}
