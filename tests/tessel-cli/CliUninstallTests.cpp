// tessel uninstall, run as the real tool on a home of its own: an AppImage
// with its desktop entry and settings goes to that home's Trash whole and
// byte for byte; another app's settings stay.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "ToolRun.h"

namespace tessel::cli {

using nlohmann::json;

TEST(CliUninstall, AnAppImageGoesToTheTrashWithItsResidueAndNothingElse) {
    test::ScopedEnvironment environment;
    for (const char* name : {"XDG_DATA_DIRS", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"})
        environment.unset(name);
    test::TempFolder folder;
    const std::string home = folder / "home", root = folder / "root";
    std::filesystem::create_directories(root);
    const std::string image = "\x7f" "ELF appimage bytes \x01\x02";
    test::writeText(home + "/Applications/Editor.AppImage", image);
    std::filesystem::permissions(home + "/Applications/Editor.AppImage", std::filesystem::perms::owner_all);
    test::writeText(home + "/.local/share/applications/editor.desktop",
          "[Desktop Entry]\nType=Application\nName=Editor\nExec=" + home + "/Applications/Editor.AppImage %F\n");
    test::writeText(home + "/.config/editor/settings.ini", "theme=dark\n");
    test::writeText(home + "/.local/share/applications/viewer.desktop", "[Desktop Entry]\nType=Application\nName=Viewer\nExec=/bin/true\n");
    test::writeText(home + "/.config/viewer/settings.ini", "keep me\n");

    const json plan = runJson({"uninstall", "--json", "--dry-run", "--root", root, "Editor"}, As::usual, home);
    EXPECT_EQ(plan["bundle"]["path"], home + "/Applications/Editor.AppImage");
    EXPECT_TRUE(plan["bundle"]["handoff"].is_null());
    std::map<std::string, std::string> residue;
    for (const json& item : plan["residue"]) residue[item["path"]] = item["confidence"].get<std::string>() + (item["ticked"] ? " ticked" : "");
    EXPECT_EQ(residue, (std::map<std::string, std::string>{{home + "/.config/editor", "exact ticked"},
                                                           {home + "/.local/share/applications/editor.desktop", "exact ticked"}}))
        << plan.dump(2);
    EXPECT_TRUE(std::filesystem::exists(home + "/Applications/Editor.AppImage")) << "a dry run moves nothing";

    const Outcome removed = runTessel({"uninstall", "--root", root, "editor"}, As::usual, home);
    ASSERT_EQ(removed.status, 0) << removed.out << removed.err;
    const std::string trash = home + "/.local/share/Trash/files/";
    EXPECT_FALSE(std::filesystem::exists(home + "/Applications/Editor.AppImage"));
    EXPECT_EQ(test::readText(trash + "Editor.AppImage"), image) << "moved whole, byte for byte";
    EXPECT_EQ(test::readText(trash + "editor/settings.ini"), "theme=dark\n");
    EXPECT_TRUE(std::filesystem::exists(trash + "editor.desktop"));
    EXPECT_EQ(test::readText(home + "/.config/viewer/settings.ini"), "keep me\n") << "another app's settings stay";

    const Outcome unknown = runTessel({"uninstall", "--root", root, "Nothing Like It"}, As::usual, home);
    expectOneErrorLine(unknown, 1, "Nothing Like It");
}

} // namespace tessel::cli
