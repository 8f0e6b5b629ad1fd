// Reading the package manager's records: its stanzas, its states, and files
// that are not what they should be.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "DpkgMachine.h"
#include "UninstallKit/DpkgDatabase.h"

using namespace tessel;
using namespace tessel::test;

TEST(DpkgStatus, StanzasFieldsAndContinuationLines) {
    const std::vector<DpkgPackage> packages = DpkgDatabase::parseStatus(
        "Package: bash\nEssential: yes\nstatus: install ok installed\nPriority: required\nVersion: 5.2.15-2+b2\n"
        "Depends: base-files (>= 2.1.12), debianutils (>= 5.6-0.1),libc6:any|  musl [amd64] , \n"
        "Description: a shell\n Package: not-a-package\n .\n\n\n\n"
        "Version: 1.0\nDescription: a stanza with no package is passed over\n\n"
        "Package: libfoo1\nStatus: deinstall ok config-files\nMulti-Arch: same\nArchitecture: amd64\nConffiles:\n"
        " /etc/foo.conf 0123456789abcdef0123456789abcdef\n /etc/foo bar.conf 0123456789abcdef0123456789abcdef obsolete\n"
        " /etc/gone.conf newconffile remove-on-upgrade\nVersion: 1:2.0-1\n\n"
        "Package: held\r\nStatus: hold reinstreq half-installed\r\nPriority: optional");
    ASSERT_EQ(packages.size(), 3u) << "a stanza with no package is passed over, a continuation line is no field";
    const DpkgPackage& bash = packages[0];
    EXPECT_EQ(bash.version, "5.2.15-2+b2");
    EXPECT_TRUE(bash.isSystem()) << "essential";
    EXPECT_EQ(bash.depends, (std::vector<std::string>{"base-files", "debianutils", "libc6", "musl"}));
    const DpkgPackage& library = packages[1];
    EXPECT_EQ(library.listName(), "libfoo1:amd64");
    EXPECT_EQ(library.stateLetters(), "rc");
    EXPECT_EQ(library.version, "1:2.0-1") << "a field after Conffiles' lines still counts";
    EXPECT_EQ(library.conffiles, (std::vector<std::string>{"/etc/foo.conf", "/etc/foo bar.conf", "/etc/gone.conf"}));
    EXPECT_EQ(packages[2].name + " " + packages[2].stateLetters(), "held hHR") << "carriage returns are not part of a value";
}

TEST(DpkgStatus, TheDesktopIsWhatItsInstalledCoreMetapackagesDependOn) {
    const std::vector<DpkgPackage> packages = DpkgDatabase::parseStatus(
        "Package: task-gnome-desktop\nStatus: install ok installed\nDepends: tasksel (= 3.73), gnome-core\n\n"
        "Package: gnome-core\nStatus: install ok installed\nDepends: nautilus (>= 43), gnome-terminal | gnome-console, eog\n\n"
        "Package: nautilus\nStatus: install ok installed\n\n"
        "Package: gnome-console\nStatus: install ok installed\n\n"
        "Package: eog\nStatus: deinstall ok config-files\n\n"
        "Package: gimp\nStatus: install ok installed\nDepends: nautilus\n\n"
        "Package: xfce4\nStatus: deinstall ok config-files\nDepends: thunar\n\n"
        "Package: thunar\nStatus: install ok installed\n");
    EXPECT_EQ(DpkgDatabase::desktopPackages(packages),
              (std::set<std::string>{"gnome-console", "gnome-core", "nautilus", "task-gnome-desktop"}))
        << "only installed packages count, on either side; an app depending on a desktop part is no part of it";
}

TEST(DpkgDiversions, ReadInThreesWithAnUnfinishedTripleLeftOut) {
    const std::vector<DpkgDiversion> diversions =
        DpkgDatabase::parseDiversions("/usr/bin/a\n/usr/bin/a.real\nwrapper\n/bin/sh\n/bin/sh.distrib\n:\n/x\n/y\n");
    ASSERT_EQ(diversions.size(), 2u);
    EXPECT_EQ(diversions[0].to, "/usr/bin/a.real");
    EXPECT_EQ(diversions[0].divertedBy, "wrapper");
    EXPECT_EQ(diversions[1].divertedBy, ":");
}

TEST(DpkgFiles, UnknownFormatsAndHostileFilesAreClearErrors) {
    DpkgMachine machine(true);
    machine.install({{"Package: a\nStatus: install ok installed", "a", {"/usr/bin/a"}}});
    EXPECT_NO_THROW(DpkgDatabase::checkFormat(machine.admin()));
    const auto failureOf = [&](auto read) -> std::string {
        try {
            read(machine.admin());
        } catch (const DpkgError& error) {
            return error.what();
        }
        return "(no failure)";
    };
    writeText(machine.admin() + "/info/format", "2\n");
    EXPECT_NE(failureOf(DpkgDatabase::checkFormat).find(machine.admin() + "/info/format"), std::string::npos);
    // A pipe in place of status would block a plain open until someone writes.
    ASSERT_EQ(unlink((machine.admin() + "/status").c_str()) | mkfifo((machine.admin() + "/status").c_str(), 0644), 0);
    EXPECT_NE(failureOf(DpkgDatabase::readStatus).find(machine.admin() + "/status"), std::string::npos);

    // A list that is a link, and a name that would climb out of info/.
    makeSymlink("/etc/passwd", machine.admin() + "/info/b.list");
    DpkgPackage linked;
    linked.name = "b";
    std::string failure;
    EXPECT_FALSE(DpkgDatabase::readFileList(machine.admin(), linked, &failure));
    EXPECT_NE(failure.find(machine.admin() + "/info/b.list"), std::string::npos) << failure;
    DpkgPackage climbing;
    climbing.name = "../../../outside";
    writeText(machine / "var/outside.list", "/usr/bin/a\n");
    EXPECT_FALSE(DpkgDatabase::readFileList(machine.admin(), climbing));
}
