// The desktop entry reader: its lines, its escapes, its localised keys, the
// splitting of Exec, and files that are not what they claim to be.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>

#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "UninstallKit/DesktopEntry.h"

namespace tessel {
namespace {

using Arguments = std::vector<std::string>;

DesktopEntry parsed(std::string_view text) {
    DesktopEntry::Parse parse = DesktopEntry::parse(text);
    if (!parse.entry) throw std::runtime_error(parse.failure);
    return *parse.entry;
}

TEST(DesktopEntryLines, GroupsCommentsAndSpacesAroundTheEqualsSign) {
    const DesktopEntry entry = parsed("# made by hand\n\n[Desktop Entry]\r\nType=Application\nName = Viewer\nExec=viewer\n  \n"
                                      "[Desktop Action New]\nExec=viewer --new\n");
    EXPECT_EQ(entry.type(), "Application") << "a carriage return before the newline is no part of the line";
    EXPECT_EQ(entry.name({}), "Viewer");
    EXPECT_EQ(entry.raw("Exec", "Desktop Action New"), "viewer --new");
    EXPECT_EQ(entry.raw("Exec"), "viewer") << "a key of another group is not the entry's own";
}

TEST(DesktopEntryLines, MalformedFilesSayWhichLineIsWrong) {
    for (const auto& [text, line] : std::vector<std::pair<std::string, std::string>>{
             {"[Desktop Entry]\nName=A\nthis is no key\n", "line 3: "}, {"Name=A\n[Desktop Entry]\n", "line 1: "},
             {"[Other]\nName=A\n", "line 1: "}, {"[Desktop Entry]\nName=A\nName=B\n", "line 3: "},
             {"[Desktop Entry]\n[X]\n[Desktop Entry]\n", "line 3: "}, {"[Desktop Entry\n", "line 1: "},
             {"Na me=A\n", "line 1: "}, {"[Desktop Entry]\nName[=A\n", "line 2: "}, {"# only a comment\n", "there is no"}}) {
        const DesktopEntry::Parse parse = DesktopEntry::parse(text);
        EXPECT_FALSE(parse.entry) << text;
        EXPECT_TRUE(parse.failure.starts_with(line)) << text << ": " << parse.failure;
    }
}

TEST(DesktopEntryValues, EscapesBooleansAndExtras) {
    const DesktopEntry entry = parsed("[Desktop Entry]\nComment=one\\stwo\\nthree\\tfour\\rfive\\\\six\\;seven\nHidden=true\n"
                                      "NoDisplay=True\nX-Flatpak=org.example.Viewer\nX-AppImage-Version=1.2\\s3\nIcon=viewer\n");
    EXPECT_EQ(entry.string("Comment"), "one two\nthree\tfour\rfive\\six\\;seven");
    EXPECT_TRUE(entry.isHidden());
    EXPECT_FALSE(entry.isNotShown()) << "only \"true\" is true";
    EXPECT_EQ(entry.extras(), (std::map<std::string, std::string>{{"X-AppImage-Version", "1.2 3"}, {"X-Flatpak", "org.example.Viewer"}}));
}

TEST(DesktopEntryValues, LocalisedNameFollowsTheLocaleMostSpecificFirst) {
    const DesktopEntry entry = parsed("[Desktop Entry]\nName=Viewer\nName[sr]=Прегледач\nName[sr@latin]=Pregledač\n"
                                      "Name[sr_RS@latin]=Pregledač (RS)\nName[de_DE]=Betrachter\nName[pt]=Visualizador\n");
    for (const auto& [locale, name] : std::vector<std::pair<const char*, const char*>>{
             {"sr_RS.UTF-8@latin", "Pregledač (RS)"}, {"sr_ME@latin", "Pregledač"}, {"sr_RS.UTF-8", "Прегледач"},
             {"de_DE.UTF-8", "Betrachter"}, {"de_AT", "Viewer"}, {"pt_BR.UTF-8", "Visualizador"}, {"", "Viewer"}})
        EXPECT_EQ(entry.name(MessagesLocale::parse(locale)).value_or("?"), name) << locale;
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
}

TEST(DesktopEntryExec, ArgumentsSplitAtSpacesJoinedByDoubleQuotesAndFieldCodesTakenOut) {
    EXPECT_EQ(DesktopEntry::splitCommand("viewer  --fast 'a b'"), (Arguments{"viewer", "--fast", "'a", "b'"}));
    EXPECT_EQ(DesktopEntry::splitCommand(R"("/opt/My App/run" "say \"hi\" \$HOME \`x\` \\" "" "a\b")"),
              (Arguments{"/opt/My App/run", "say \"hi\" $HOME `x` \\", "", "a\\b"}));
    EXPECT_EQ(DesktopEntry::splitCommand("app %f %F %u %U %i %c %k --x %d%D%n%N%v%m"), (Arguments{"app", "--x"}));
    EXPECT_EQ(DesktopEntry::splitCommand("app --name=%c 100%% \"%f\""), (Arguments{"app", "--name=", "100%"}));
    for (const char* broken : {"app %z", "app 100%", "app \"open", " %U "})
        EXPECT_THROW(DesktopEntry::splitCommand(broken), std::invalid_argument) << broken;
}

TEST(DesktopEntryExec, ExecIsUnescapedAsAStringBeforeItIsSplit) {
    const std::optional<DesktopEntry::Command> command =
        parsed("[Desktop Entry]\nExec=env \"A=1 2\" app --name=%c \"C:\\\\\\\\x\" 100%% %U\n").exec();
    ASSERT_TRUE(command);
    EXPECT_EQ(command->arguments, (Arguments{"env", "A=1 2", "app", "--name=", "C:\\x", "100%"}));
    EXPECT_NE(parsed("[Desktop Entry]\nExec=app %Q\n").exec().value_or(DesktopEntry::Command{}).failure.find("%Q"), std::string::npos);
    EXPECT_FALSE(parsed("[Desktop Entry]\nName=A\n").exec());
}

TEST(DesktopEntryFiles, ReadsARegularFileAndRefusesPipesHugeAndMalformedFilesNamingThem) {
    test::TempFolder folder;
    test::writeText(folder / "viewer.desktop", "[Desktop Entry]\nName=Viewer\n");
    EXPECT_EQ(DesktopEntry::read(folder / "viewer.desktop").entry->name({}), "Viewer");
    ASSERT_EQ(mkfifo((folder / "pipe.desktop").c_str(), 0644), 0);
    test::writeText(folder / "huge.desktop", "[Desktop Entry]\n" + std::string(DesktopEntry::maxFileBytes, '#'));
    test::writeText(folder / "bad.desktop", "[Desktop Entry]\n=x\n");
    for (const char* name : {"pipe.desktop", "huge.desktop", "bad.desktop"}) {
        const DesktopEntry::Parse read = DesktopEntry::read(folder / name);
        EXPECT_FALSE(read.entry) << name;
        EXPECT_NE(read.failure.find(folder / name), std::string::npos) << read.failure;
    }
}

} // namespace
} // namespace tessel
