// tessel volumes, owner, receipts and receipt: the commands that read a
// machine's own records, its mount table and its package database, on a
// machine described under --root and on this machine against the package
// manager's own answers. Which disks are listed and how they are named, and
// how the database is read, are the kits' own, tested with them.

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "DescribedMachine.h"
#include "DiskScanKit/NameBytes.h"
#include "DpkgMachine.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
using Names = std::set<std::string>;

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

TEST(CliVolumes, EachDiskWithItsFiguresOrWhyItHasNone) {
    test::TempFolder folder;
    test::DescribedMachine machine{folder.path()};
    machine.mountTable("27 1 8:2 /@ / rw - btrfs /dev/sda2 rw,subvol=/@\n"
                       "28 27 8:2 /@home /home rw - btrfs /dev/sda2 rw,subvol=/@home\n"
                       "31 27 8:33 / /media/me/odd rw - vfat /dev/sdc1 rw\n");
    for (const char* name : {"sda2", "sdc1"}) machine.device(name);
    machine.label("caf\\xe9", "sdc1"); // a Latin-1 label udev could not keep as text
    const json volumes = runJson({"volumes", "--json", "--root", machine.root()}, As::usual, "/home/me").at("volumes");
    ASSERT_EQ(volumes.size(), 2u) << volumes;
    EXPECT_EQ(volumes[0].size(), 11u) << volumes[0];
    EXPECT_EQ(volumes[0].at("holdsHome"), true) << "/home/me is on the btrfs of \"/\"";
    EXPECT_EQ(volumes[1].at("nameBytes"), Base64::encode("caf\xe9"));
    EXPECT_EQ(volumes[1].at("capacityFailure"), "statvfs(" + machine / "/media/me/odd" + "): No such file or directory");

    const Outcome text = runTessel({"volumes", "--root=" + machine.root()}, As::usual, "/home/me");
    EXPECT_NE(text.out.find("(/): btrfs on /dev/sda2, holds the home folder\n  "), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("caf\\xe9 (/media/me/odd): vfat on /dev/sdc1\n  size unknown: statvfs("), std::string::npos) << text.out;
    expectOneErrorLine(runTessel({"volumes", "--root", folder / "dev"}), 1, folder / "dev/proc/self/mountinfo");
}

struct Packages : WithHome {
    test::DpkgMachine machine{true};
    void SetUp() override { test::installSampleSystem(machine); }
    Outcome on(std::vector<std::string> words) {
        words.insert(words.begin() + 1, {"--root", machine.root()});
        return run(std::move(words));
    }
};

TEST_F(Packages, OwnerAndReceiptAnswerFromTheDescribedDatabase) {
    // The app whose program the package "tool" lists, as a desktop entry shows it.
    chmod((machine / "usr/bin/tool.real").c_str(), 0755);
    test::writeText(machine / "usr/share/applications/tool.desktop", "[Desktop Entry]\nType=Application\nName=Tool\nExec=/usr/bin/tool.real\n");
    const Outcome outcome = on({"owner", "--json", "/bin/bash", "/usr/bin/tool.real", "/usr/bin/nothing", "/usr/lib/../bin/bash"});
    EXPECT_EQ(outcome.status, 1) << "one path has no package\n" << outcome.err;
    const json owners = json::parse(outcome.out).at("owners");
    ASSERT_EQ(owners.size(), 4u);
    EXPECT_EQ(owners[0], (json{{"path", "/bin/bash"}, {"package", "bash"}, {"packages", json::array({"bash"})}, {"source", "dpkg"}, {"app", nullptr}}));
    EXPECT_EQ(owners[1].at("app"), "Tool");
    EXPECT_EQ(owners[3].at("path"), "/usr/bin/bash");
    EXPECT_EQ(on({"owner", "/usr"}).out, "/usr: bash, libfoo1:amd64, libfoo1:i386, tool, wrapper\n");

    const json receipt = json::parse(on({"receipt", "--json", "oldpkg"}).out);
    EXPECT_EQ(receipt.at("missing"), json::array({"/etc/oldpkg gone.conf"}));
    EXPECT_TRUE(on({"receipt", "bash"}).out.starts_with("bash (ii): 5 paths still on disk, 1 gone, 1 shared with other packages\n"));
    expectOneErrorLine(on({"receipt", "nosuch"}), 1, "nosuch");
    test::writeText(machine.admin() + "/info/format", "2\n");
    expectOneErrorLine(on({"owner", "/usr"}), 1, "only format 1");
}

