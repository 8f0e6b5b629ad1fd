// Names that are not UTF-8, through every command that reports: two names
// that differ only in a bad byte stay two names, and the bytes a script is
// given name the very file.

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "DiskScanKit/NameBytes.h"
#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct BadNames : ::testing::Test {
    test::TempFolder home;
    std::string folder = home / "names";
    std::string first = folder + "/bad\xff.bin";
    std::string second = folder + "/bad\xfe.bin";
    void SetUp() override {
        test::makeFolder(folder);
        // One size, so the same bytes: a pair of copies for the duplicate finder too.
        test::writeFile(first, 1'500'000);
        test::writeFile(second, 1'500'000);
    }
    json runJson(std::vector<std::string> words) { return cli::runJson(std::move(words), As::usual, home.path()); }

    // Every object below `value` that holds `key`: its exact name, from `key` + "Bytes" where given.
    static void exactNames(const json& value, const std::string& key, std::vector<std::string>& into) {
        if (value.is_array())
            for (const json& item : value) exactNames(item, key, into);
        if (!value.is_object()) return;
        if (value.contains(key)) {
            const std::string shown = value.at(key).get<std::string>();
            EXPECT_TRUE(Utf8::isValid(shown)) << shown;
            if (value.contains(key + "Bytes")) {
                const std::optional<std::string> exact = Base64::decode(value.at(key + "Bytes").get<std::string>());
                EXPECT_TRUE(exact) << value;
                EXPECT_EQ(Utf8::repaired(exact.value_or("")), shown) << "the text shows the same name";
                into.push_back(exact.value_or(""));
            } else {
                into.push_back(shown);
            }
        }
        for (const auto& item : value.items()) exactNames(item.value(), key, into);
    }
    static std::set<std::string> exactNames(const json& report, const std::string& key) {
        std::vector<std::string> found;
        exactNames(report, key, found);
        return {found.begin(), found.end()};
    }
};

TEST_F(BadNames, EveryReportGivesTheExactBytesOfEachName) {
    const std::set<std::string> both{first, second};
    EXPECT_EQ(exactNames(runJson({"scan", "--json", folder}).at("largestFiles"), "path"), both);
    EXPECT_EQ(exactNames(runJson({"largest", "--json", folder}), "path"), both);
    EXPECT_EQ(exactNames(runJson({"search", "--json", folder, "bad"}), "path"), both);
    const json duplicates = runJson({"duplicates", "--json", folder});
    ASSERT_EQ(duplicates.at("groups").size(), 1u) << "two names, two files, one group";
    EXPECT_EQ(exactNames(duplicates, "path"), both);

    // Last, as it takes them away: the trash takes the bytes it was given and says which went.
    const json report = runJson({"trash", "--json", first, second});
    EXPECT_EQ(exactNames(report.at("receipts"), "originalPath"), both);
    const std::string trash = home / ".local/share/Trash/files";
    EXPECT_EQ(exactNames(report.at("receipts"), "trashedPath"),
              (std::set<std::string>{trash + "/bad\xff.bin", trash + "/bad\xfe.bin"}));
}

} // namespace
} // namespace tessel::cli
