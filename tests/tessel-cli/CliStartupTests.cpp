// tessel startup, run as the real tool on a machine described under --root
// with a home of its own: what a script reads, switching the user's items
// off and on with every file back to the byte, refusals with their command,
// and, wherever systemctl can list unit files, the same enabled units it lists.

#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <set>

#include "ScopedEnvironment.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

// Every file and link below `folder`, with its bytes or its target.
std::map<std::string, std::string> contents(const std::string& folder) {
    std::map<std::string, std::string> found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_symlink()) found[entry.path()] = "-> " + fs::read_symlink(entry.path()).string();
        else if (entry.is_regular_file()) found[entry.path()] = test::readText(entry.path());
    }
    return found;
}

struct Startup : WithHome {
    test::ScopedEnvironment environment;
    test::TempFolder root;
    void SetUp() override {
        for (const char* name : {"XDG_CONFIG_DIRS", "XDG_DATA_DIRS", "XDG_RUNTIME_DIR", "XDG_CURRENT_DESKTOP"})
            environment.unset(name);
        environment.set("PATH", "/usr/bin:/bin");
        environment.set("USER", "ann");
    }
    void write(const std::string& path, const std::string& text, mode_t mode = 0644) const {
        test::writeText(path, text);
        chmod(path.c_str(), mode);
    }
    void link(const std::string& target, const std::string& path) const {
        fs::create_directories(fs::path(path).parent_path());
        fs::create_symlink(target, path);
    }
    std::map<std::string, json> items(const std::vector<std::string>& extra = {}) {
        std::vector<std::string> words{"startup", "--json", "--root", root.path()};
        words.insert(words.end(), extra.begin(), extra.end());
        std::map<std::string, json> byLabel;
        const json report = runJson(words);
        for (const json& item : report.at("items")) byLabel[item.at("label")] = item;
        return byLabel;
    }
};

