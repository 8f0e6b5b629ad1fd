// tessel: the command-line face of the scan engine. It links the Kits only, so
// it starts fast and runs where there is no display.

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "TerminalText.h"
#include "DiskScanKit/ProcessLimits.h"

namespace tessel::cli {

const std::vector<Command>& commands() {
    static const std::vector<Command> list{
        {"scan", "Scan a folder and show where its space goes",
         "usage: tessel scan [options] PATH\n"
         "\n"
         "Scans PATH into a tree of allocated sizes and prints the total, the numbers\n"
         "of files and folders, the time taken, and the 10 largest folders and files.\n"
         "Hard links count once; other disks mounted inside PATH are not entered.\n"
         "\n"
         "  --json                 print one JSON object instead of text\n"
         "  --workers N            reading threads (default: processors, 2 to 8)\n"
         "  --threshold BYTES      smallest file that is listed on its own (default 1048576)\n"
         "  --cross-devices        enter other file systems mounted inside PATH\n"
         "  --include-trash        enter volume trash folders too\n"
         "  --stall-timeout SECS   give up on a folder silent this long (default 30)\n",
         runScan},
    };
    return list;
}

void printError(const std::string& sentence) { std::fprintf(stderr, "tessel: %s\n", sentence.c_str()); }

namespace {

void printUsage(std::FILE* to) {
    std::fputs("usage: tessel COMMAND [options] [PATH]\n\nCommands:\n", to);
    for (const Command& command : commands()) std::fprintf(to, "  %-10s %s\n", command.name, command.summary);
    std::fputs("\nRun \"tessel COMMAND --help\" for a command's options.\n", to);
}

} // namespace
} // namespace tessel::cli

int main(int argc, char** argv) {
    using namespace tessel::cli;
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || words.front() == "--help" || words.front() == "-h" || words.front() == "help") {
        printUsage(words.empty() ? stderr : stdout);
        return words.empty() ? exitUsage : exitSuccess;
    }
    for (const Command& command : commands()) {
        if (words.front() != command.name) continue;
        words.erase(words.begin());
        for (const std::string& word : words) {
            if (word == "--") break;
            if (word == "--help") {
                std::fputs(command.help, stdout);
                return exitSuccess;
            }
        }
        tessel::raiseOpenFileLimit();
        try {
            return command.run(words);
        } catch (const UsageError& error) {
            // The sentence may quote an option as typed, control characters and all.
            printError(printable(error.what()) + " (see \"tessel " + command.name + " --help\")");
            return exitUsage;
        }
    }
    printError("unknown command \"" + printable(words.front()) + "\" (see \"tessel --help\")");
    return exitUsage;
}
