// The residue of an app, in the Mac's folders and a Linux desktop's, laid
// out in a fixture home beside other installed apps that must keep theirs.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "Fixture.h"
#include "UninstallKit/ResidueScanner.h"
#include "UninstallKit/UninstallPlanner.h"

using namespace tessel;

namespace {

InstalledApp app(const std::string& name, const std::string& identifier, const std::string& source = "other") {
    InstalledApp made;
    made.name = name;
    made.bundleIdentifier = identifier;
    made.bundlePath = "/usr/bin/" + name;
    made.source = source;
    return made;
}

void make(const std::string& path, bool folder = true) {
    if (folder) {
        std::filesystem::create_directories(path);
    } else {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path) << "x";
    }
}

std::vector<std::string> reasons(const std::vector<ResidueItem>& items, const std::string& home) {
    std::vector<std::string> found;
    for (const ResidueItem& item : items)
        found.push_back(item.path.substr(home.size() + 1) + ": " + std::string(MatchConfidences::rawValue(item.confidence)) + ", " +
                        item.reason);
    return found;
}

std::int64_t sizeOf(const std::string&) { return 1000; }

} // namespace

TEST(ResidueOnLinux, EachEntryIsGradedByWhatTheAppAnswersTo) {
    test::TempFolder home;
    const ResidueLocation::LinuxFolders folders{home.path(), home / ".config", home / ".local/share", home / ".cache",
                                                home / ".local/state", home / "root"};
    InstalledApp viewer = app("Viewer", "org.example.Viewer");
    viewer.package = "viewer";
    viewer.carries = {"viewer-tray", "org.example.Viewer.SearchProvider"};
    viewer.programPath = "/usr/bin/viewer-bin";
    InstalledApp other = app("Other Viewer", "org.other.Viewer");
    other.package = "otherviewer";
    const std::vector<InstalledApp> apps{viewer, other, app("Vim", "vim")};

    make(home / ".config/viewer");                                 // the package
    make(home / ".config/org.example.Viewer.json", false);        // the identifier, its ending taken off
    make(home / ".config/autostart/viewer-tray.desktop", false);  // carried by the package
    make(home / ".cache/viewer-bin");                             // the program
    make(home / ".cache/org.example.Viewer.Plugins");             // part of the identifier
    make(home / ".local/share/Viewer Backups");                   // resembles the name
    make(home / ".local/share/otherviewer");                      // another app's package
    make(home / ".local/share/google");                           // shared by a vendor
    make(home / ".var/app/org.example.Viewer/data");
    make(home / "root/etc/viewer");
    make(home / ".local/state/org.example.Tools");                // the vendor's, and Viewer is its only app

    const ResidueScanner scanner(apps, ResidueLocation::onLinux(folders), sizeOf, Platform::linuxOS);
    const std::vector<ResidueItem> items = scanner.residue(viewer);
    std::vector<std::string> found = reasons(items, home.path());
    std::ranges::sort(found);
    EXPECT_EQ(found, (std::vector<std::string>{
                         ".cache/org.example.Viewer.Plugins: exact, Part of the app's identifier",
                         ".cache/viewer-bin: strong, Named for the app's program",
                         ".config/autostart/viewer-tray.desktop: exact, Named for something the app's package carries (viewer-tray)",
                         ".config/org.example.Viewer.json: exact, Named for the app's identifier",
                         ".config/viewer: exact, Named for the app's package",
                         ".local/share/Viewer Backups: possible, Name resembles the app",
                         ".local/state/org.example.Tools: likely, Uses the same vendor prefix (org.example)",
                         ".var/app/org.example.Viewer: exact, Named for the app's identifier",
                         "root/etc/viewer: exact, Named for the app's package",
                     }));
    EXPECT_EQ(items.front().confidence, MatchConfidence::exact) << "surest first";
    const auto sandbox = std::ranges::find(items, home / ".var/app/org.example.Viewer", &ResidueItem::path);
    EXPECT_TRUE(sandbox->mayHoldDocuments);
    const auto system = std::ranges::find(items, home / "root/etc/viewer", &ResidueItem::path);
    EXPECT_TRUE(system->requiresAdministrator);
    EXPECT_EQ(system->locationLabel, "System Settings");
}

