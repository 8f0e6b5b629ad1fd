#pragma once
// The real tool, run the way a person or a script runs it: its exit status and
// what it writes on each stream.

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Fixture.h"

namespace tessel::cli {

struct Outcome {
    int status = -1;
    std::string out, err;
};

// Standard input is /dev/null and standard output a file. Standard error is a pipe, or a
// pseudo-terminal for `terminal`. `nobody` loses root's power to read any folder, so it
// needs a temporary folder that everyone may pass through. `withoutThreads` is as
// `nobody` when the tests run as root (root is never held to the process limit), with
// the limit on processes lowered so that no thread can be started.
enum class As { usual, nobody, terminal, withoutThreads };

// A non-empty `home` becomes the tool's home folder, and its Trash the one under it, so
// a test never touches the real one. Throws std::system_error when the machinery around
// the tool fails.
Outcome runTessel(std::vector<std::string> words, As as = As::usual, const std::string& home = {});

// A run that must succeed with nothing on standard error: its report, parsed
// (a parse error fails the test, as output that is not JSON should).
nlohmann::json runJson(std::vector<std::string> words, As as = As::usual, const std::string& home = {});

// A failure is one line on standard error, holding `mention`, and nothing on standard output.
void expectOneErrorLine(const Outcome& run, int status, const std::string& mention);

// Runs with a home folder of the test's own, so the Trash, the snapshots and the settings the tool uses are the test's.
struct WithHome : ::testing::Test {
    test::TempFolder home;
    Outcome run(std::vector<std::string> words, As as = As::usual) { return runTessel(std::move(words), as, home.path()); }
    nlohmann::json runJson(std::vector<std::string> words) { return cli::runJson(std::move(words), As::usual, home.path()); }
};

} // namespace tessel::cli
