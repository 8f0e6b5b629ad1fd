// tessel owner, receipts and receipt: on a machine described under --root,
// and on this machine against the package manager's own answers.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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
        std::size_t got = 0;
        while ((got = std::fread(block, 1, sizeof block, pipe)) > 0) text.append(block, got);
        pclose(pipe);
    }
    return text;
}

std::string quoted(const std::string& word) { return "'" + word + "'"; }

bool hasDpkg() { return access("/usr/bin/dpkg", X_OK) == 0 && access("/usr/bin/dpkg-query", X_OK) == 0; }

} // namespace

TEST(CliPackages, OwnersOnADescribedMachine) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    // The app whose program the package "tool" lists, as a desktop entry shows it.
    chmod((machine / "usr/bin/tool.real").c_str(), 0755);
    std::filesystem::create_directories(machine / "usr/share/applications");
    writeText(machine / "usr/share/applications/tool.desktop", "[Desktop Entry]\nType=Application\nName=Tool\nExec=/usr/bin/tool.real\n");
    TempFolder home;
    const Outcome run = runTessel({"owner", "--json", "--root", machine.root(), "/usr/bin/bash", "/bin/bash",
                                   "/usr/bin/tool.real", "/usr/bin/nothing", "/usr/lib/../bin/bash"},
                                  As::usual, home.path());
    EXPECT_EQ(run.status, 1) << "one path has no package\n" << run.err;
    const json owners = json::parse(run.out)["owners"];
    ASSERT_EQ(owners.size(), 5u);
    EXPECT_EQ(owners[0]["package"], "bash");
    EXPECT_EQ(owners[1]["package"], "bash");
    EXPECT_EQ(owners[2]["package"], "tool");
    EXPECT_EQ(owners[2]["app"], "Tool");
    EXPECT_TRUE(owners[0]["app"].is_null()) << "bash has no desktop entry";
    EXPECT_TRUE(owners[3]["package"].is_null());
    EXPECT_EQ(owners[3]["packages"], json::array());
    EXPECT_TRUE(owners[3]["app"].is_null());
    EXPECT_EQ(owners[4]["path"], "/usr/bin/bash");
    EXPECT_EQ(owners[4]["package"], "bash");

    const Outcome text = runTessel({"owner", "--root", machine.root(), "/usr"}, As::usual, home.path());
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out, "/usr: bash, libfoo1:amd64, libfoo1:i386, tool, wrapper\n");

    writeText(machine.admin() + "/info/format", "2\n");
    const Outcome refused = runTessel({"owner", "--root", machine.root(), "/usr"}, As::usual, home.path());
    expectOneErrorLine(refused, 1, "only format 1");
}

TEST(CliPackages, ReceiptsAgreeWithThePackageManagerOnADescribedMachine) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    const Outcome run = runTessel({"receipts", "--json", "--root", machine.root()});
    ASSERT_EQ(run.status, 0) << run.err;
    std::set<std::string> ours;
    const json report = json::parse(run.out);
    for (const json& receipt : report["receipts"]) {
        ours.insert(receipt["package"].get<std::string>() + " " + receipt["version"].get<std::string>() + " " +
                    receipt["state"].get<std::string>());
        EXPECT_EQ(receipt["installed"].is_null(), receipt["state"] == "rc");
    }
    EXPECT_EQ(ours.size(), 6u);
    if (!hasDpkg()) GTEST_SKIP() << "no dpkg-query here to compare with";
    std::istringstream theirs(outputOf("dpkg-query --admindir=" + quoted(machine.admin()) +
                                       " -W -f='${db:Status-Abbrev}|${binary:Package} ${Version}\\n' 2>/dev/null"));
    std::set<std::string> expected;
    for (std::string line; std::getline(theirs, line);) {
        const std::size_t bar = line.find('|');
        std::string state = line.substr(0, bar);
        state.erase(std::remove(state.begin(), state.end(), ' '), state.end());
        if (state == "un" || state == "pn") continue;
        expected.insert(line.substr(bar + 1) + " " + state);
    }
    EXPECT_EQ(ours, expected);
}