TEST(ResidueMatching, NamesSharedOrTooShortAreNoOnesEvidence) {
    InstalledApp notesA = app("Notes", "com.alpha.Notes");
    InstalledApp notesB = app("Notes", "com.beta.Notes");
    notesB.bundlePath = "/opt/notes-b/notes";
    InstalledApp alpha2 = app("Alpha Draw", "com.alpha.Draw");
    const ResidueScanner scanner({notesA, notesB, alpha2, app("Vim", "vim")}, {}, sizeOf, Platform::macOS);

    EXPECT_EQ(scanner.match("com.alpha.Notes.plist", notesA),
              (ResidueScanner::Match{MatchConfidence::exact, "Named for the app's bundle identifier"}))
        << "a preference file named for the bundle identifier";
    EXPECT_EQ(scanner.match("Notes", notesA), std::nullopt) << "two apps share the name, and the other answers to it";
    EXPECT_EQ(scanner.match("com.alpha.Shared", notesA), std::nullopt) << "the vendor has two apps installed";
    EXPECT_EQ(scanner.match("vimfiles", app("Vim", "vim")), std::nullopt) << "three letters are never enough";
    EXPECT_EQ(scanner.match("Google", notesA), std::nullopt);
    EXPECT_EQ(scanner.match("com.beta.Notes", notesA), std::nullopt) << "residue is never taken from a living app";
    EXPECT_FALSE(scanner.nameIsAmbiguous(alpha2));
    EXPECT_TRUE(scanner.nameIsAmbiguous(notesA));
}

TEST(UninstallPlans, AnAppTheUserPutThereGoesWholeAndAPackagedOneIsHandedOff) {
    test::TempFolder home;
    DesktopMachine machine;
    machine.home = home.path();
    machine.dataHome = home / ".local/share";
    make(home / "Applications/Editor.AppImage", false);
    make(home / ".config/org.example.Editor");
    make(home / ".var/app/org.example.Maps/data");
    make(home / ".config/maps");

    InstalledApp editor = app("Editor", "org.example.Editor", "appimage");
    editor.bundlePath = home / "Applications/Editor.AppImage";
    InstalledApp maps = app("Maps", "org.example.Maps", "flatpak");
    maps.package = "org.example.Maps";
    maps.entryPath = home / ".local/share/flatpak/exports/share/applications/org.example.Maps.desktop";
    InstalledApp viewer = app("Viewer", "viewer", "dpkg");
    viewer.package = "viewer";
    const ResidueLocation::LinuxFolders folders{home.path(), home / ".config", home / ".local/share", home / ".cache",
                                                home / ".local/state", "/nonexistent"};
    const ResidueScanner scanner({editor, maps, viewer}, ResidueLocation::onLinux(folders), sizeOf, Platform::linuxOS);

    const UninstallPlan editorPlan = UninstallPlanner::plan(editor, scanner, machine, false);
    EXPECT_EQ(editorPlan.bundlePath, home / "Applications/Editor.AppImage");
    EXPECT_EQ(editorPlan.handoff, std::nullopt);
    const UninstallPlan mapsPlan = UninstallPlanner::plan(maps, scanner, machine, true);
    EXPECT_EQ(mapsPlan.handoff, "flatpak uninstall --user org.example.Maps");
    EXPECT_EQ(mapsPlan.bundlePath, std::nullopt) << "never moved file by file";
    ASSERT_EQ(mapsPlan.residue.size(), 2u);
    ASSERT_EQ(mapsPlan.removable().size(), 1u) << "its sandbox folder may hold documents";
    EXPECT_EQ(mapsPlan.removable().front().path, home / ".config/maps");
    EXPECT_EQ(UninstallPlanner::handoffCommand(viewer, machine), "sudo apt remove viewer");

    const std::vector<DeletionCandidate> chosen = UninstallPlanner::candidates(
        {editorPlan, mapsPlan}, {home / "Applications/Editor.AppImage", home / ".config/org.example.Editor",
                                 home / ".var/app/org.example.Maps"});
    ASSERT_EQ(chosen.size(), 2u) << "what may hold documents never goes, even chosen";
    EXPECT_EQ(chosen[0].path, home / "Applications/Editor.AppImage");
    EXPECT_FALSE(chosen[0].isDirectory);
    EXPECT_EQ(chosen[1].path, home / ".config/org.example.Editor");
}
