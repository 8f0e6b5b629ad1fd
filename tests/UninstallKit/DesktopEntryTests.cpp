// The desktop entry reader: its lines, its escapes, its localised keys, the
// splitting of Exec, and files that are not what they claim to be.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <stdexcept>

#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "UninstallKit/DesktopEntry.h"

namespace tessel {
namespace {

DesktopEntry parsed(std::string_view text) {
    DesktopEntry::Parse parse = DesktopEntry::parse(text);
    if (!parse.entry) throw std::runtime_error(parse.failure);
    return *parse.entry;
}

std::string failureOf(std::string_view text) {
    DesktopEntry::Parse parse = DesktopEntry::parse(text);
    return parse.entry ? "(read)" : parse.failure;
}

TEST(DesktopEntryLines, GroupsCommentsAndSpacesAroundTheEqualsSign) {
    const DesktopEntry entry = parsed("# made by hand\n"
                                      "\n"
                                      "[Desktop Entry]\r\n"
                                      "Type=Application\n"
                                      "Name = Viewer\n"
                                      "Exec=viewer\n"
                                      "  \n"
                                      "[Desktop Action New]\n"
                                      "Name=New Window\n"
                                      "Exec=viewer --new\n");
    EXPECT_EQ(entry.type(), "Application") << "a carriage return before the newline is no part of the line";
    EXPECT_EQ(entry.name({}), "Viewer");
    EXPECT_EQ(entry.raw("Exec", "Desktop Action New"), "viewer --new");
    EXPECT_EQ(entry.raw("Exec"), "viewer") << "a key of another group is not the entry's own";
    ASSERT_EQ(entry.groups().size(), 2u);
    EXPECT_FALSE(entry.isHidden());
}

TEST(DesktopEntryLines, MalformedFilesSayWhichLineIsWrong) {
    EXPECT_EQ(failureOf("[Desktop Entry]\nName=A\nthis is no key\n"),
              "line 3: \"this is no key\" is neither a group, a key nor a comment");
    EXPECT_EQ(failureOf("Name=A\n[Desktop Entry]\n"), "line 1: the key Name comes before any group");
    EXPECT_EQ(failureOf("[Other]\nName=A\n"), "line 1: the first group is [Other], not [Desktop Entry]");
    EXPECT_EQ(failureOf("[Desktop Entry]\nName=A\nName=B\n"), "line 3: the key Name is given twice in [Desktop Entry]");
    EXPECT_EQ(failureOf("[Desktop Entry]\n[X]\n[Desktop Entry]\n"), "line 3: the group [Desktop Entry] is given twice");
    EXPECT_EQ(failureOf("[Desktop Entry\n"), "line 1: \"[Desktop Entry\" is no group header");
    EXPECT_EQ(failureOf("Na me=A\n"), "line 1: \"Na me=A\" is neither a group, a key nor a comment");
    EXPECT_EQ(failureOf("# only a comment\n"), "there is no [Desktop Entry] group");
    EXPECT_EQ(failureOf("[Desktop Entry]\nName[=A\n"), "line 2: \"Name[=A\" is neither a group, a key nor a comment");
}

TEST(DesktopEntryValues, EscapesBooleansAndExtras) {
    const DesktopEntry entry = parsed("[Desktop Entry]\n"
                                      "Comment=one\\stwo\\nthree\\tfour\\rfive\\\\six\\;seven\n"
                                      "Hidden=true\n"
                                      "NoDisplay=True\n"
                                      "X-Flatpak=org.example.Viewer\n"
                                      "X-AppImage-Version=1.2\\s3\n"
                                      "Icon=viewer\n");
    EXPECT_EQ(entry.string("Comment"), "one two\nthree\tfour\rfive\\six\\;seven");
    EXPECT_TRUE(entry.isHidden());
    EXPECT_FALSE(entry.isNotShown()) << "only \"true\" is true";
    const std::map<std::string, std::string> extras = entry.extras();
    EXPECT_EQ(extras, (std::map<std::string, std::string>{{"X-AppImage-Version", "1.2 3"},
                                                           {"X-Flatpak", "org.example.Viewer"}}));
}

TEST(DesktopEntryValues, LocalisedNameFollowsTheLocaleMostSpecificFirst) {
    const DesktopEntry entry = parsed("[Desktop Entry]\n"
                                      "Name=Viewer\n"
                                      "Name[sr]=Прегледач\n"
                                      "Name[sr@latin]=Pregledač\n"
                                      "Name[sr_RS@latin]=Pregledač (RS)\n"
                                      "Name[de_DE]=Betrachter\n"
                                      "Name[pt]=Visualizador\n");
    const auto nameFor = [&](const char* locale) { return entry.name(MessagesLocale::parse(locale)).value_or("?"); };
    EXPECT_EQ(nameFor("sr_RS.UTF-8@latin"), "Pregledač (RS)");
    EXPECT_EQ(nameFor("sr_ME@latin"), "Pregledač");
    EXPECT_EQ(nameFor("sr_RS.UTF-8"), "Прегледач");
    EXPECT_EQ(nameFor("de_DE.UTF-8"), "Betrachter");
    EXPECT_EQ(nameFor("de_AT"), "Viewer") << "de_DE is no match for de_AT, and there is no plain de";
    EXPECT_EQ(nameFor("pt_BR.UTF-8"), "Visualizador");
    EXPECT_EQ(nameFor("C.UTF-8"), "Viewer");
    EXPECT_EQ(nameFor(""), "Viewer");
}

TEST(DesktopEntryValues, LocaleComesFromLcAllThenLcMessagesThenLang) {
    test::ScopedEnvironment environment;
    const auto localeWith = [&](const char* all, const char* messages, const char* lang) {
        for (auto [variable, value] : {std::pair{"LC_ALL", all}, {"LC_MESSAGES", messages}, {"LANG", lang}}) {
            if (value) environment.set(variable, value);
            else environment.unset(variable);
        }
        const MessagesLocale locale = MessagesLocale::fromEnvironment();
        return locale.language + "_" + locale.country + "@" + locale.modifier;
    };
    EXPECT_EQ(localeWith("fr_FR.UTF-8", "de_DE", "en_US"), "fr_FR@");
    EXPECT_EQ(localeWith("", "sr_RS@latin", "en_US"), "sr_RS@latin");
    EXPECT_EQ(localeWith(nullptr, nullptr, "pt_BR.UTF-8"), "pt_BR@");
    EXPECT_EQ(localeWith(nullptr, nullptr, nullptr), "_@");
}

TEST(DesktopEntryExec, ArgumentsSplitAtSpacesAndJoinedByDoubleQuotesOnly) {
    using Arguments = std::vector<std::string>;
    EXPECT_EQ(DesktopEntry::splitCommand("viewer  --fast 'a b'"), (Arguments{"viewer", "--fast", "'a", "b'"}));
    EXPECT_EQ(DesktopEntry::splitCommand(R"("/opt/My App/run" "say \"hi\" \$HOME \`x\` \\" "")"),
              (Arguments{"/opt/My App/run", "say \"hi\" $HOME `x` \\", ""}));
    EXPECT_EQ(DesktopEntry::splitCommand(R"("a\b")"), Arguments{"a\\b"}) << "a backslash before anything else stays";
}

TEST(DesktopEntryExec, FieldCodesAreTakenOutAndPercentSignsKept) {
    using Arguments = std::vector<std::string>;
    EXPECT_EQ(DesktopEntry::splitCommand("app %U"), Arguments{"app"});
    EXPECT_EQ(DesktopEntry::splitCommand("app %f %F %u %i %c %k --x %d%D%n%N%v%m"), (Arguments{"app", "--x"}));
    EXPECT_EQ(DesktopEntry::splitCommand("app --name=%c 100%% \"%f\""), (Arguments{"app", "--name=", "100%"}));
    EXPECT_THROW(DesktopEntry::splitCommand("app %z"), std::invalid_argument);
    EXPECT_THROW(DesktopEntry::splitCommand("app 100%"), std::invalid_argument);
    EXPECT_THROW(DesktopEntry::splitCommand("app \"open"), std::invalid_argument);
    EXPECT_THROW(DesktopEntry::splitCommand(" %U "), std::invalid_argument);
}

TEST(DesktopEntryExec, ExecIsUnescapedAsAStringBeforeItIsSplit) {
    const DesktopEntry entry = parsed("[Desktop Entry]\n"
                                      "Exec=env \"A=1 2\" app --name=%c \"C:\\\\\\\\x\" 100%% %U\n");
    const std::optional<DesktopEntry::Command> command = entry.exec();
    ASSERT_TRUE(command);
    EXPECT_EQ(command->arguments, (std::vector<std::string>{"env", "A=1 2", "app", "--name=", "C:\\x", "100%"}));
    const std::optional<DesktopEntry::Command> broken = parsed("[Desktop Entry]\nExec=app %Q\n").exec();
    ASSERT_TRUE(broken);
    EXPECT_EQ(broken->failure, "Exec: the command holds %Q, which is no field code");
    EXPECT_FALSE(parsed("[Desktop Entry]\nName=A\n").exec());
}

TEST(DesktopEntryFiles, ReadsARegularFileAndRefusesPipesAndHugeFiles) {
    test::TempFolder folder;
    const std::string entryPath = folder / "viewer.desktop";
    std::ofstream(entryPath) << "[Desktop Entry]\nName=Viewer\n";
    EXPECT_EQ(DesktopEntry::read(entryPath).entry->name({}), "Viewer");

    const std::string pipe = folder / "pipe.desktop";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
    EXPECT_EQ(DesktopEntry::read(pipe).failure, pipe + " is not a regular file") << "and the read did not wait";

    const std::string huge = folder / "huge.desktop";
    std::ofstream(huge) << "[Desktop Entry]\n" << std::string(DesktopEntry::maxFileBytes, '#');
    EXPECT_NE(DesktopEntry::read(huge).failure.find("holds more than"), std::string::npos);

    const std::string bad = folder / "bad.desktop";
    std::ofstream(bad) << "[Desktop Entry]\n=x\n";
    EXPECT_EQ(DesktopEntry::read(bad).failure, bad + ": line 2: \"=x\" is neither a group, a key nor a comment");
}

} // namespace
} // namespace tessel
