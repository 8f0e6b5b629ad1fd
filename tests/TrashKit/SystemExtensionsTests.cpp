#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Fixture.h"
#include "TrashKit/PropertyList.h"
#include "TrashKit/SystemExtensionsInside.h"

using namespace tessel;
using namespace tessel::test;
using Carried = std::vector<std::pair<std::string, std::string>>;

namespace {

void writeBytes(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

// Answers from the disk, except that the database can't be read.
class UnreadableDatabase final : public FileManager {
public:
    std::optional<std::string> contents(const std::string& path, std::int64_t limit) const override {
        if (path.ends_with("db.plist")) return std::nullopt;
        return FileManager::contents(path, limit);
    }
};

} // namespace

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
        writeBytes(folder + "/" + name + "/Contents/Info.plist", binary ? info.toBinary() : info.toXml());
    }

    // The database, its extensions given as the XML of their dictionaries.
    void writeDatabase(const std::string& extensions) {
        writeBytes(database, "<plist><dict><key>extensions</key><array>" + extensions + "</array></dict></plist>");
    }

    static std::string entry(const std::string& key, const std::string& value, const std::string& state) {
        return "<dict><key>" + key + "</key><string>" + value + "</string><key>state</key><string>" + state +
               "</string></dict>";
    }

    std::vector<std::string> installed() const {
        return SystemExtensionsInside::installed(app, database, files);
    }

    TempFolder temp;
    LocalFileManager files;
    std::string app = temp / "Guard.app";
    std::string folder = app + "/Contents/Library/SystemExtensions";
    std::string alpha = folder + "/alpha.systemextension";
    std::string beta = folder + "/beta.systemextension";
    std::string database = temp / "db.plist";
};

TEST_F(SystemExtensionsOfAnApp, CarriedAreListedByNameWhateverTheInfoFormatAndOnlyByApps) {
    writeBytes(folder + "/gamma.systemextension/Contents/Info.plist", "not a list");
    writeBytes(folder + "/delta.systemextension/Contents/Info.plist", PropertyList::array().toXml());
    writeBytes(folder + "/readme.txt", "");
    addExtension("epsilon.kext", "com.example.kext", false);
    const Carried expected{{"com.example.alpha", alpha}, {"com.example.beta", beta}};
    EXPECT_EQ(SystemExtensionsInside::carried(app + "/", files), expected);
    // Only an app carries any, whatever the case of its extension.
    std::filesystem::rename(app, temp / "Guard.APP");
    EXPECT_EQ(SystemExtensionsInside::carried(temp / "Guard.APP", files).size(), 2U);
    std::filesystem::rename(temp / "Guard.APP", temp / "Guard.bundle");
    EXPECT_TRUE(SystemExtensionsInside::carried(temp / "Guard.bundle", files).empty());
}

TEST_F(SystemExtensionsOfAnApp, OnlyActivatedOnesCountMatchedByIdentifierOrOriginPath) {
    EXPECT_TRUE(installed().empty()) << "no database, nothing installed";
    writeDatabase(entry("identifier", "com.example.alpha", "activated_enabled") +
                  entry("identifier", "com.example.beta", "terminated_waiting_to_uninstall"));
    EXPECT_EQ(installed(), std::vector<std::string>{alpha});
    writeDatabase(entry("originPath", folder + "/./beta.systemextension/", "activated_waiting_for_user"));
    EXPECT_EQ(installed(), std::vector<std::string>{beta}) << "the origin path in standard form";
}

TEST_F(SystemExtensionsOfAnApp, AnUnreadableDatabaseCountsEveryCarriedExtensionAnotherShapeNone) {
    const std::vector<std::string> both{alpha, beta};
    writeDatabase("");
    EXPECT_EQ(SystemExtensionsInside::installed(app, database, UnreadableDatabase()), both);
    std::string deep = "<plist><dict><key>extensions</key>";
    for (int i = 0; i < 50000; ++i) deep += "<array>";
    const std::string truncated = PropertyList::dictionary().toBinary().substr(0, 20);
    for (const std::string& bytes : {std::string("garbage"), truncated, PropertyList::array().toXml(), deep}) {
        writeBytes(database, bytes);
        EXPECT_EQ(installed(), both) << bytes.substr(0, 60);
    }
    // A database read whole, but of another shape, lists none installed.
    writeBytes(database, "<plist><dict><key>extensions</key><string>activated</string></dict></plist>");
    EXPECT_TRUE(installed().empty());
    writeDatabase(entry("identifier", "com.example.alpha", "activated_enabled") + "<integer>1</integer>");
    EXPECT_TRUE(installed().empty()) << "an array holding anything but dictionaries is not an array of extensions";
    EXPECT_TRUE(SystemExtensionsInside::installed(temp / "Plain.app", database, files).empty());
}
