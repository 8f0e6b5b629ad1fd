// The Mac's startup items read from a fake machine in a temporary folder:
// launch jobs written as XML and binary property lists, a dangling link, an
// override database, privileged helpers paired with their daemon, and the
// system-extension database.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "Fixture.h"
#include "TrashKit/PropertyList.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/LaunchdJob.h"
#include "UninstallKit/StartupItemReader.h"

namespace tessel {
namespace {

PropertyList strings(const std::vector<std::string>& values) {
    PropertyList list = PropertyList::array();
    for (const std::string& value : values) list.append(PropertyList::text(value));
    return list;
}

struct LaunchdMachine : ::testing::Test {
    test::TempFolder folder;
    std::string home = folder / "home", bar = folder / "Applications/Bar.app";
    std::vector<StartupItemLocation> locations{{home + "/Library/LaunchAgents", StartupItemKind::userAgent, false},
                                               {folder / "Library/LaunchAgents", StartupItemKind::globalAgent, true},
                                               {folder / "Library/LaunchDaemons", StartupItemKind::daemon, true},
                                               {folder / "Library/PrivilegedHelperTools", StartupItemKind::helperTool, true}};

    void SetUp() override {
        PropertyList info = PropertyList::dictionary();
        info.set("CFBundleIdentifier", PropertyList::text("com.foo.bar"));
        info.set("CFBundleName", PropertyList::text("Bar"));
        test::writeText(bar + "/Contents/Info.plist", info.toXml());
        test::writeText(bar + "/Contents/MacOS/agent", "");
        test::writeText(folder / "opt/tool/run.py", "");
    }
    void job(const std::string& path, const PropertyList& keys, bool binary = false) const {
        test::writeText(path, binary ? keys.toBinary() : keys.toXml());
    }
    StartupItemReport read(std::optional<std::string> extensions = std::nullopt) const {
        return StartupItemReader({*AppCatalog::read(bar, false)}, locations, std::move(extensions), home + "/overrides.plist",
                                 folder / "none.plist", [](const std::string&) { return std::int64_t{4096}; }, home,
                                 {folder / "bin"})
            .read();
    }
    static std::map<std::string, StartupItem> byLabel(const StartupItemReport& report) {
        std::map<std::string, StartupItem> items;
        for (const StartupItem& item : report.items) items.emplace(item.label, item);
        return items;
    }
};

TEST_F(LaunchdMachine, JobsInBothFormatsWithWhatTheyRunTheirSwitchesAndTheirOwners) {
    PropertyList python = PropertyList::dictionary();
    python.set("Label", PropertyList::text("com.foo.bar.agent"));
    python.set("ProgramArguments", strings({"/usr/bin/python3", folder / "opt/tool/run.py", "--fast"}));
    python.set("RunAtLoad", PropertyList::boolean(true));
    job(home + "/Library/LaunchAgents/com.foo.bar.agent.plist", python);
    PropertyList shell = PropertyList::dictionary();
    shell.set("Label", PropertyList::text("org.shell.job"));
    shell.set("ProgramArguments", strings({"/bin/sh", "-c", "exec tool"}));
    shell.set("Disabled", PropertyList::boolean(true));
    PropertyList conditions = PropertyList::dictionary();
    conditions.set("SuccessfulExit", PropertyList::boolean(false));
    shell.set("KeepAlive", conditions);
    job(home + "/Library/LaunchAgents/shell.plist", shell, true);
    PropertyList bundled = PropertyList::dictionary();
    bundled.set("BundleProgram", PropertyList::text("Contents/MacOS/agent"));
    bundled.set("AssociatedBundleIdentifiers", strings({"com.gone.app", "com.foo.bar"}));
    job(folder / "Library/LaunchAgents/bundled.plist", bundled);
    job(folder / "Library/LaunchAgents/silent.plist", PropertyList::dictionary(), true);
    test::makeSymlink(folder / "Trash/old.plist", home + "/Library/LaunchAgents/old.plist");
    test::writeText(folder / "Library/LaunchAgents/.hidden.plist", "");
    PropertyList overrides = PropertyList::dictionary();
    overrides.set("org.shell.job", PropertyList::boolean(false));
    PropertyList off = PropertyList::dictionary();
    off.set("Disabled", PropertyList::boolean(true));
    overrides.set("com.foo.bar.agent", off);
    test::writeText(home + "/overrides.plist", overrides.toBinary());

    const StartupItemReport report = read();
    std::map<std::string, StartupItem> items = byLabel(report);
    ASSERT_EQ(items.size(), 5u) << "dot files are passed over";
    const StartupItem &agent = items["com.foo.bar.agent"], &sh = items["org.shell.job"], &inside = items["bundled"];
    EXPECT_EQ(agent.program, folder / "opt/tool/run.py") << "the script the interpreter runs";
    EXPECT_TRUE(agent.programExists && agent.runsAtLoad);
    EXPECT_TRUE(agent.disabled) << "the user's override switched it off";
    EXPECT_EQ(agent.ownerReason, "Its name is built from Bar's bundle identifier (com.foo.bar).");
    EXPECT_EQ(sh.program, "/bin/sh") << "-c leaves no script";
    EXPECT_FALSE(sh.disabled) << "the override wins over the file's own Disabled";
    EXPECT_TRUE(sh.keepAlive);
    EXPECT_EQ(inside.program, bar + "/Contents/MacOS/agent");
    EXPECT_EQ(inside.ownerReason, "Its settings name Bar as the app it belongs to.") << "com.gone.app isn't installed";
    EXPECT_EQ(items["silent"].detail, "It names no program, so launchd has nothing to start.");
    EXPECT_FALSE(items["old"].isReadable);
    EXPECT_EQ(items["old"].detail, "Its file is a link to something that no longer exists, so launchd has nothing to load.");
    EXPECT_FALSE(report.systemExtensionsReadable);
    EXPECT_NE(report.loginItemsNote.find("Login Items & Extensions"), std::string::npos);
}

TEST_F(LaunchdMachine, AHelperTakesItsDaemonsOwnerAndAHelperWithNoDaemonStillCounts) {
    const std::string helper = folder / "Library/PrivilegedHelperTools/com.foo.bar.helper";
    test::writeText(helper, "");
    test::writeText(folder / "Library/PrivilegedHelperTools/org.lonely.tool", "");
    PropertyList daemon = PropertyList::dictionary();
    daemon.set("Label", PropertyList::text("com.foo.bar.helper"));
    daemon.set("Program", PropertyList::text(helper));
    daemon.set("AssociatedBundleIdentifiers", PropertyList::text("com.foo.bar"));
    job(folder / "Library/LaunchDaemons/com.foo.bar.helper.plist", daemon);
    PropertyList bare = PropertyList::dictionary();
    bare.set("ProgramArguments", strings({"tool", "~/bin/missing"}));
    job(folder / "Library/LaunchDaemons/bare.plist", bare);
    test::writeText(folder / "bin/tool", "");

    std::map<std::string, StartupItem> items;
    for (const StartupItem& item : read().items)
        items.emplace(std::string(StartupItemKinds::rawValue(item.kind)) + " " + item.label, item);
    const StartupItem& paired = items["helperTool com.foo.bar.helper"];
    EXPECT_EQ(paired.pairedPath, folder / "Library/LaunchDaemons/com.foo.bar.helper.plist");
    EXPECT_EQ(paired.ownerReason, "Started by com.foo.bar.helper, which belongs to Bar.");
    EXPECT_EQ(items["helperTool org.lonely.tool"].ownerReason,
              "No installed app matches its name, what it runs, or the apps it names.");
    EXPECT_EQ(items["daemon bare"].program, folder / "bin/tool") << "a bare name is found in the search path";
    EXPECT_TRUE(items["daemon bare"].requiresAdministrator);
}

TEST_F(LaunchdMachine, SystemExtensionsComeFromTheDatabaseWithTheirContainerAndState) {
    PropertyList database = PropertyList::dictionary(), extensions = PropertyList::array();
    PropertyList network = PropertyList::dictionary(), container = PropertyList::dictionary(), staged = PropertyList::dictionary();
    network.set("identifier", PropertyList::text("com.other.filter"));
    network.set("state", PropertyList::text("activated_waiting_for_user"));
    network.set("categories", strings({"com.apple.system_extension.network_extension"}));
    container.set("bundlePath", PropertyList::text(bar));
    network.set("container", container);
    staged.set("relative", PropertyList::text("file://" + folder.path() + "/Staged/filter.systemextension/"));
    network.set("stagedBundleURL", staged);
    extensions.append(network);
    PropertyList nameless = PropertyList::dictionary();
    nameless.set("state", PropertyList::text("activated_enabled"));
    extensions.append(nameless);
    database.set("extensions", extensions);
    test::writeText(folder / "db.plist", database.toBinary());

    const StartupItemReport report = read(folder / "db.plist");
    ASSERT_TRUE(report.systemExtensionsReadable);
    ASSERT_EQ(report.items.size(), 1u) << "a record without an identifier is dropped";
    const StartupItem& extension = report.items.front();
    EXPECT_EQ(extension.ownerReason, "It came inside Bar.");
    EXPECT_EQ(extension.detail, "System extension, com.apple.system_extension.network_extension");
    EXPECT_EQ(extension.program, folder / "Staged/filter.systemextension");
    EXPECT_FALSE(extension.programExists) << "its staged copy is gone";
}

} // namespace
} // namespace tessel
