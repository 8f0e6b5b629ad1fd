// The session's tools asked through CommandRunner: stand-ins in a test folder
// answer as busctl and pactl do, and a folder without them leaves every
// answer unknown.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "Fixture.h"
#include "UninstallKit/SessionAnswers.h"

using namespace tessel;

namespace {

void writeProgram(const std::string& path, const std::string& script) {
    test::writeText(path, "#!/bin/sh\n" + script);
    chmod(path.c_str(), 0755);
}

} // namespace

TEST(SessionAnswers, TheToolsAnswersAreReadAndAMissingToolLeavesItUnknown) {
    test::TempFolder tools;
    writeProgram(tools / "busctl", R"json(echo '{"type":"a(ssssuu)","data":[[["sleep","Videos","a film","block",1000,2200]]]}')json");
    // Only sink-inputs answers; source-outputs fails as a pactl without a server does.
    writeProgram(tools / "pactl", R"json(if [ "$3" = sink-inputs ]; then echo '[{"corked":false,"properties":{"application.process.id":"3100"}}]'; else exit 1; fi)json");
    DesktopWindows::Settings wayland;
    wayland.waylandDisplay = "wayland-0";
    const ActivitySignals answers = SessionAnswers::signals(tools.path(), wayland);
    EXPECT_EQ(answers.assertionHolders(), PidSet{2200});
    EXPECT_EQ(answers.audioProcesses(), PidSet{3100});
    ASSERT_TRUE(answers.windows);
    EXPECT_FALSE(answers.windows()) << "a Wayland session's windows are unknown";

    const ActivitySignals none = SessionAnswers::signals(tools / "nowhere");
    EXPECT_FALSE(none.assertionHolders());
    EXPECT_FALSE(none.audioProcesses());
}
