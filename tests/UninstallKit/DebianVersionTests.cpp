// Debian's version order, checked against the package manager's own
// comparison where it is installed, and against the table where it is not.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "UninstallKit/DebianVersion.h"

using namespace tessel;

namespace {

struct Case {
    const char* left;
    const char* right;
    int order; // -1, 0 or 1
};

const Case cases[] = {
    {"1.0", "1.0", 0},          {"1.10", "1.9", 1},           {"1.010", "1.10", 0},        {"1.0~rc1", "1.0", -1},
    {"1.0~~", "1.0~", -1},      {"1.0~beta", "1.0~alpha", 1}, {"1.0a", "1.0+", -1},        {"1.0.1", "1.0a", 1},
    {"1.0-1", "1.0", 1},        {"1.0-0", "1.0", 0},          {"1.0-10", "1.0-9", 1},      {"1:0.1", "2.0", 1},
    {"0:2.0", "2.0", 0},        {"1.2-3-4", "1.2-3-5", -1},   {"a", "B", 1},               {"1.0A", "1.0a", -1},
    {"1.0", "1.0.~", -1},       {"1.0.", "1.0", 1},           {"2.36-9+deb12u4", "2.36-9+deb12u10", -1},
    {"123456789012345678901234567890", "123456789012345678901234567891", -1},
};

bool dpkgSays(const Case& each, const char* relation) {
    const pid_t child = fork();
    if (child == 0) {
        execl("/usr/bin/dpkg", "dpkg", "--compare-versions", each.left, relation, each.right, static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int orderOf(const char* left, const char* right) {
    const auto a = DebianVersion::parse(left);
    const auto b = DebianVersion::parse(right);
    if (!a || !b) return 99;
    const auto order = *a <=> *b;
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

} // namespace

// The table is checked against dpkg where it is installed, so a wrong row
// cannot make a wrong order pass.
TEST(DebianVersionOrder, AgreesWithTheTableBothWaysAndWithThePackageManager) {
    const bool haveDpkg = access("/usr/bin/dpkg", X_OK) == 0;
    for (const Case& each : cases) {
        EXPECT_EQ(orderOf(each.left, each.right), each.order) << each.left << " vs " << each.right;
        EXPECT_EQ(orderOf(each.right, each.left), -each.order) << each.right << " vs " << each.left;
        if (!haveDpkg) continue;
        EXPECT_EQ(dpkgSays(each, "lt") ? -1 : dpkgSays(each, "gt") ? 1 : 0, each.order)
            << "the table is wrong for " << each.left << " vs " << each.right;
    }
}

TEST(DebianVersionParts, EpochUpstreamAndRevisionAreTakenApart) {
    const auto version = DebianVersion::parse("3:1.2-3-4");
    ASSERT_TRUE(version);
    EXPECT_EQ(version->epoch, 3u);
    EXPECT_EQ(version->upstream, "1.2-3");
    EXPECT_EQ(version->revision, "4");
    for (const char* bad : {"", ":1.0", "x:1.0", "1:", "1.0 2", "-1", "1:-1"})
        EXPECT_FALSE(DebianVersion::parse(bad)) << '"' << bad << '"';
}
