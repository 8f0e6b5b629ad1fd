// Projects' outputs in a fixture home: found by their markers, ticked only
// when pinned by a lockfile and the project has been idle, and found once.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "Fixture.h"
#include "UninstallKit/JunkFinder.h"

using namespace tessel;

namespace {

class Projects : public ::testing::Test {
protected:
    test::TempFolder home;

    void file(const std::string& relative) {
        std::filesystem::create_directories(std::filesystem::path(home / relative).parent_path());
        std::ofstream(home / relative) << "x";
    }
    void folder(const std::string& relative) { std::filesystem::create_directories(home / relative); }

    // The candidates as of `daysLater` days from now: every file here was made today.
    std::vector<JunkFinder::Candidate> found(int daysLater, int budget = 2'000) {
        JunkFinder::Settings settings;
        settings.now = static_cast<std::int64_t>(std::time(nullptr)) + std::int64_t{daysLater} * 86'400;
        settings.projectStateBudget = budget;
        return JunkFinder(JunkPlaces::forHome(home.path()), JunkFinder::Disk::real(), settings).projectCandidates();
    }
    const JunkFinder::Candidate* at(const std::vector<JunkFinder::Candidate>& candidates, const std::string& relative) {
        const auto found = std::ranges::find(candidates, home / relative, &JunkFinder::Candidate::path);
        return found == candidates.end() ? nullptr : &*found;
    }
};

} // namespace

TEST_F(Projects, OutputsNeedTheirProjectsProofAndAreFoundOnce) {
    file("code/site/package.json");
    file("code/site/package-lock.json");
    folder("code/site/node_modules/a/node_modules/b");
    folder("code/site/dist");
    file("code/loose/package.json"); // no lockfile
    folder("code/loose/node_modules");
    folder("code/notes/build"); // no marker anywhere
    folder("code/notes/node_modules"); // no package.json beside it
    file("code/crate/Cargo.toml");
    folder("code/crate/target/debug");
    file("code/cpp/CMakeLists.txt");
    file("code/cpp/cmake-build-debug/CMakeCache.txt");
    file("code/py/pyproject.toml");
    folder("code/py/src/pkg/__pycache__");
    folder("Library/site/node_modules"); // never entered
    folder(".hidden/site/node_modules");
    file(".hidden/site/package.json");

    const std::vector<JunkFinder::Candidate> candidates = found(0);
    std::vector<std::string> paths;
    for (const JunkFinder::Candidate& candidate : candidates) paths.push_back(candidate.path.substr(home.path().size() + 1));
    std::ranges::sort(paths);
    EXPECT_EQ(paths, (std::vector<std::string>{"code/cpp/cmake-build-debug", "code/crate/target", "code/loose/node_modules",
                                               "code/py/src/pkg/__pycache__", "code/site/dist", "code/site/node_modules"}));
    const JunkFinder::Candidate& modules = *at(candidates, "code/site/node_modules");
    EXPECT_EQ(modules.name, "site node_modules");
    EXPECT_TRUE(modules.tools.contains("npm"));
    EXPECT_EQ(at(candidates, "code/py/src/pkg/__pycache__")->name, "py __pycache__") << "named for the project, found above";
    EXPECT_NE(at(candidates, "code/crate/target")->note.find("Any app or archive built into it goes with it."), std::string::npos);
}

TEST_F(Projects, OnlyAPinnedIdleProjectsOutputIsRecommended) {
    file("site/package.json");
    file("site/yarn.lock");
    folder("site/node_modules");
    file("loose/package.json");
    folder("loose/node_modules");
    file("crate/Cargo.toml");
    folder("crate/target");

    const std::vector<JunkFinder::Candidate> today = found(0);
    EXPECT_FALSE(at(today, "site/node_modules")->recommended);
    EXPECT_EQ(at(today, "site/node_modules")->note,
              "npm install brings it back, from yarn.lock. Not ticked for you: the project changed in the last three months.");

    const std::vector<JunkFinder::Candidate> later = found(91);
    EXPECT_TRUE(at(later, "site/node_modules")->recommended);
    EXPECT_EQ(at(later, "site/node_modules")->note,
              "Nothing in the project has changed for months. npm install brings it back, the same versions, from yarn.lock.");
    EXPECT_FALSE(at(later, "loose/node_modules")->recommended) << "without a lockfile, never";
    EXPECT_EQ(at(later, "loose/node_modules")->note,
              "npm install brings it back. Not ticked for you: without a lockfile, the versions it installs may differ.");
    EXPECT_FALSE(at(later, "crate/target")->recommended) << "Cargo's lockfile is missing too";

    for (int i = 0; i < 20; ++i) file("site/src/file" + std::to_string(i));
    const std::vector<JunkFinder::Candidate> tooBig = found(91, 10);
    EXPECT_FALSE(at(tooBig, "site/node_modules")->recommended);
    EXPECT_NE(at(tooBig, "site/node_modules")->note.find("too big, or too closed"), std::string::npos);
}
