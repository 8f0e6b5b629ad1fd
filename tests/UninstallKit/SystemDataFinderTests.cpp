// The system data finder on fixture roots: a Linux machine with three
// kernels, Flatpak runtimes used and not, snaps, swap and caches, what its
// tools would answer given by the tests; a folder this user can't read; and
// the Mac's places and tools' answers read as the Mac gives them.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "Fixture.h"
#include "UninstallKit/SystemDataFinder.h"

using namespace tessel;

namespace {

namespace fs = std::filesystem;

class SystemRoot : public ::testing::Test {
protected:
    test::TempFolder folder;
    std::string root = folder / "root";
    std::optional<std::string> running;

    std::string file(const std::string& path, std::int64_t bytes = 5000) const {
        fs::create_directories(fs::path(root + path).parent_path());
        test::writeFile(root + path, bytes);
        return root + path;
    }
    SystemDataFinder finder(Platform platform = Platform::linuxOS) const {
        SystemDataFinder::Settings settings;
        settings.platform = platform;
        settings.root = root;
        settings.home = folder / "home";
        settings.kernelRelease = [this] { return running; };
        return SystemDataFinder(settings);
    }
    static std::vector<std::string> ids(const std::vector<SystemDataRow>& rows) {
        std::vector<std::string> found;
        for (const SystemDataRow& row : rows) found.push_back(row.id);
        return found;
    }
    // A Flatpak deployment of the system installation with its metadata.
    void flatpak(const std::string& kind, const std::string& id, const std::string& branch, const std::string& metadata) const {
        const std::string branchFolder = root + "/var/lib/flatpak/" + kind + "/" + id + "/x86_64/" + branch;
        test::writeText(branchFolder + "/abc123/metadata", metadata);
        test::writeFile(branchFolder + "/abc123/files.bin", 20'000);
        fs::create_directory_symlink("abc123", branchFolder + "/active");
        if (kind == "app") fs::create_directory_symlink("x86_64/" + branch, root + "/var/lib/flatpak/app/" + id + "/current");
    }
};

TEST_F(SystemRoot, KernelsOtherThanTheRunningOneAndTheNewestAreOld) {
    for (const char* release : {"6.1.0-9-amd64", "6.1.0-10-amd64", "6.1.0-11-amd64"}) {
        file("/usr/lib/modules/" + std::string(release) + "/kernel/fs.ko", 40'000);
        file("/boot/vmlinuz-" + std::string(release), 8000);
        file("/boot/initrd.img-" + std::string(release), 12'000);
    }
    file("/var/lib/dpkg/status", 10);
    running = "6.1.0-9-amd64";
    std::vector<std::string> unreadable;
    const std::vector<SystemDataRow> old = finder().kernels(unreadable);
    ASSERT_EQ(ids(old), std::vector<std::string>{"kernel:6.1.0-10-amd64"}) << "the running one is never old; 11 is newer than 9 and 10";
    EXPECT_EQ(old[0].howToRemove, "sudo apt purge linux-image-6.1.0-10-amd64");
    EXPECT_EQ(old[0].bytes, test::allocatedOf(root + "/usr/lib/modules/6.1.0-10-amd64/kernel/fs.ko") +
                                test::allocatedOf(root + "/boot/vmlinuz-6.1.0-10-amd64") +
                                test::allocatedOf(root + "/boot/initrd.img-6.1.0-10-amd64"));
    EXPECT_FALSE(old[0].canMove);
    running.reset();
    EXPECT_EQ(ids(finder().kernels(unreadable)), (std::vector<std::string>{"kernel:6.1.0-10-amd64", "kernel:6.1.0-9-amd64"}))
        << "where the running one can't be told, only the newest stays";
}

TEST_F(SystemRoot, AFlatpakRuntimeNoAppNamesIsListedAndWhatAnAppOrItsRuntimeTakesIsNot) {
    flatpak("app", "org.gimp.GIMP", "stable", "[Application]\nname=org.gimp.GIMP\nruntime=org.gnome.Platform/x86_64/45\n");
    flatpak("runtime", "org.gnome.Platform", "45", "[Runtime]\nname=org.gnome.Platform\n\n[Extension org.freedesktop.Platform.GL]\nversion=23.08\n");
    flatpak("runtime", "org.gnome.Platform", "43", "[Runtime]\nname=org.gnome.Platform\n");
    flatpak("runtime", "org.freedesktop.Platform.GL.default", "23.08", "[Runtime]\nname=org.freedesktop.Platform.GL.default\n");
    flatpak("runtime", "org.gimp.GIMP.Locale", "stable", "[Runtime]\nname=org.gimp.GIMP.Locale\n");
    std::vector<std::string> unreadable;
    const std::vector<SystemDataRow> rows = finder().flatpakRuntimes(unreadable);
    ASSERT_EQ(ids(rows), std::vector<std::string>{"flatpakRuntime:org.gnome.Platform/x86_64/43"});
    EXPECT_EQ(rows[0].howToRemove, "sudo flatpak uninstall --system --unused");
    EXPECT_EQ(rows[0].path, root + "/var/lib/flatpak/runtime/org.gnome.Platform/x86_64/43/abc123");
    EXPECT_GE(rows[0].bytes, 20'000);
}

TEST_F(SystemRoot, CachesSnapsSwapAndTheJournalAreRowsWithTheirCommands) {
    const std::string deb = file("/var/cache/apt/archives/tool_1.0_amd64.deb", 60'000);
    file("/var/lib/snapd/snaps/core22_100.snap", 30'000);
    file("/var/lib/snapd/snaps/core22_120.snap", 30'000);
    file("/snap/core22/120/meta/snap.yaml", 10);
    fs::create_directory_symlink("120", root + "/snap/core22/current");
    const std::string swap = file("/swap file", 16'000);
    test::writeText(root + "/proc/swaps", "Filename\tType\tSize\tUsed\tPriority\n/swap\\040file file 16 0 -2\n/dev/sda3 partition 9 0 -3\n");
    file("/var/log/syslog", 3000);
    const std::string rotated = file("/var/log/apt/history.log.2.gz", 3000);
    file("/var/log/journal/abc/system.journal", 8000);

    SystemDataFinder::Settings settings;
    settings.root = root;
    settings.home = folder / "home";
    settings.journalUsage = [] { return std::optional<std::string>("Archived and active journals take up 1.5M in the file system."); };
    settings.containerUsage = [](const std::string& program) -> std::optional<std::string> {
        if (program != "docker") return std::nullopt;
        return R"x({"Active":"1","Reclaimable":"1.2GB (50%)","Size":"2.4GB","TotalCount":"3","Type":"Images"})x"
               "\n"
               R"x({"Active":"0","Reclaimable":"0B","Size":"0B","TotalCount":"0","Type":"Build Cache"})x";
    };
    const SystemDataReport report = SystemDataFinder(settings).find();
    EXPECT_EQ(ids(report.rows), (std::vector<std::string>{"aptCache", "journal", "rotatedLogs", "snap:core22_100", "docker:images",
                                                          "swap:/swap file"}));
    EXPECT_EQ(report.rows[0].howToRemove, "sudo apt-get clean");
    EXPECT_EQ(report.rows[1].bytes, test::allocatedOf(root + "/var/log/journal/abc/system.journal"))
        << "a journal that can be read is measured, not asked";
    EXPECT_EQ(report.rows[2].bytes, test::allocatedOf(rotated)) << "only the rotated log";
    EXPECT_EQ(report.rows[3].howToRemove, "sudo snap remove core22 --revision=100");
    EXPECT_EQ(report.rows[4].bytes, 2'400'000'000);
    EXPECT_EQ(report.rows[4].howToRemove, "docker image prune -a");
    EXPECT_EQ(report.rows[5].path, swap);
    EXPECT_EQ(report.rows[5].howToRemove, "sudo swapoff /swap file && sudo rm /swap file");
    EXPECT_TRUE(report.unreadable.empty());
    EXPECT_EQ(SystemDataFinder::journalBytes("Archived and active journals take up 1.5M in the file system."), 1'572'864);
    EXPECT_EQ(SystemDataFinder::journalBytes("No journal files were found."), std::nullopt);
}

TEST_F(SystemRoot, AHardLinkCountsOnceOnlyRotatedLogsCountAndEveryDisksTrashIsARow) {
    const std::string blob = file("/var/lib/flatpak/repo/objects/ab/cdef.file", 40'000);
    fs::create_directories(root + "/var/tmp/run");
    test::makeHardLink(blob, root + "/var/tmp/run/one");
    test::makeHardLink(blob, root + "/var/tmp/run/two");
    EXPECT_EQ(SystemDataFinder::measured(root + "/var/tmp").bytes, test::allocatedOf(blob));

    std::int64_t rotated = 0;
    for (const char* name : {"syslog.1", "auth.log-20240101", "apt/kern.log.2.gz", "dpkg.log.old"}) rotated += test::allocatedOf(file("/var/log/" + std::string(name)));
    for (const char* name : {"syslog", "lastlog", "Xorg.0.log", "apt/history.log", "app-2024.log"}) file("/var/log/" + std::string(name));
    std::vector<std::string> unreadable;
    const std::vector<SystemDataRow> logs = finder().logs(unreadable);
    ASSERT_EQ(ids(logs), std::vector<std::string>{"rotatedLogs"});
    EXPECT_EQ(logs[0].bytes, rotated);

    const std::string uid = std::to_string(geteuid());
    test::writeText(root + "/proc/self/mountinfo", "20 1 8:1 / / rw - ext4 /dev/sda1 rw\n21 20 8:2 / /mnt/data rw - ext4 /dev/sda2 rw\n"
                                                   "22 20 0:5 / /run rw - tmpfs tmpfs rw\n");
    file("/mnt/data/.Trash-" + uid + "/files/old.iso", 30'000);
    file("/run/.Trash-" + uid + "/files/gone", 30'000);
    file("/home/.Trash-" + uid + "/files/nothing-mounted-here", 30'000);
    const std::vector<SystemDataRow> trashes = finder().trashes(unreadable);
    ASSERT_EQ(ids(trashes), std::vector<std::string>{"trash:" + root + "/mnt/data/.Trash-" + uid}) << "local disks only; the home's is empty";
    EXPECT_EQ(trashes[0].title, "The Trash of the disk at " + root + "/mnt/data");
    EXPECT_TRUE(unreadable.empty());
}

struct UnprivilegedSystemRoot : SystemRoot {};

TEST_F(UnprivilegedSystemRoot, AFolderThatCantBeReadIsListedNotCounted) {
    if (geteuid() == 0) GTEST_SKIP() << "root reads every folder; scripts/run-unprivileged runs this as an ordinary user";
    file("/var/cache/apt/archives/tool.deb", 60'000);
    const std::string kept = file("/var/tmp/mine/notes.txt", 9000);
    file("/var/tmp/theirs/secret", 90'000);
    const std::string archives = root + "/var/cache/apt/archives", theirs = root + "/var/tmp/theirs";
    ASSERT_EQ(chmod(archives.c_str(), 0), 0);
    ASSERT_EQ(chmod(theirs.c_str(), 0), 0);
    const SystemDataReport report = finder().find();
    chmod(archives.c_str(), 0755);
    chmod(theirs.c_str(), 0755);
    EXPECT_EQ(report.unreadable, (std::vector<std::string>{archives, theirs}));
    ASSERT_EQ(ids(report.rows), std::vector<std::string>{"varTmp"}) << "no row that says an unreadable folder is empty";
    EXPECT_LT(report.rows[0].bytes, 90'000) << "what could be read, without what couldn't";
    EXPECT_GE(report.rows[0].bytes, test::allocatedOf(kept));
}

TEST_F(SystemRoot, TheMacsSnapshotsRuntimesAndBackupsReadAsTheMacGivesThem) {
    const std::vector<SystemDataFinder::LocalSnapshot> snapshots = SystemDataFinder::snapshots(
        "Snapshots for disk /:\ncom.apple.TimeMachine.2026-01-02-030405.local (dataless)\nno date here\n"
        "com.apple.TimeMachine.2025-12-31-235959.local\n",
        3600);
    ASSERT_EQ(snapshots.size(), 2u);
    EXPECT_EQ(snapshots[0], (SystemDataFinder::LocalSnapshot{1'767'225'599 - 3600, false})) << "sorted by date";
    EXPECT_EQ(snapshots[1], (SystemDataFinder::LocalSnapshot{1'767'323'045 - 3600, true}));
    EXPECT_TRUE(SystemDataFinder::snapshots("", 0).empty());

    const auto runtimes = SystemDataFinder::parseRuntimes(
        R"({"A1":{"identifier":"A1","runtimeIdentifier":"com.apple.CoreSimulator.SimRuntime.iOS-17-2","sizeBytes":7000000000,
                  "lastUsedAt":"2025-03-04T10:11:12Z"},"B2":{"sizeBytes":5}, "C3": 4})");
    ASSERT_EQ(runtimes.size(), 2u);
    EXPECT_EQ(runtimes[0].name, "A runtime");
    EXPECT_EQ(runtimes[1], (SystemDataReport::SimulatorRuntime{"A1", "iOS 17.2", 7'000'000'000, 1'741'083'072}));

    const std::string home = folder / "home";
    fs::create_directories(home + SystemDataFinder::backupsFolder + "/00008030-AB");
    fs::create_directories(home + SystemDataFinder::messagesAttachmentsFolder);
    test::writeFile(home + "/Library/Messages/Attachments/photo.heic", 4000);
    test::writeText(home + "/Library/Messages/Attachments/.DS_Store", "x");
    int asked = 0;
    SystemDataFinder::Settings settings;
    settings.platform = Platform::macOS;
    settings.home = home;
    settings.applications = {folder / "Applications"};
    settings.runtimes = [&] { return ++asked, std::optional<std::string>("{}"); };
    const SystemDataReport report = SystemDataFinder(settings).find();
    ASSERT_EQ(report.backups.size(), 1u);
    EXPECT_EQ(report.backups[0].deviceName, "A device") << "neither plist, still a backup";
    EXPECT_EQ(report.messagesAttachments->items, 1);
    EXPECT_EQ(report.mailDownloads, std::nullopt);
    EXPECT_EQ(asked, 0) << "a Mac with no Xcode never runs xcrun";
    fs::create_directories(folder / "Applications/Xcode-beta.app");
    SystemDataFinder(settings).find();
    EXPECT_EQ(asked, 1);
}

} // namespace
