#include "Arguments.h"

#include <gtest/gtest.h>

namespace tessel::cli {
namespace {

const std::vector<OptionSpec> specs{{"json", false}, {"workers", true}, {"stall-timeout", true}};

TEST(Arguments, ValueFollowsEqualsOrComesAsTheNextWordAndDoubleDashEndsOptions) {
    const Arguments parsed = parseArguments({"--workers=3", "dir", "--stall-timeout", "2.5"}, specs);
    EXPECT_EQ(parsed.value("workers"), "3");
    EXPECT_EQ(parsed.value("stall-timeout"), "2.5");
    EXPECT_EQ(parsed.positionals, std::vector<std::string>{"dir"});
    // Only the first "=" splits: the rest belongs to the value.
    EXPECT_EQ(parseArguments({"--workers=a=b"}, specs).value("workers"), "a=b");
    EXPECT_EQ(parseArguments({"--workers="}, specs).value("workers"), "");
    const Arguments ended = parseArguments({"--json", "--", "--workers", "--", "-rf"}, specs);
    EXPECT_TRUE(ended.has("json"));
    EXPECT_FALSE(ended.value("workers"));
    EXPECT_EQ(ended.positionals, (std::vector<std::string>{"--workers", "--", "-rf"}));
    EXPECT_TRUE(parseArguments({"--help"}, {}).has("help")) << "even where no command declares it";
}

TEST(Arguments, MistakesAreUsageErrors) {
    // An option is matched by its whole name, never by a prefix.
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"dir", "--workers"}, {"--bogus", "dir"}, {"--json=yes", "dir"}, {"--json="}, {"--work", "2"}})
        EXPECT_THROW(parseArguments(words, specs), UsageError) << words.front();
    auto workers = [](const std::string& text) { return parseArguments({"--workers", text}, specs).integer("workers", 1); };
    EXPECT_EQ(workers("1"), 1);
    EXPECT_EQ(workers("64"), 64);
    for (const char* bad : {"0", "-1", "abc", "", "3x", "2.5", " 4", "99999999999999999999"})
        EXPECT_THROW(workers(bad), UsageError) << '"' << bad << '"';
    EXPECT_FALSE(parseArguments({}, specs).integer("workers", 1));
    auto stall = [](const std::string& text) { return parseArguments({"--stall-timeout=" + text}, specs).seconds("stall-timeout"); };
    EXPECT_EQ(stall("2.5"), 2.5);
    for (const char* bad : {"0", "-1", "nan", "abc", "", "1s"})
        EXPECT_THROW(stall(bad), UsageError) << '"' << bad << '"';
}

} // namespace
} // namespace tessel::cli
