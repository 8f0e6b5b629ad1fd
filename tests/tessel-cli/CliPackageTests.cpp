// tessel owner, receipts and receipt: on a machine described under --root,
// and on this machine against the package manager's own answers.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "DpkgMachine.h"
#include "Fixture.h"
#include "ToolRun.h"

using namespace tessel;
using namespace tessel::cli;
using namespace tessel::test;
using json = nlohmann::json;

namespace {

// Standard output of a shell command line; its words are quoted by the caller.
std::string outputOf(const std::string& command) {
    std::string text;
    if (std::FILE* pipe = popen(command.c_str(), "r")) {
        char block[65536];
        for (std::size_t got; (got = std::fread(block, 1, sizeof block, pipe)) > 0;) text.append(block, got);
        pclose(pipe);
    }
    return text;
}

std::string quoted(const std::string& word) { return "'" + word + "'"; }

bool hasDpkg() { return access("/usr/bin/dpkg", X_OK) == 0 && access("/usr/bin/dpkg-query", X_OK) == 0; }

struct DescribedPackages : testing::Test {
    DpkgMachine machine{true};
    TempFolder home;
    void SetUp() override { installSampleSystem(machine); }
    Outcome run(std::vector<std::string> words) {
        words.insert(words.begin() + 1, {"--root", machine.root()});
        return runTessel(std::move(words), As::usual, home.path());
    }
};

} // namespace

TEST_F(DescribedPackages, OwnerNamesThePackageAndTheAppOfEachPath) {
    // The app whose program the package "tool" lists, as a desktop entry shows it.
    chmod((machine / "usr/bin/tool.real").c_str(), 0755);
    std::filesystem::create_directories(machine / "usr/share/applications");
    writeText(machine / "usr/share/applications/tool.desktop", "[Desktop Entry]\nType=Application\nName=Tool\nExec=/usr/bin/tool.real\n");
    const Outcome outcome = run({"owner", "--json", "/bin/bash", "/usr/bin/tool.real", "/usr/bin/nothing", "/usr/lib/../bin/bash"});
    EXPECT_EQ(outcome.status, 1) << "one path has no package\n" << outcome.err;
    const json owners = json::parse(outcome.out).at("owners");
    ASSERT_EQ(owners.size(), 4u);
    EXPECT_EQ(owners[0], (json{{"path", "/bin/bash"}, {"package", "bash"}, {"packages", json::array({"bash"})}, {"source", "dpkg"}, {"app", nullptr}}));
    EXPECT_EQ(owners[1].at("package"), "tool");
    EXPECT_EQ(owners[1].at("app"), "Tool");
    EXPECT_EQ(owners[2], (json{{"path", "/usr/bin/nothing"}, {"package", nullptr}, {"packages", json::array()}, {"source", nullptr}, {"app", nullptr}}));
    EXPECT_EQ(owners[3].at("path"), "/usr/bin/bash");
    EXPECT_EQ(owners[3].at("package"), "bash");

    const Outcome text = run({"owner", "/usr"});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out, "/usr: bash, libfoo1:amd64, libfoo1:i386, tool, wrapper\n");
    writeText(machine.admin() + "/info/format", "2\n");
    expectOneErrorLine(run({"owner", "/usr"}), 1, "only format 1");
}

TEST_F(DescribedPackages, ReceiptsAgreeWithThePackageManager) {
    const json report = runJson({"receipts", "--json", "--root", machine.root()});
    std::set<std::string> ours;
    for (const json& receipt : report.at("receipts")) {
        ours.insert(receipt.at("package").get<std::string>() + " " + receipt.at("version").get<std::string>() + " " +
                    receipt.at("state").get<std::string>());
        EXPECT_EQ(receipt.at("installed").is_null(), receipt.at("state") == "rc");
    }
    EXPECT_EQ(ours.size(), 6u);
    if (!hasDpkg()) GTEST_SKIP() << "no dpkg-query here to compare with";
    std::istringstream theirs(outputOf("dpkg-query --admindir=" + quoted(machine.admin()) +
                                       " -W -f='${db:Status-Abbrev}|${binary:Package} ${Version}\\n' 2>/dev/null"));
    std::set<std::string> expected;
    for (std::string line; std::getline(theirs, line);) {
        std::string state = line.substr(0, line.find('|'));
        std::erase(state, ' ');
        if (state != "un" && state != "pn") expected.insert(line.substr(line.find('|') + 1) + " " + state);
    }
    EXPECT_EQ(ours, expected);
}

