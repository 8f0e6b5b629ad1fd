// An app's launchers go with whatever takes the app to the Trash, and come back with it.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "Fixture.h"
#include "UninstallKit/AppLaunchers.h"

using namespace tessel;

namespace {

InstalledApp appAt(const std::string& id, const std::string& entry, const std::string& program) {
    InstalledApp app;
    app.desktopId = id;
    app.entryPath = entry;
    app.bundlePath = program;
    app.programPath = program;
    return app;
}

struct PinnedOnPlasma : testing::Test {
    test::TempFolder folder;
    std::string file = folder / "applets";
    std::vector<InstalledApp> apps{appAt("tool.desktop", "/home/me/.local/share/applications/tool.desktop", "/home/me/Applications/Tool.AppImage"),
                                   appAt("org.example.Editor.desktop", "/usr/share/applications/org.example.Editor.desktop", "/opt/editor/bin/editor")};
    std::shared_ptr<DesktopLaunchers> launchers;
    std::unique_ptr<AppLaunchers> tiles;

    void SetUp() override {
        std::ofstream(file) << "[A]\nplugin=org.kde.plasma.taskmanager\n[A][Configuration][General]\n"
                               "launchers=applications:tool.desktop,applications:org.example.Editor.desktop,applications:other.desktop\n";
        std::vector<std::unique_ptr<LauncherStore>> stores;
        stores.push_back(std::make_unique<PlasmaLaunchers>(file));
        launchers = std::make_shared<DesktopLaunchers>(std::move(stores));
        tiles = std::make_unique<AppLaunchers>(launchers, [this] { return apps; });
        tiles->prepare();
    }
    std::string pinned() const {
        std::stringstream text;
        text << std::ifstream(file).rdbuf();
        const std::string all = text.str();
        const std::size_t at = all.find("launchers=");
        return all.substr(at + 10, all.find('\n', at) - at - 10);
    }
};

} // namespace

TEST(AppLaunchersAt, AnAppIsAtItsProgramItsEntryOrAFolderThatHoldsThem) {
    const std::vector<InstalledApp> apps{appAt("tool.desktop", "/home/me/.local/share/applications/tool.desktop", "/home/me/Applications/Tool.AppImage"),
                                         appAt("ed.desktop", "/usr/share/applications/ed.desktop", "/opt/editor/bin/editor")};
    EXPECT_EQ(AppLaunchers::desktopIdsAt("/home/me/Applications/Tool.AppImage", apps), std::vector<std::string>{"tool.desktop"});
    EXPECT_EQ(AppLaunchers::desktopIdsAt("/opt/editor", apps), std::vector<std::string>{"ed.desktop"});
    EXPECT_EQ(AppLaunchers::desktopIdsAt("/opt/edit", apps), std::vector<std::string>{}) << "a folder holds what is below a slash";
    EXPECT_EQ(AppLaunchers::desktopIdsAt("/home/me/.local/share/applications/new.desktop", apps),
              std::vector<std::string>{"new.desktop"}) << "an entry is known by its own name";
}

TEST_F(PinnedOnPlasma, MovingAnAppTakesItsLauncherAndPuttingItBackRestoresIt) {
    tiles->remove({{"/home/me/Applications/Tool.AppImage", "/home/me/.local/share/Trash/files/Tool.AppImage"},
                   {"/home/me/Documents/letter.txt", "/home/me/.local/share/Trash/files/letter.txt"}});
    EXPECT_EQ(pinned(), "applications:org.example.Editor.desktop,applications:other.desktop");
    tiles->remove({{"/opt/editor", "/opt/.Trash-0/files/editor"}});
    EXPECT_EQ(pinned(), "applications:other.desktop");
    tiles->restore({"/home/me/Applications/Tool.AppImage"});
    tiles->restore({"/opt/editor"});
    EXPECT_EQ(pinned(), "applications:tool.desktop,applications:org.example.Editor.desktop,applications:other.desktop");
    tiles->restore({"/opt/editor"}); // nothing kept for it any more
    EXPECT_EQ(pinned(), "applications:tool.desktop,applications:org.example.Editor.desktop,applications:other.desktop");
}
