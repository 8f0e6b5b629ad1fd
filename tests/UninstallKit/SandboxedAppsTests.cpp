// Flatpak and snap installations laid out by the tests as the tools lay them out.
#include <gtest/gtest.h>

#include "Fixture.h"
#include "UninstallKit/SandboxedApps.h"

using namespace tessel;

namespace {

// INSTALLATION/app/ID/ARCH/BRANCH/COMMIT with its two links, as Flatpak deploys an app.
std::string deployFlatpak(const std::string& installation, const std::string& id, const std::string& metainfo = {}) {
    const std::string app = installation + "/app/" + id, deploy = app + "/x86_64/stable/0a1b2c";
    test::writeText(deploy + "/metadata", "[Application]\nname=" + id + "\nruntime=org.gnome.Platform/x86_64/45\n");
    if (!metainfo.empty()) test::writeText(deploy + "/files/share/metainfo/" + id + ".metainfo.xml", metainfo);
    test::makeSymlink("x86_64/stable", app + "/current");
    test::makeSymlink("0a1b2c", app + "/x86_64/stable/active");
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
    test::writeText(system + "/app/org.gone.App/x86_64/stable/.keep", "");
    test::makeSymlink("x86_64/stable", system + "/app/org.gone.App/current");
    test::writeText(deployFlatpak(system, "org.liar.App") + "/metadata", "[Application]\nname=org.other.App\n");

    const std::vector<FlatpakApp> apps = SandboxedApps::flatpaks(machine.path(), machine / "home/.local/share");
    ASSERT_EQ(apps.size(), 2u);
    EXPECT_EQ(apps[0], (FlatpakApp{"org.gimp.GIMP", "x86_64", "stable", "2.10.36", false, gimp}));
    EXPECT_EQ(apps[1].id, "org.example.Notes");
    EXPECT_TRUE(apps[1].perUser);
    EXPECT_EQ(SandboxedApps::metainfoVersion("not xml <"), std::nullopt);
}

TEST(SandboxedApps, SnapsByTheirCurrentRevision) {
    test::TempFolder machine;
    test::writeText(machine / "snap/firefox/4173/meta/snap.yaml", "name: firefox\nversion: '121.0-1'\nsummary: a browser\n");
    test::makeSymlink("4173", machine / "snap/firefox/current");
    test::writeText(machine / "snap/unmounted/12/.keep", "");
    test::makeSymlink("12", machine / "snap/unmounted/current");
    test::makeFolder(machine / "snap/bin"); // snapd's own folder of commands: no current revision
    EXPECT_EQ(SandboxedApps::snaps(machine.path()), (std::vector<SnapApp>{{"firefox", "121.0-1", machine / "snap/firefox/4173"},
                                                                          {"unmounted", std::nullopt, machine / "snap/unmounted/12"}}));
}

TEST(SandboxedApps, ThePackageHoldingAPathIsTheDeploymentAroundIt) {
    test::TempFolder machine;
    const std::string userData = machine / "home/.local/share";
    deployFlatpak(machine / "var/lib/flatpak", "org.gimp.GIMP");
    test::writeText(machine / "var/lib/flatpak/runtime/org.gnome.Platform/.keep", "");
    deployFlatpak(userData + "/flatpak", "org.example.Notes");
    test::writeText(machine / "snap/firefox/.keep", "");
    test::makeFolder(machine / "snap/bin");
    test::writeText(machine / "var/lib/snapd/snaps/core_22_16202.snap", "");

    auto holding = [&](const std::string& path) { return SandboxedApps::packageHolding(path, machine.path(), userData); };
    EXPECT_EQ(holding("/var/lib/flatpak/app/org.gimp.GIMP/current/active/files/bin/gimp"), (SandboxedPackage{"org.gimp.GIMP", "flatpak"}));
    EXPECT_EQ(holding("/var/lib/flatpak/runtime/org.gnome.Platform"), (SandboxedPackage{"org.gnome.Platform", "flatpak"}));
    EXPECT_EQ(holding(userData + "/flatpak/app/org.example.Notes/x86_64"), (SandboxedPackage{"org.example.Notes", "flatpak"}))
        << "the user's installation is where it is, not under the root";
    EXPECT_EQ(holding("/snap/firefox/4173/usr/lib/firefox"), (SandboxedPackage{"firefox", "snap"}));
    EXPECT_EQ(holding("/var/lib/snapd/snaps/core_22_16202.snap"), (SandboxedPackage{"core_22", "snap"}))
        << "the revision follows the last underscore";
    for (const char* nothing : {"/var/lib/flatpak/app", "/var/lib/flatpak/app/org.gone.App/x", "/var/lib/flatpak/apps/x",
                                "/snap/bin/firefox", "/snap/gone/1", "/snapshots/firefox", "/var/lib/snapd/snaps/gone_1.snap"})
        EXPECT_EQ(holding(nothing), std::nullopt) << nothing;
}
