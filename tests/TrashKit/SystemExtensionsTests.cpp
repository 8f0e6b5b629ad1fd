#include <array>

#include "TrashKit/PropertyList.h"
#include "TrashKit/SystemExtensionsInside.h"
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;

// Guard.app carries alpha (Info.plist in XML) and beta (binary).
class SystemExtensionsOfAnApp : public testing::Test {
protected:
    void SetUp() override {
        addExtension("beta.systemextension", "com.example.beta", true);
        addExtension("alpha.systemextension", "com.example.alpha", false);
    }
    void addExtension(const std::string& name, const std::string& identifier, bool binary) {
        PropertyList info = PropertyList::dictionary();
        info.set("CFBundleIdentifier", PropertyList::text(identifier));
        writeText(folder + "/" + name + "/Contents/Info.plist", binary ? info.toBinary() : info.toXml());
    }
    // A database of these extensions, each an identifier or origin path and a state.
    static std::string listOf(const std::vector<std::array<std::string, 3>>& extensions, const std::string& more = "") {
        std::string list = "<plist><dict><key>extensions</key><array>";
        for (const auto& [key, value, state] : extensions)
            list += "<dict><key>" + key + "</key><string>" + value + "</string><key>state</key><string>" + state + "</string></dict>";
        return list + more + "</array></dict></plist>";
    }
    std::vector<std::string> installed() const { return SystemExtensionsInside::installed(app, database, files); }

    TempFolder temp;
    LocalFileManager files;
    std::string app = temp / "Guard.app";
    std::string folder = app + "/Contents/Library/SystemExtensions";
    std::string alpha = folder + "/alpha.systemextension";
    std::string beta = folder + "/beta.systemextension";
    std::string database = temp / "db.plist";
};

TEST_F(SystemExtensionsOfAnApp, CarriedAreListedByNameWhateverTheInfoFormatAndOnlyByApps) {
    writeText(folder + "/gamma.systemextension/Contents/Info.plist", "not a list");
    addExtension("epsilon.kext", "com.example.kext", false);
    const std::vector<std::pair<std::string, std::string>> expected{{"com.example.alpha", alpha},
                                                                    {"com.example.beta", beta}};
    EXPECT_EQ(SystemExtensionsInside::carried(app + "/", files), expected);
    std::filesystem::rename(app, temp / "Guard.APP");
    EXPECT_EQ(SystemExtensionsInside::carried(temp / "Guard.APP", files).size(), 2U);
    std::filesystem::rename(temp / "Guard.APP", temp / "Guard.bundle");
    EXPECT_TRUE(SystemExtensionsInside::carried(temp / "Guard.bundle", files).empty());
}

TEST_F(SystemExtensionsOfAnApp, OnlyActivatedOnesCountAndAnUnreadableDatabaseCountsThemAll) {
    EXPECT_TRUE(installed().empty()) << "no database, nothing installed";
    const std::array<std::string, 3> alphaOn{"identifier", "com.example.alpha", "activated_enabled"};
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
        {listOf({alphaOn, {"identifier", "com.example.beta", "terminated_waiting_to_uninstall"}}), {alpha}},
        {listOf({{"originPath", folder + "/./beta.systemextension/", "activated_waiting_for_user"}}), {beta}},
        {"garbage", {alpha, beta}},
        {"<plist><dict><key>extensions</key><string>activated</string></dict></plist>", {}}, // another shape
        {listOf({alphaOn}, "<integer>1</integer>"), {}}, // an array of more than extensions
    };
    for (const auto& [bytes, expected] : cases) {
        writeText(database, bytes);
        EXPECT_EQ(installed(), expected) << bytes;
    }
}