TEST_F(DescribedPackages, ReceiptSplitsAPackagesPaths) {
    const Outcome outcome = run({"receipt", "--json", "oldpkg"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json receipt = json::parse(outcome.out);
    EXPECT_EQ(receipt.at("existing"), json::array({"/etc/oldpkg.conf"}));
    EXPECT_EQ(receipt.at("missing"), json::array({"/etc/oldpkg gone.conf"}));
    const Outcome text = run({"receipt", "bash"});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(linesOf(text.out).at(0), "bash (ii): 5 paths still on disk, 1 gone, 1 shared with other packages");
    expectOneErrorLine(run({"receipt", "nosuch"}), 1, "nosuch");
}

TEST(CliPackages, PackageNamesThatAreNotUtf8KeepTheirBytes) {
    DpkgMachine machine(true);
    machine.install({{"Package: caf\xe9\nStatus: install ok installed\nVersion: 1", "caf\xe9", {"/usr/bin/x"}}});
    TempFolder home;
    const json owner = runJson({"owner", "--json", "--root", machine.root(), "/usr/bin/x"}, As::usual, home.path())["owners"][0];
    EXPECT_EQ(owner.at("package"), "caf\xef\xbf\xbd");
    EXPECT_EQ(owner.at("packageBytes"), "Y2Fm6Q==");
}

// Random files of this machine's packages, asked of both tools at once.
TEST(CliPackages, OwnersAgreeWithThePackageManagerOnThisMachine) {
    if (!hasDpkg()) GTEST_SKIP() << "no package manager here";
    std::istringstream names(outputOf("dpkg-query -W -f='${db:Status-Abbrev}|${binary:Package}\\n'"));
    std::set<std::string> diverted;
    std::ifstream diversions("/var/lib/dpkg/diversions");
    for (std::string line; std::getline(diversions, line);) diverted.insert(line);
    std::vector<std::string> files;
    for (std::string line; std::getline(names, line);) {
        if (!line.starts_with("ii")) continue;
        std::ifstream list("/var/lib/dpkg/info/" + line.substr(line.find('|') + 1) + ".list");
        for (std::string path; std::getline(list, path);) {
            struct stat info {};
            if (path.find_first_of("'*?[\\") != std::string::npos || diverted.contains(path)) continue;
            if (lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) files.push_back(path);
        }
    }
    ASSERT_GT(files.size(), 1000u);
    std::shuffle(files.begin(), files.end(), std::mt19937(13));
    files.resize(300);

    std::string command = "dpkg -S";
    for (const std::string& file : files) command += " " + quoted(file);
    std::map<std::string, std::set<std::string>> theirs;
    std::istringstream lines(outputOf(command + " 2>/dev/null"));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": /");
        if (colon == std::string::npos || line.starts_with("diversion by")) continue;
        std::istringstream list(line.substr(0, colon));
        for (std::string name; std::getline(list, name, ',');)
            theirs[line.substr(colon + 2)].insert(name.substr(name.find_first_not_of(' ')));
    }

    TempFolder home;
    std::vector<std::string> words{"owner", "--json"};
    words.insert(words.end(), files.begin(), files.end());
    const json owners = runJson(words, As::usual, home.path()).at("owners");
    ASSERT_EQ(owners.size(), files.size());
    for (const json& owner : owners) {
        std::set<std::string> ours;
        for (const json& name : owner.at("packages")) ours.insert(name.get<std::string>());
        EXPECT_EQ(ours, theirs[owner.at("path")]) << owner.at("path");
    }
}
