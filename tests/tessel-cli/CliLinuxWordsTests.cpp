// What the tool tells a Linux user speaks of Linux: every command's help, and
// what the commands that print sentences of their own say after they have
// worked on a small home folder. The guard's refusals and the report's page are
// read the same way with the kits.

#include <sstream>

#include "Base/MacWords.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

void expectNoMacWord(const std::string& said, const std::string& by) {
    std::istringstream lines(said);
    for (std::string line; std::getline(lines, line);)
        if (std::optional<std::string> word = MacWords::firstIn(line)) ADD_FAILURE() << by << " says " << *word << ": «" << line << "»";
}

struct LinuxWords : WithHome {};

TEST_F(LinuxWords, EveryCommandsHelpAndWorkSpeakOfLinux) {
    for (const char* command : {"--help", "scan", "largest", "search", "map", "trash", "report", "duplicates", "snapshot", "snapshots",
                                "changes", "volumes", "stats", "activity", "apps", "owner", "receipts", "receipt", "launchers", "junk", "uninstall", "leftovers", "unused",
                                "startup", "ai", "systemdata"}) {
        const Outcome help = command == std::string("--help") ? run({command}) : run({command, "--help"});
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_NE(help.out, "") << "help goes to standard output";
        expectNoMacWord(help.out + help.err, std::string(command) + " --help");
    }
    test::writeFile(home / "a.bin", 200'000);
    test::writeFile(home / "b.bin", 200'000);
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"scan", home.path()}, {"duplicates", home.path()}, {"report", home.path(), "--summary"}, {"volumes"},
             {"stats", "--samples", "2", "--interval", "0.3"}, {"activity", "--interval", "0.2"}, {"startup"}, {"ai"}, {"systemdata"}}) {
        const Outcome done = run(words);
        expectNoMacWord(done.out + done.err, "tessel " + words.front());
    }
}

} // namespace
} // namespace tessel::cli
