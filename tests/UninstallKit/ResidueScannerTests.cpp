// The residue of an app, in the Mac's folders and a Linux desktop's, laid
// out in a fixture home beside other installed apps that must keep theirs.
#include <gtest/gtest.h>

#include <algorithm>

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

// A folder for a path that ends in "/", else a file, with the folders above it.
void make(const std::string& path) { test::writeText(path.ends_with('/') ? path + ".keep" : path, "x"); }

std::int64_t sizeOf(const std::string&) { return 1000; }

ResidueLocation::LinuxFolders foldersOf(const std::string& home, const std::string& root) {
    return {home, home + "/.config", home + "/.local/share", home + "/.cache", home + "/.local/state", root};
}

} // namespace

TEST(ResidueOnLinux, EachEntryIsGradedByWhatTheAppAnswersTo) {
    test::TempFolder home;
    InstalledApp viewer = app("Viewer", "org.example.Viewer");
    viewer.package = "viewer";
    viewer.carries = {"viewer-tray", "org.example.Viewer.SearchProvider"};
    viewer.programPath = "/usr/bin/viewer-bin";
    InstalledApp other = app("Other Viewer", "org.other.Viewer");
    other.package = "otherviewer";
    for (const char* path : {".config/viewer/", ".config/org.example.Viewer.json", ".config/autostart/viewer-tray.desktop",
                             ".cache/viewer-bin/", ".cache/org.example.Viewer.Plugins/", ".local/share/Viewer Backups/",
                             ".local/share/otherviewer/", ".local/share/google/", ".var/app/org.example.Viewer/data/", "root/etc/viewer/",
                             ".local/state/org.example.Tools/", ".local/share/icons/hicolor/256x256/apps/org.example.Viewer.png"})
        make(home / path);

    const ResidueScanner scanner({viewer, other, app("Vim", "vim")}, ResidueLocation::onLinux(foldersOf(home.path(), home / "root")),
                                 sizeOf, Platform::linuxOS);
    const std::vector<ResidueItem> items = scanner.residue(viewer);
    std::vector<std::string> found;
    for (const ResidueItem& item : items)
        found.push_back(item.path.substr(home.path().size() + 1) + ": " + std::string(MatchConfidences::rawValue(item.confidence)));
    std::ranges::sort(found);
    EXPECT_EQ(found, (std::vector<std::string>{
                         ".cache/org.example.Viewer.Plugins: exact",     // part of the identifier
                         ".cache/viewer-bin: strong",                    // the program
                         ".config/autostart/viewer-tray.desktop: exact", // carried by the package
                         ".config/org.example.Viewer.json: exact",       // the identifier, its ending taken off
                         ".config/viewer: exact",                        // the package
                         ".local/share/Viewer Backups: possible",        // resembles the name
                         ".local/share/icons/hicolor/256x256/apps/org.example.Viewer.png: exact", // an icon, in its theme
                         ".local/state/org.example.Tools: likely",       // the vendor's, and Viewer is its only app
                         ".var/app/org.example.Viewer: exact", "root/etc/viewer: exact"}))
        << "another app's package and a vendor's shared folder are none of Viewer's";
    EXPECT_EQ(items.front().confidence, MatchConfidence::exact) << "surest first";
    EXPECT_TRUE(std::ranges::find(items, home / ".var/app/org.example.Viewer", &ResidueItem::path)->mayHoldDocuments);
    EXPECT_TRUE(std::ranges::find(items, home / "root/etc/viewer", &ResidueItem::path)->requiresAdministrator);
}

TEST(ResidueMatching, NamesSharedOrTooShortAreNoOnesEvidence) {
    InstalledApp notesA = app("Notes", "com.alpha.Notes");
    InstalledApp notesB = app("Notes", "com.beta.Notes");
    notesB.bundlePath = "/opt/notes-b/notes";
    InstalledApp alpha2 = app("Alpha Draw", "com.alpha.Draw");
    const ResidueScanner scanner({notesA, notesB, alpha2, app("Vim", "vim")}, {}, sizeOf, Platform::macOS);

    EXPECT_EQ(scanner.match("com.alpha.Notes.plist", notesA).value_or(ResidueScanner::Match{}).first, MatchConfidence::exact);
    EXPECT_EQ(scanner.match("Notes", notesA), std::nullopt) << "two apps share the name, and the other answers to it";
    EXPECT_EQ(scanner.match("com.alpha.Shared", notesA), std::nullopt) << "the vendor has two apps installed";
    EXPECT_EQ(scanner.match("vimfiles", app("Vim", "vim")), std::nullopt) << "three letters are never enough";
    EXPECT_EQ(scanner.match("com.beta.Notes", notesA), std::nullopt) << "residue is never taken from a living app";
    EXPECT_FALSE(scanner.nameIsAmbiguous(alpha2));
    EXPECT_TRUE(scanner.nameIsAmbiguous(notesA));
}

TEST(UninstallPlans, AnAppTheUserPutThereGoesWholeAndAPackagedOneIsHandedOff) {
    test::TempFolder home;
    DesktopMachine machine;
    machine.home = home.path();
    machine.dataHome = home / ".local/share";
    for (const char* path : {"Applications/Editor.AppImage", ".config/org.example.Editor/", ".var/app/org.example.Maps/data/", ".config/maps/"})
        make(home / path);
    InstalledApp editor = app("Editor", "org.example.Editor", "appimage");
    editor.bundlePath = home / "Applications/Editor.AppImage";
    InstalledApp maps = app("Maps", "org.example.Maps", "flatpak");
    maps.package = "org.example.Maps";
    maps.entryPath = home / ".local/share/flatpak/exports/share/applications/org.example.Maps.desktop";
    InstalledApp viewer = app("Viewer", "viewer", "dpkg");
    viewer.package = "viewer";
    const ResidueScanner scanner({editor, maps, viewer}, ResidueLocation::onLinux(foldersOf(home.path(), "/nonexistent")), sizeOf,
                                 Platform::linuxOS);

    const UninstallPlan editorPlan = UninstallPlanner::plan(editor, scanner, machine, false);
    EXPECT_EQ(editorPlan.handoff, std::nullopt);
    const UninstallPlan mapsPlan = UninstallPlanner::plan(maps, scanner, machine, true);
    EXPECT_EQ(mapsPlan.handoff, "flatpak uninstall --user org.example.Maps");
    EXPECT_EQ(mapsPlan.bundlePath, std::nullopt) << "never moved file by file";
    ASSERT_EQ(mapsPlan.removable().size(), 1u) << "its sandbox folder may hold documents";
    EXPECT_EQ(UninstallPlanner::handoffCommand(viewer, machine), "sudo apt remove viewer");

    const std::vector<DeletionCandidate> chosen = UninstallPlanner::candidates(
        {editorPlan, mapsPlan}, {home / "Applications/Editor.AppImage", home / ".config/org.example.Editor", home / ".var/app/org.example.Maps"});
    std::vector<std::string> paths;
    for (const DeletionCandidate& candidate : chosen) paths.push_back(candidate.path + (candidate.isDirectory ? "/" : ""));
    EXPECT_EQ(paths, (std::vector<std::string>{home / "Applications/Editor.AppImage", home / ".config/org.example.Editor/"}))
        << "what may hold documents never goes, even chosen";
}