TEST_F(Startup, UnitsEntriesAndJobsReachTheReportWithWhatTheyRunAndWhoOwnsThem) {
    write(root / "usr/bin/backupd", "#!/bin/sh\n", 0755);
    write(root / "opt/tool/run.py", "print()\n", 0755);
    write(root / "usr/lib/systemd/system/backupd.service",
          "[Service]\nExecStart=/usr/bin/backupd\n[Install]\nWantedBy=multi-user.target\n");
    link("/usr/lib/systemd/system/backupd.service", root / "etc/systemd/system/multi-user.target.wants/backupd.service");
    write(root / "usr/lib/systemd/system/printer.service", "[Service]\nExecStart=/usr/sbin/printerd\n[Install]\nWantedBy=a.target\n");
    link("/dev/null", root / "etc/systemd/system/printer.service");
    write(root / "etc/xdg/autostart/indexer.desktop", "[Desktop Entry]\nName=Indexer\nExec=python3 /opt/tool/run.py --index\n");
    write(home / ".config/autostart/indexer.desktop", "[Desktop Entry]\nHidden=true\n");
    write(root / "etc/cron.d/gone", "@daily root /usr/local/bin/gone-tool\n");

    std::map<std::string, json> found = items();
    ASSERT_EQ(found.size(), 4u) << json(found);
    EXPECT_EQ(found["backupd.service"], (json{{"label", "backupd.service"}, {"kind", "systemService"}, {"source", "systemd"},
                                              {"path", "/usr/lib/systemd/system/backupd.service"}, {"program", "/usr/bin/backupd"},
                                              {"arguments", json::array()}, {"programExists", true}, {"enabled", true},
                                              {"scope", "system"}, {"owner", nullptr}, {"ownerConfidence", nullptr},
                                              {"ownerReason", "No installed app matches its name, what it runs, or the apps it names."},
                                              {"isPlatform", false}, {"package", nullptr}, {"detail", nullptr},
                                              {"command", "sudo systemctl disable backupd.service"}, {"isReadable", true},
                                              {"bytes", test::allocatedOf(root / "usr/lib/systemd/system/backupd.service")}}));
    EXPECT_EQ(found["printer.service"].at("enabled"), false);
    const json& indexer = found["indexer"];
    EXPECT_EQ(indexer.at("program"), "/opt/tool/run.py");
    EXPECT_EQ(indexer.at("enabled"), false);
    EXPECT_EQ(indexer.at("scope"), "user");
    EXPECT_EQ(indexer.at("path"), home / ".config/autostart/indexer.desktop");
    EXPECT_EQ(found["gone"].at("programExists"), false);
    EXPECT_EQ(found["gone"].at("detail"), "It runs as root once a day. Its program /usr/local/bin/gone-tool is missing.");

    const Outcome text = run({"startup", "--root", root.path()});
    EXPECT_NE(text.out.find("Login items\n  off indexer\n      runs /opt/tool/run.py\n"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("      to change it: sudo systemctl unmask printer.service\n"), std::string::npos) << text.out;
}

TEST_F(Startup, SwitchingTheUsersItemsOffAndOnLeavesEveryFileAsItWas) {
    write(root / "etc/xdg/autostart/indexer.desktop", "[Desktop Entry]\nName=Indexer\nExec=/usr/bin/true\n");
    write(home / ".config/autostart/clock.desktop", "[Desktop Entry]\r\nName=Clock\r\nExec=/usr/bin/true");
    write(root / "usr/lib/systemd/user/syncer.service", "[Service]\nExecStart=/usr/bin/true\n[Install]\nWantedBy=default.target\n");
    link("/usr/lib/systemd/user/syncer.service", home / ".config/systemd/user/default.target.wants/syncer.service");
    write(root / "usr/lib/systemd/system/backupd.service", "[Service]\nExecStart=/usr/bin/true\n[Install]\nWantedBy=a.target\n");
    link("/usr/lib/systemd/system/backupd.service", root / "etc/systemd/system/a.target.wants/backupd.service");
    const std::map<std::string, std::string> homeBefore = contents(home.path()), rootBefore = contents(root.path());

    for (const char* label : {"indexer", "clock", "syncer"}) {
        const Outcome off = run({"startup", "--root", root.path(), "--disable", label});
        EXPECT_EQ(off.status, 0) << off.out << off.err;
    }
    std::map<std::string, json> found = items();
    for (const char* label : {"indexer", "clock", "syncer.service"}) EXPECT_EQ(found[label].at("enabled"), false) << label;
    const json told = runJson({"startup", "--json", "--root", root.path(), "--enable", "syncer"});
    EXPECT_EQ(told.at("changed"), true);
    EXPECT_NE(told.at("message").get<std::string>().find("starts by itself again"), std::string::npos) << told;
    for (const char* label : {"indexer", "clock"}) EXPECT_EQ(run({"startup", "--root", root.path(), "--enable", label}).status, 0);
    EXPECT_EQ(contents(home.path()), homeBefore);
    EXPECT_EQ(contents(root.path()), rootBefore) << "the system's files are never touched";

    const Outcome refused = run({"startup", "--root", root.path(), "--disable", "backupd.service"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "Only an administrator can switch it off: sudo systemctl disable backupd.service\n");
    expectOneErrorLine(run({"startup", "--root", root.path(), "--enable", "nothing-like-it"}), 1, "nothing-like-it");
    EXPECT_EQ(run({"startup", "--disable", "a", "--enable", "b"}).status, 2);
}

TEST_F(Startup, OnThisMachineEveryUnitSystemctlCallsEnabledIsListedAsOn) {
    // systemctl reads the unit files itself when no manager runs, so the two readings can be compared wherever it works.
    std::FILE* listing = popen("systemctl list-unit-files --state=enabled --no-legend --no-pager 2>/dev/null", "r");
    ASSERT_NE(listing, nullptr);
    std::set<std::string> enabled;
    char line[4096];
    while (std::fgets(line, sizeof line, listing) != nullptr) {
        const std::string unit = std::string(line).substr(0, std::string(line).find_first_of(" \t\n"));
        for (const char* type : {".service", ".socket", ".timer", ".path"})
            if (unit.ends_with(type)) enabled.insert(unit);
    }
    if (pclose(listing) != 0)
        GTEST_SKIP() << "systemctl can't list the unit files on this machine (no systemd here), so there is nothing to compare with";
    std::set<std::string> listedOn;
    const json report = runJson({"startup", "--json"});
    for (const json& item : report.at("items")) {
        if (item.at("source") != "systemd" || item.at("scope") != "system" || item.at("enabled") != true) continue;
        std::string label = item.at("label");
        // systemctl names a template for its instances: getty@.service for getty@tty1.service.
        if (const std::size_t at = label.find('@'); at != std::string::npos) label.erase(at + 1, label.rfind('.') - at - 1);
        listedOn.insert(label);
    }
    for (const std::string& unit : enabled) EXPECT_TRUE(listedOn.contains(unit)) << unit << " is enabled, but not listed as on";
}

} // namespace
} // namespace tessel::cli