TEST_F(Packages, ReceiptsAgreeWithThePackageManager) {
    if (access("/usr/bin/dpkg-query", X_OK) != 0) GTEST_SKIP() << "no package manager here";
    Names ours, theirs;
    const json report = runJson({"receipts", "--json", "--root", machine.root()});
    for (const json& receipt : report.at("receipts"))
        ours.insert(receipt.at("package").get<std::string>() + " " + receipt.at("version").get<std::string>() + " " +
                    receipt.at("state").get<std::string>());
    // "NAME VERSION STATE" of each package the database still holds something of, as dpkg reads it.
    std::istringstream lines(outputOf("dpkg-query --admindir=" + quoted(machine.admin()) +
                                      " -W -f='${binary:Package} ${Version} ${db:Status-Abbrev}\\n' 2>/dev/null | sed -n 's/ *$//; / [up]n$/!p'"));
    for (std::string line; std::getline(lines, line);) theirs.insert(line);
    EXPECT_EQ(ours, theirs);
}

struct ThisMachine : WithHome {};

TEST_F(ThisMachine, PackageNamesThatAreNotUtf8KeepTheirBytes) {
    test::DpkgMachine machine(true);
    machine.install({{"Package: caf\xe9\nStatus: install ok installed\nVersion: 1", "caf\xe9", {"/usr/bin/x"}}});
    EXPECT_EQ(runJson({"owner", "--json", "--root", machine.root(), "/usr/bin/x"}).at("owners")[0].at("packageBytes"),
              Base64::encode("caf\xe9"));
}

// Random files of this machine's packages, asked of both tools at once.
TEST_F(ThisMachine, OwnersAgreeWithThePackageManager) {
    if (access("/usr/bin/dpkg", X_OK) != 0) GTEST_SKIP() << "no package manager here";
    Names diverted;
    std::ifstream diversions("/var/lib/dpkg/diversions");
    for (std::string line; std::getline(diversions, line);) diverted.insert(line);
    std::vector<std::string> files;
    std::istringstream listed(outputOf("cat /var/lib/dpkg/info/*.list | shuf --random-source=/dev/zero"));
    for (std::string path; files.size() < 300 && std::getline(listed, path);) {
        struct stat info {};
        if (path.find_first_of("'*?[\\") == std::string::npos && !diverted.contains(path) && lstat(path.c_str(), &info) == 0 &&
            S_ISREG(info.st_mode))
            files.push_back(path);
    }
    ASSERT_EQ(files.size(), 300u);

    std::string command = "dpkg -S";
    for (const std::string& file : files) command += " " + quoted(file);
    std::map<std::string, Names> theirs;
    std::istringstream lines(outputOf(command + " 2>/dev/null"));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": /");
        if (colon == std::string::npos || line.starts_with("diversion by")) continue;
        std::istringstream list(line.substr(0, colon));
        for (std::string name; std::getline(list, name, ',');)
            theirs[line.substr(colon + 2)].insert(name.substr(name.find_first_not_of(' ')));
    }
    std::vector<std::string> words{"owner", "--json"};
    words.insert(words.end(), files.begin(), files.end());
    const json owners = runJson(words).at("owners");
    ASSERT_EQ(owners.size(), files.size());
    for (const json& owner : owners) EXPECT_EQ(owner.at("packages").get<Names>(), theirs[owner.at("path")]) << owner.at("path");
}

} // namespace
} // namespace tessel::cli
