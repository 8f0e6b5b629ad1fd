// A junk search over a real home: the scan's tree stands in for the disk,
// a folder that never answers is given up on once, and running programs hold
// their items back.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "Fixture.h"
#include "UninstallKit/JunkSearch.h"

using namespace tessel;

namespace {

JunkFinder::Settings settingsNow() {
    JunkFinder::Settings settings;
    settings.platform = Platform::linuxOS;
    settings.now = static_cast<std::int64_t>(std::time(nullptr));
    return settings;
}

std::vector<std::string> pathsOf(const std::vector<JunkItem>& items) {
    std::vector<std::string> paths;
    for (const JunkItem& item : items) paths.push_back(item.path);
    std::ranges::sort(paths);
    return paths;
}

} // namespace

TEST(JunkSearch, TheScannedHomeAnswersAsTheDiskWouldAndAHungFolderCostsOneStall) {
    test::TempFolder home;
    for (const char* file : {"work/site/package.json", "work/site/package-lock.json", ".cache/app/blob", "Downloads/tool.deb",
                             "net/.cache/huge", "work/site/node_modules/left-pad/node_modules/x"})
        test::writeText(home / file, "{}");
    for (const char* file : {".cache/app/blob", "Downloads/tool.deb", "net/.cache/huge", "work/site/node_modules/left-pad/node_modules/x"})
        test::writeFile(home / file, 2'000'000);

    const JunkPlaces places = JunkPlaces::forHome(home.path());
    const std::vector<JunkItem> fromDisk = JunkFinder(places, JunkFinder::Disk::real(), settingsNow()).find();

    // "net" never answers, like a network share that went away. The worker
    // left waiting on it outlives this test, so what it polls must too.
    const auto released = std::make_shared<std::atomic<bool>>(false);
    JunkSearchOptions options;
    options.stallTimeout = 0.3;
    options.beforeReading = [released](const std::string& path) {
        if (path.ends_with("/net"))
            while (!*released) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    };
    const std::vector<JunkItem> scanned = JunkSearch::run(places, settingsNow(), options);
    *released = true;

    EXPECT_EQ(pathsOf(scanned), (std::vector<std::string>{home / ".cache/app", home / "Downloads/tool.deb",
                                                          home / "work/site/node_modules"}))
        << "the nested node_modules once, nothing of the folder that never answered";
    ASSERT_EQ(pathsOf(fromDisk), pathsOf(scanned)) << "the disk read directly finds the same, the answering folders aside";
    for (const JunkItem& item : scanned) EXPECT_EQ(item.bytes, std::ranges::find(fromDisk, item.path, &JunkItem::path)->bytes) << item.path;
}

TEST(JunkSearch, AnItemIsInUseWhileItsToolOrItsAppRuns) {
    JunkItem npm, flatpak, idle;
    npm.path = "/h/.npm/_cacache";
    npm.tools = {"node", "npm"};
    flatpak.path = "/h/.var/app/org.gimp.GIMP/cache";
    flatpak.identifier = "org.gimp.GIMP";
    idle.path = "/h/.cache/x";
    idle.tools = {"x"};
    RunningPrograms running;
    running.names = {"npm", "bash"};
    running.flatpakApps = {"org.gimp.GIMP"};
    EXPECT_EQ(JunkSearch::inUse({npm, flatpak, idle}, running), (std::set<std::string>{npm.path, flatpak.path}));
}
