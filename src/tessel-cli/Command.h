#pragma once
// What every command of the tool shares: its name, its help, and how it runs.

#include <string>
#include <vector>

namespace tessel::cli {

// Exit statuses of the tool.
constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

struct Command {
    const char* name;
    const char* summary;
    std::string help;
    int (*run)(const std::vector<std::string>& words);
};

const std::vector<Command>& commands();

// The options every scanning command takes, as its help lists them.
extern const char* const scanOptionsHelp;
// How names that are not UTF-8 travel in --json output.
extern const char* const namesInJsonHelp;

// "tessel: " and the sentence, on standard error.
void printError(const std::string& sentence);

int runScan(const std::vector<std::string>& words);
int runMap(const std::vector<std::string>& words);
int runTrash(const std::vector<std::string>& words);
int runLargest(const std::vector<std::string>& words);
int runSearch(const std::vector<std::string>& words);
int runSnapshot(const std::vector<std::string>& words);
int runSnapshots(const std::vector<std::string>& words);
int runChanges(const std::vector<std::string>& words);
int runReport(const std::vector<std::string>& words);
int runDuplicates(const std::vector<std::string>& words);
int runVolumes(const std::vector<std::string>& words);
int runStats(const std::vector<std::string>& words);
int runActivity(const std::vector<std::string>& words);
int runApps(const std::vector<std::string>& words);
int runOwner(const std::vector<std::string>& words);
int runReceipts(const std::vector<std::string>& words);
int runReceipt(const std::vector<std::string>& words);
int runLaunchers(const std::vector<std::string>& words);
int runJunk(const std::vector<std::string>& words);
int runStartup(const std::vector<std::string>& words);
int runUninstall(const std::vector<std::string>& words);
int runLeftovers(const std::vector<std::string>& words);
int runUnused(const std::vector<std::string>& words);
int runAI(const std::vector<std::string>& words);
int runSystemData(const std::vector<std::string>& words);

} // namespace tessel::cli
