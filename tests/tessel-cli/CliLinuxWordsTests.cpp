// What the tool tells a Linux user speaks of Linux: every command's help, and
// what each says after it has worked on a small home folder, including the
// page a report writes and the reasons the guard refuses.

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Base/MacWords.h"
#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

void expectNoMacWord(const std::string& said, const std::string& by) {
    std::istringstream lines(said);
    for (std::string line; std::getline(lines, line);)
        if (std::optional<std::string> word = MacWords::firstIn(line))
            ADD_FAILURE() << by << " says " << *word << ": «" << line << "»";
}

TEST(CliLinuxWords, EveryCommandsHelpAndWorkSpeakOfLinux) {
    const Outcome help = runTessel({"--help"});
    ASSERT_EQ(help.status, 0);
    expectNoMacWord(help.out + help.err, "tessel --help");
    for (const char* command : {"scan", "largest", "search", "map", "trash", "report", "duplicates", "snapshot",
                                "snapshots", "changes", "volumes", "apps", "owner", "receipts", "receipt", "launchers", "junk", "uninstall"}) {
        const Outcome run = runTessel({command, "--help"});
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_FALSE(run.out.empty()) << command;
        expectNoMacWord(run.out + run.err, std::string(command) + " --help");
    }

    test::TempFolder home;
    test::makeFolder(home / "Documents");
    test::writeFile(home / "Documents/a.bin", 200'000);
    test::writeFile(home / "Documents/b.bin", 200'000);
    const std::string page = home / "report.html";
    const std::vector<std::vector<std::string>> work{
        {"scan", home.path()},
        {"largest", home.path()},
        {"duplicates", home.path()},
        {"report", home.path(), "--html", page, "--summary"},
        {"volumes"},
        // Refused: the home itself, and something that is not there.
        {"trash", "--dry-run", home.path(), home / "gone"},
    };
    for (const std::vector<std::string>& words : work) {
        const Outcome run = runTessel(words, As::usual, home.path());
        expectNoMacWord(run.out + run.err, "tessel " + words.front());
    }
    std::ifstream written(page);
    ASSERT_TRUE(written) << "the report wrote its page";
    expectNoMacWord(std::string(std::istreambuf_iterator<char>(written), {}), "the report's page");
}

} // namespace
} // namespace tessel::cli
