// tessel trash, run as the real tool with a home folder of its own: that what
// it is given reaches the guard as typed, with the home, its sync clients and
// this very program known, and that a dry run leaves everything where it was.
// The guard's own judgements are tested with the guard.

#include <unistd.h>

#include <map>

#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
using Reasons = std::map<std::string, std::string>;

Reasons reasonsOf(const json& refused) {
    Reasons reasons;
    for (const json& refusal : refused) reasons[refusal.at("path")] = refusal.at("reason");
    return reasons;
}

struct Trash : WithHome {};

TEST_F(Trash, MovesWhatTheGuardAllowsAsTypedAndRefusesTheRestWithItsReason) {
    for (const char* file : {"photos/a.jpg", "victim", "sub/victim", "sub/dir/x", "Box/plan.odt"}) test::writeText(home / file, file);
    test::makeSymlink("sub/dir", home / "lnk");
    test::writeText(home / ".dropbox/info.json", json{{"personal", {{"path", home / "Box"}}}}.dump());

    const Outcome outcome = run({"trash", "--json", home / "photos", home / "photos/a.jpg", home / "lnk/../victim",
                                 "/etc/passwd", home / "gone", home / "Box/plan.odt"});
    EXPECT_EQ(outcome.status, 1) << "something asked for stayed where it was";
    const json report = json::parse(outcome.out);
    Reasons moved;
    for (const json& receipt : report.at("receipts")) {
        moved[receipt.at("originalPath")] = receipt.at("realPath");
        EXPECT_TRUE(receipt.at("trashedPath").get<std::string>().starts_with(home / ".local/share/Trash/files/")) << receipt;
    }
    EXPECT_EQ(moved, (Reasons{{home / "photos", home / "photos"}, {home / "lnk/../victim", home / "sub/victim"}}))
        << "the file inside the folder moves with it, once; \"..\" is taken where the kernel takes it";
    EXPECT_EQ(access((home / "victim").c_str(), F_OK), 0) << "the file the text seems to name stays";
    EXPECT_EQ(reasonsOf(report.at("refused")), (Reasons{{"/etc/passwd", "systemPath"}, {home / "gone", "missing"},
                                                        {home / "Box/plan.odt", "cloudSynced"}}));
}

TEST_F(Trash, ADryRunMovesNothingAndTheHomeAndThisProgramStay) {
    test::writeText(home / "notes.txt", "notes");
    const json planned = runJson({"trash", "--dry-run", "--json", home / "notes.txt"});
    EXPECT_EQ(planned.at("allowed").size(), 1u) << planned;
    EXPECT_EQ(access((home / "notes.txt").c_str(), F_OK), 0);
    EXPECT_NE(access((home / ".local/share/Trash").c_str(), F_OK), 0) << "not even the Trash folder is made";

    // A folder takes what is inside it, so the home, which holds the rest, is asked about alone.
    const Outcome kept = run({"trash", "--json", home.path(), TESSEL_BINARY});
    EXPECT_EQ(kept.status, 1);
    EXPECT_EQ(reasonsOf(json::parse(kept.out).at("refused")),
              (Reasons{{home.path(), "protectedFolder"}, {TESSEL_BINARY, "ownApplication"}}));
}

} // namespace
} // namespace tessel::cli