TEST(CliPackages, ReceiptOfAPackageOnADescribedMachine) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    TempFolder home;
    const Outcome run = runTessel({"receipt", "--json", "--root", machine.root(), "oldpkg"}, As::usual, home.path());
    ASSERT_EQ(run.status, 0) << run.err;
    const json receipt = json::parse(run.out);
    EXPECT_EQ(receipt["package"], "oldpkg");
    EXPECT_EQ(receipt["existing"], json::array({"/etc/oldpkg.conf"}));
    EXPECT_EQ(receipt["missing"], json::array({"/etc/oldpkg gone.conf"}));
    EXPECT_EQ(receipt["unchecked"], json::array());
    EXPECT_EQ(receipt["shared"], json::array());

    const Outcome text = runTessel({"receipt", "--root", machine.root(), "bash"}, As::usual, home.path());
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out.substr(0, text.out.find('\n')),
              "bash (ii): 5 paths still on disk, 1 gone, 1 shared with other packages");

    expectOneErrorLine(runTessel({"receipt", "--root", machine.root(), "nosuch"}, As::usual, home.path()), 1, "nosuch");
}

// Random files of this machine's packages, asked of both tools at once.
TEST(CliPackages, OwnersAgreeWithThePackageManagerOnThisMachine) {
    if (!hasDpkg()) GTEST_SKIP() << "no package manager here";
    std::istringstream names(outputOf("dpkg-query -W -f='${db:Status-Abbrev}|${binary:Package}\\n'"));
    std::vector<std::string> files;
    std::set<std::string> diverted;
    {
        std::ifstream diversions("/var/lib/dpkg/diversions");
        for (std::string line; std::getline(diversions, line);) diverted.insert(line);
    }
    for (std::string line; std::getline(names, line);) {
        if (!line.starts_with("ii")) continue;
        const std::string package = line.substr(line.find('|') + 1);
        std::ifstream list("/var/lib/dpkg/info/" + package + ".list");
        for (std::string path; std::getline(list, path);) {
            struct stat info {};
            if (path.find_first_of("'*?[\\") != std::string::npos || diverted.contains(path)) continue;
            if (lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) files.push_back(path);
        }
    }
    ASSERT_GT(files.size(), 1000u);
    std::mt19937 random(13);
    std::shuffle(files.begin(), files.end(), random);
    files.resize(300);

    std::string command = "dpkg -S";
    for (const std::string& file : files) command += " " + quoted(file);
    std::map<std::string, std::set<std::string>> theirs;
    std::istringstream lines(outputOf(command + " 2>/dev/null"));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": /");
        if (colon == std::string::npos || line.starts_with("diversion by")) continue;
        std::set<std::string>& packages = theirs[line.substr(colon + 2)];
        std::istringstream list(line.substr(0, colon));
        for (std::string name; std::getline(list, name, ',');) packages.insert(name.substr(name.find_first_not_of(' ')));
    }

    TempFolder home;
    std::vector<std::string> words{"owner", "--json", "/usr/bin/bash"};
    words.insert(words.end(), files.begin(), files.end());
    const Outcome run = runTessel(words, As::usual, home.path());
    ASSERT_EQ(run.status, 0) << run.err;
    const json owners = json::parse(run.out)["owners"];
    ASSERT_EQ(owners.size(), files.size() + 1);
    EXPECT_EQ(owners[0]["package"], "bash") << "listed as /bin/bash";
    int compared = 0;
    for (std::size_t i = 1; i < owners.size(); ++i) {
        const std::string path = owners[i]["path"];
        std::set<std::string> ours;
        for (const json& name : owners[i]["packages"]) ours.insert(name.get<std::string>());
        EXPECT_EQ(ours, theirs[path]) << path;
        ++compared;
    }
    EXPECT_EQ(compared, 300);
}

TEST(CliPackages, PackageNamesThatAreNotUtf8KeepTheirBytes) {
    DpkgMachine machine(true);
    machine.install({{"Package: caf\xe9\nStatus: install ok installed\nVersion: 1", "caf\xe9", {"/usr/bin/x"}}});
    TempFolder home;
    const Outcome run = runTessel({"owner", "--json", "--root", machine.root(), "/usr/bin/x"}, As::usual, home.path());
    ASSERT_EQ(run.status, 0) << run.err;
    const json owner = json::parse(run.out)["owners"][0];
    EXPECT_EQ(owner["package"], "caf\xef\xbf\xbd");
    EXPECT_EQ(owner["packageBytes"], "Y2Fm6Q==");
}
