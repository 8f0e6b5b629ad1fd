// The owner ladder of a startup item, walked step by step against a few
// installed apps, in the Mac's words and in Linux's; and what a command
// really runs when it starts an interpreter, env or flatpak.

#include <gtest/gtest.h>

#include "UninstallKit/StartupOwnerMatcher.h"
#include "UninstallKit/StartupProgram.h"

namespace tessel {
namespace {

InstalledApp app(const std::string& name, const std::string& identifier, const std::string& path, std::string source = "other") {
    InstalledApp found;
    found.name = name;
    found.bundleIdentifier = identifier;
    found.bundlePath = path;
    found.source = std::move(source);
    return found;
}

struct Owners : ::testing::Test {
    // One app of com.solo, two of com.pair, one of org.gnome, and Viewer carrying a helper.
    std::vector<InstalledApp> apps() const {
        InstalledApp viewer = app("Viewer", "org.viewer.Viewer", "/usr/bin/viewer");
        viewer.carries = {"org.viewer.Sync"};
        return {app("Solo", "com.solo.Editor", "/opt/solo/editor"), app("Left", "com.pair.Left", "/usr/bin/left"),
                app("Right", "com.pair.Right", "/usr/bin/right"), app("Maps", "org.gnome.Maps", "/usr/bin/gnome-maps"),
                viewer};
    }
    StartupOwnerMatcher linux{InstalledAppIndex(apps()), Platform::linuxOS, [](std::string_view path) -> std::optional<InstalledApp> {
                                  if (path.starts_with("/opt/solo/")) return app("Solo", "com.solo.Editor", "/opt/solo/editor");
                                  return std::nullopt;
                              }};
    StartupOwnerMatcher::Match owner(std::string_view label, std::vector<std::string> declared = {},
                                     std::optional<std::string> program = {}, bool isPlatform = false,
                                     std::optional<std::string> container = {}) const {
        return linux.match(label, declared, program, isPlatform, container, {});
    }
    static std::string ownerName(const StartupOwnerMatcher::Match& match) { return match.owner ? match.owner->name : "-"; }
};

TEST_F(Owners, EachStepOfTheLadderGivesItsOwnerAndSentence) {
    const struct {
        StartupOwnerMatcher::Match match;
        std::string owner;
        std::optional<MatchConfidence> confidence;
        std::string reason;
    } cases[] = {
        {owner("x", {"COM.SOLO.EDITOR"}), "Solo", MatchConfidence::exact, "It names Solo as the app it belongs to."},
        {owner("x", {}, std::nullopt, false, "/opt/solo/share/x.service"), "Solo", MatchConfidence::exact,
         "Its file came with Solo."},
        {owner("x", {}, "/opt/solo/bin/sync"), "Solo", MatchConfidence::exact, "It runs a program that came with Solo."},
        {owner("org.viewer.Sync.desktop"), "Viewer", MatchConfidence::exact, "Viewer carries org.viewer.sync in its package."},
        {owner("Com.Pair.LEFT"), "Left", MatchConfidence::exact, "Its name is Left's identifier."},
        {owner("com.pair.left.tray"), "Left", MatchConfidence::exact,
         "Its name is built from Left's identifier (com.pair.left)."},
        {owner("com.solo.updater"), "Solo", MatchConfidence::likely,
         "Same vendor prefix (com.solo) as Solo, the only app from that vendor installed."},
        {owner("com.pair.updater"), "-", std::nullopt,
         "Same vendor prefix (com.pair) as 2 installed apps, so it could belong to any of them."},
        {owner("org.gnome.SettingsDaemon.Power"), "-", std::nullopt,
         "Shared by a suite of apps from org.gnome, 1 of them installed, so no one app owns it."},
        {owner("org.freedesktop.Tracker3.Miner"), "-", std::nullopt,
         "No installed app matches its name, what it runs, or the apps it names."},
        {owner("systemd-journald", {}, "/lib/systemd/systemd-journald", true), "-", std::nullopt,
         "Part of the system or of its desktop."},
        {owner("backupd"), "-", std::nullopt, "No installed app matches its name, what it runs, or the apps it names."},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(ownerName(each.match), each.owner) << each.reason;
        EXPECT_EQ(each.match.confidence, each.confidence) << each.reason;
        EXPECT_EQ(each.match.reason, each.reason);
    }
}

TEST_F(Owners, ADeclaredAppThatIsNotInstalledFallsThroughToTheNextStep) {
    const StartupOwnerMatcher::Match match = owner("com.solo.editor.agent", {"org.gone.App", "com.gone.Other"});
    EXPECT_EQ(ownerName(match), "Solo");
    EXPECT_EQ(match.reason, "Its name is built from Solo's identifier (com.solo.editor).");
    EXPECT_EQ(owner("x", {"org.gone.App"}).owner, std::nullopt) << "a declared name alone is no vendor";
}

TEST_F(Owners, APlatformItemNeverGetsAnOwnerByVendorButKeepsOneByWhatItRuns) {
    EXPECT_EQ(ownerName(owner("com.solo.indexer", {}, std::nullopt, true)), "-")
        << "one app of the vendor would give likely, but the platform's own stops first";
    EXPECT_EQ(ownerName(owner("com.solo.indexer", {}, "/opt/solo/bin/indexer", true)), "Solo");
}

TEST(MacOwners, TheMacSaysBundleWordsAndAnAppleItemInsideAnAppIsThatApps) {
    const StartupOwnerMatcher mac(InstalledAppIndex({app("Bar", "com.foo.bar", "/Applications/Bar.app", "bundle")}), Platform::macOS);
    const StartupOwnerMatcher::Match inside =
        mac.match("com.apple.thing", {}, "/Applications/Bar.app/Contents/MacOS/agent", true, std::nullopt, {});
    EXPECT_EQ(inside.reason, "It runs a program inside Bar.");
    EXPECT_EQ(mac.match("com.foo.bar", {}, {}, false, {}, {}).reason, "Its name is Bar's bundle identifier.");
    EXPECT_EQ(mac.match("com.apple.x", {}, {}, true, {}, {}).reason, "Part of macOS or of Apple's own software.");
    EXPECT_EQ(mac.match("x", {}, {}, false, {}, {"COM.FOO.BAR"}).reason, "Bar turned it on.");
    EXPECT_EQ(StartupOwnerMatcher::appBundle("/Nowhere/Gone.app/Contents/MacOS/x"), std::nullopt)
        << "a bundle that can't be read is no app";
}

TEST(StartupPrograms, WhatACommandRunsIsTheScriptItsInterpreterIsGiven) {
    const struct {
        std::vector<std::string> arguments;
        std::optional<std::string> script;
    } cases[] = {
        {{"/opt/tool/run.py"}, "/opt/tool/run.py"},
        {{"-u", "-W", "/opt/tool/run.py", "--fast"}, "/opt/tool/run.py"},
        {{"-c", "sleep 5; tool"}, std::nullopt},
        {{"-lc", "tool"}, std::nullopt},
        {{"-m", "http.server"}, std::nullopt},
        {{"--eval=1+1"}, std::nullopt},
        {{"--quiet", "server.js"}, "server.js"},
        {{"-a", "Mail"}, "Mail"},
        {{"--args", "x"}, std::nullopt},
        {{}, std::nullopt},
    };
    for (const auto& each : cases) EXPECT_EQ(StartupProgram::target(each.arguments), each.script) << each.arguments.size();
    EXPECT_TRUE(StartupProgram::isInterpreter("/usr/bin/Python3"));
    EXPECT_FALSE(StartupProgram::isInterpreter("/usr/bin/python3.11")) << "a versioned name is a program of its own";

    using Words = std::vector<std::string>;
    EXPECT_EQ(StartupProgram::withoutEnv({"/usr/bin/env", "A=1", "B=2", "tool", "x"}), (Words{"tool", "x"}));
    EXPECT_EQ(StartupProgram::withoutEnv({"env", "-i", "tool"}), (Words{"env", "-i", "tool"})) << "env's options are not guessed at";
    EXPECT_EQ(StartupProgram::flatpakApp(
                  {"/usr/bin/flatpak", "run", "--branch", "stable", "--command=sync", "org.viewer.Viewer", "-x"}),
              "org.viewer.Viewer");
    EXPECT_EQ(StartupProgram::flatpakApp({"flatpak", "update"}), std::nullopt);
}

} // namespace
} // namespace tessel
