// Projects' outputs in a fixture home: found by their markers, ticked only
// when pinned by a lockfile and the project has been idle, and found once.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "Fixture.h"
#include "UninstallKit/JunkFinder.h"

using namespace tessel;

namespace {

class Projects : public ::testing::Test {
protected:
    test::TempFolder home;

    // A folder for a path that ends in "/", else a file.
    void make(std::initializer_list<std::string> relatives) {
        for (const std::string& relative : relatives) test::writeText(home / relative + (relative.ends_with('/') ? ".keep" : ""), "x");
    }

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
    make({"code/site/package.json", "code/site/package-lock.json", "code/site/node_modules/a/node_modules/b/", "code/site/dist/",
          "code/loose/package.json", "code/loose/node_modules/", // no lockfile
          "code/notes/build/", "code/notes/node_modules/",        // no marker anywhere, no package.json beside it
          "code/crate/Cargo.toml", "code/crate/target/debug/", "code/cpp/CMakeLists.txt", "code/cpp/cmake-build-debug/CMakeCache.txt",
          "code/py/pyproject.toml", "code/py/src/pkg/__pycache__/",
          "Library/site/node_modules/", ".hidden/site/node_modules/", ".hidden/site/package.json"}); // never entered

    const std::vector<JunkFinder::Candidate> candidates = found(0);
    std::vector<std::string> paths;
    for (const JunkFinder::Candidate& candidate : candidates) paths.push_back(candidate.path.substr(home.path().size() + 1));
    std::ranges::sort(paths);
    EXPECT_EQ(paths, (std::vector<std::string>{"code/cpp/cmake-build-debug", "code/crate/target", "code/loose/node_modules",
                                               "code/py/src/pkg/__pycache__", "code/site/dist", "code/site/node_modules"}));
    EXPECT_TRUE(at(candidates, "code/site/node_modules")->tools.contains("npm"));
    EXPECT_EQ(at(candidates, "code/py/src/pkg/__pycache__")->name, "py __pycache__") << "named for the project, found above";
}

TEST_F(Projects, OnlyAPinnedIdleProjectsOutputIsRecommended) {
    make({"site/package.json", "site/yarn.lock", "site/node_modules/", "loose/package.json", "loose/node_modules/", "crate/Cargo.toml",
          "crate/target/"});
    EXPECT_FALSE(at(found(0), "site/node_modules")->recommended) << "the project changed in the last three months";
    const std::vector<JunkFinder::Candidate> later = found(91);
    EXPECT_TRUE(at(later, "site/node_modules")->recommended);
    EXPECT_FALSE(at(later, "loose/node_modules")->recommended) << "without a lockfile, never";
    EXPECT_FALSE(at(later, "crate/target")->recommended) << "Cargo's lockfile is missing too";
    for (int i = 0; i < 20; ++i) make({"site/src/file" + std::to_string(i)});
    EXPECT_FALSE(at(found(91, 10), "site/node_modules")->recommended) << "too many files to tell when the project last changed";
}
