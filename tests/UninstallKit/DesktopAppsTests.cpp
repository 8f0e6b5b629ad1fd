// The apps of a Linux machine described in a folder: a home with its own
// entries, system folders under a root, programs on a PATH.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "DescribedLinux.h"
#include "UninstallKit/AppIcons.h"
#include "UninstallKit/DesktopApps.h"

namespace tessel {
namespace {

TEST_F(DescribedLinux, TheFirstFileOfAnIdWinsHiddenRemovesTheAppAndOtherTypesAndMissingTryExecGo) {
    app("/usr/share/applications/viewer.desktop", "System Viewer");
    app("/usr/local/share/applications/viewer.desktop", "Local Viewer");
    app("/usr/share/applications/editor.desktop", "Editor");
    write(machine.home + "/.local/share/applications/editor.desktop", "[Desktop Entry]\nType=Application\nHidden=true\n");
    app("/usr/share/applications/kde4/okular.desktop", "Okular");
    app("/usr/share/applications/helper.desktop", "Helper", "Exec=viewer --helper\nNoDisplay=true\n");
    app("/usr/share/applications/gone.desktop", "Gone", "TryExec=not-installed\nExec=not-installed\n");
    app("/usr/share/applications/there.desktop", "There", "TryExec=/usr/bin/viewer\nExec=viewer\n");
    app("/usr/share/applications/script.desktop", "Script", "TryExec=/usr/bin/data\n");
    write("/usr/bin/data", "not executable");
    write("/usr/share/applications/site.desktop", "[Desktop Entry]\nType=Link\nName=Site\nURL=https://example.org\n");

    const DesktopAppListing found = listing();
    ASSERT_EQ(names(found), (std::vector<std::string>{"Helper", "Local Viewer", "Okular", "There"}));
    EXPECT_FALSE(found.apps[0].isShown);
    const InstalledApp& okular = found.apps[2];
    EXPECT_EQ(okular.desktopId, "kde4-okular.desktop");
    EXPECT_EQ(okular.entryPath, "/usr/share/applications/kde4/okular.desktop") << "a path of the machine, not of the test";
    EXPECT_EQ(okular.programPath, "/usr/bin/viewer");
}

TEST_F(DescribedLinux, BrokenEntriesAreReportedAndDoNotHideTheSystemOne) {
    write(machine.home + "/.local/share/applications/viewer.desktop", "[Desktop Entry]\nName=A\nName=B\n");
    app("/usr/share/applications/viewer.desktop", "Viewer");
    const std::string pipe = local("/usr/share/applications/pipe.desktop");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
    test::makeSymlink("/usr/share/nowhere.desktop", local("/usr/share/applications/dangling.desktop"));

    const DesktopAppListing found = listing();
    EXPECT_EQ(names(found), std::vector<std::string>{"Viewer"});
    std::set<std::string> files;
    for (const auto& [file, reason] : found.unreadable) files.insert(file);
    EXPECT_EQ(files, (std::set<std::string>{machine.home + "/.local/share/applications/viewer.desktop",
                                            "/usr/share/applications/dangling.desktop", "/usr/share/applications/pipe.desktop"}))
        << "each named as a path of the machine";
}

TEST_F(DescribedLinux, LinksAreFollowedOnTheDescribedMachine) {
    // As Flatpak exports its entries: an absolute link into its deployment.
    app("/var/lib/flatpak/app/org.example.Maps/current/active/export/share/applications/org.example.Maps.desktop",
        "Maps", "Exec=/usr/bin/flatpak run --branch=stable org.example.Maps @@u %U @@\nX-Flatpak=org.example.Maps\n");
    std::filesystem::create_directories(local("/var/lib/flatpak/exports/share/applications"));
    test::makeSymlink("/var/lib/flatpak/app/org.example.Maps/current/active/export/share/applications/org.example.Maps.desktop",
                      local("/var/lib/flatpak/exports/share/applications/org.example.Maps.desktop"));
    machine.dataFolders.push_back("/var/lib/flatpak/exports/share");

    const DesktopAppListing found = listing();
    ASSERT_EQ(found.apps.size(), 1u) << (found.unreadable.empty() ? "" : found.unreadable[0].second);
    const InstalledApp& maps = found.apps[0];
    EXPECT_EQ(maps.bundleIdentifier, "org.example.Maps");
    EXPECT_EQ(maps.bundlePath, "/var/lib/flatpak/exports/share/applications/org.example.Maps.desktop")
        << "flatpak itself is not the app";
}

TEST_F(DescribedLinux, SnapsAndAppImagesAreToldApartAndTheHomeIsReadAsItIs) {
    app("/var/lib/snapd/desktop/applications/notes_notes.desktop", "Notes",
        "Exec=/snap/bin/notes\nX-SnapInstanceName=notes\n");
    machine.dataFolders.push_back("/var/lib/snapd/desktop");
    program(machine.home + "/Applications/Paint-2.1-x86_64.AppImage");
    app(machine.home + "/.local/share/applications/appimagekit-paint.desktop", "Paint",
        "Exec=\"" + machine.home + "/Applications/Paint-2.1-x86_64.AppImage\" %F\nX-AppImage-Version=2.1\n");
    program("/opt/Draw.appimage");
    app("/usr/share/applications/draw.desktop", "Draw", "Exec=env GDK_BACKEND=x11 /opt/Draw.appimage\n");
    program(machine.home + "/.local/bin/tool");
    app("/usr/share/applications/tool.desktop", "Tool", "Exec=tool --gui\n");

    const DesktopAppListing found = listing();
    ASSERT_EQ(names(found), (std::vector<std::string>{"Draw", "Notes", "Paint", "Tool"}));
    EXPECT_EQ(found.apps[0].source, "appimage") << "by the program it runs";
    EXPECT_EQ(found.apps[0].programPath, "/opt/Draw.appimage") << "env runs it";
    EXPECT_EQ(found.apps[1].source, "snap");
    EXPECT_EQ(found.apps[1].programPath, std::nullopt) << "/snap/bin/notes is not on this machine";
    EXPECT_EQ(found.apps[2].version, "2.1");
    EXPECT_EQ(found.apps[2].bundlePath, machine.home + "/Applications/Paint-2.1-x86_64.AppImage");
    EXPECT_EQ(found.apps[3].programPath, machine.home + "/.local/bin/tool") << "the home's folder on PATH";
}

TEST_F(DescribedLinux, NamesFollowTheLocaleAndSortAsAPersonReads) {
    app("/usr/share/applications/b.desktop", "browser", "Exec=viewer\nName[sr@latin]=Pregledač\n");
    app("/usr/share/applications/a.desktop", "Archive");
    app("/usr/share/applications/c.desktop", "calendar");
    EXPECT_EQ(names(listing()), (std::vector<std::string>{"Archive", "browser", "calendar"}));
    machine.locale = MessagesLocale::parse("sr_RS.UTF-8@latin");
    EXPECT_EQ(names(listing()), (std::vector<std::string>{"Archive", "calendar", "Pregledač"}));
}

TEST_F(DescribedLinux, IconsAndLinkHandlersAreFoundWhereTheDesktopLooks) {
    write(machine.dataHome + "/icons/hicolor/64x64/apps/viewer.png", "user's");
    write("/usr/share/icons/hicolor/scalable/apps/viewer.svg", "system's");
    write("/usr/share/icons/hicolor/48x48/apps/maps.png", "small");
    write("/usr/share/icons/hicolor/128x128/apps/maps.png", "large");
    write("/usr/share/pixmaps/old.xpm", "old");
    EXPECT_EQ(AppIcons::find("viewer", machine), machine.dataHome + "/icons/hicolor/64x64/apps/viewer.png") << "the user's first";
    EXPECT_EQ(AppIcons::find("maps", machine), local("/usr/share/icons/hicolor/128x128/apps/maps.png"));
    EXPECT_EQ(AppIcons::find("old.xpm", machine), local("/usr/share/pixmaps/old.xpm")) << "an old entry's ending is dropped";
    EXPECT_EQ(AppIcons::find("/usr/share/pixmaps/old.xpm", machine), local("/usr/share/pixmaps/old.xpm"));
    ASSERT_EQ(mkfifo(local("/usr/share/pixmaps/pipe.png").c_str(), 0644), 0);
    for (const char* none : {"pipe", "/usr/share/pixmaps/pipe.png", "../pixmaps/old", "missing", ""})
        EXPECT_EQ(AppIcons::find(none, machine), std::nullopt) << none;

    app("/usr/share/applications/viewer.desktop", "Viewer", "Exec=viewer\nMimeType=x-scheme-handler/appstreamish;\n");
    app("/usr/share/applications/store.desktop", "Store", "Exec=viewer\nNoDisplay=true\nMimeType=text/html;x-scheme-handler/appstream\n");
    EXPECT_EQ(AppCatalog::schemeHandler(listing().apps, machine, "appstream"), "store.desktop");
    EXPECT_EQ(AppCatalog::schemeHandler(listing().apps, machine, "steam"), std::nullopt);
}

// Root lists every folder, so this runs as an ordinary user only.
struct UnprivilegedDesktopApps : DescribedLinux {};

TEST_F(UnprivilegedDesktopApps, AFolderThatCantBeListedIsReported) {
    if (geteuid() == 0) GTEST_SKIP() << "root lists every folder; scripts/run-unprivileged runs this as an ordinary user";
    app("/usr/share/applications/viewer.desktop", "Viewer");
    app("/usr/share/applications/locked/other.desktop", "Other");
    const std::string locked = local("/usr/share/applications/locked");
    ASSERT_EQ(chmod(locked.c_str(), 0), 0);
    const DesktopAppListing found = listing();
    chmod(locked.c_str(), 0755);
    EXPECT_EQ(names(found), std::vector<std::string>{"Viewer"});
    ASSERT_EQ(found.unreadable.size(), 1u);
    EXPECT_NE(found.unreadable[0].second.find("opendir(" + locked + ")"), std::string::npos) << "the call and the path";
}

TEST(DesktopMachineEnvironment, DataHomeFirstThenDataDirsInOrder) {
    test::ScopedEnvironment environment;
    environment.set("HOME", "/home/me");
    environment.set("XDG_DATA_HOME", "relative/is/ignored");
    environment.set("XDG_DATA_DIRS", "/opt/share:relative:/usr/share/");
    environment.set("PATH", "/usr/bin:bin");
    const DesktopMachine machine = DesktopMachine::fromEnvironment("/tmp/machine");
    EXPECT_EQ(machine.dataFolders, (std::vector<std::string>{"/home/me/.local/share", "/opt/share", "/usr/share"}));
    EXPECT_EQ(machine.programFolders, std::vector<std::string>{"/usr/bin"});
    EXPECT_EQ(machine.onDisk("/usr/share/x"), "/tmp/machine/usr/share/x");
    EXPECT_EQ(machine.onDisk("/home/me/.local/share/x"), "/home/me/.local/share/x") << "the home is read as it is";

    environment.unset("XDG_DATA_DIRS");
    EXPECT_EQ(DesktopMachine::fromEnvironment("/").dataFolders,
              (std::vector<std::string>{"/home/me/.local/share", "/usr/local/share", "/usr/share"}));
}

} // namespace
} // namespace tessel
