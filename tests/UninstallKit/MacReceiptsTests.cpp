// A Mac's installer receipts, written by the tests as property lists (XML and
// binary) beside a volume laid out in a temporary folder; the packages' file
// lists come from the tests in place of pkgutil.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "Fixture.h"
#include "TrashKit/PropertyList.h"
#include "UninstallKit/MacReceipts.h"

using namespace tessel;

namespace {

class MacReceipts : public ::testing::Test {
protected:
    test::TempFolder machine;
    std::string receiptsFolder = machine / "var/db/receipts";
    std::string volume = machine / "volume";
    std::map<std::string, std::vector<std::string>> billsOfMaterials;

    void writeReceipt(const std::string& identifier, const std::string& prefix = {}, bool binary = false) {
        PropertyList list = PropertyList::dictionary();
        list.set("PackageIdentifier", PropertyList::text(identifier));
        list.set("PackageVersion", PropertyList::text("1.2"));
        list.set("InstallDate", PropertyList::date(1'700'000'000));
        list.set("InstallPrefixPath", PropertyList::text(prefix));
        list.set("InstallProcessName", PropertyList::text("installer"));
        test::writeText(receiptsFolder + "/" + identifier + ".plist", binary ? list.toBinary() : list.toXml());
    }
    PackageReceiptReader reader() {
        return PackageReceiptReader(receiptsFolder, volume, [this](const std::string& identifier) {
            const auto found = billsOfMaterials.find(identifier);
            return found == billsOfMaterials.end() ? std::nullopt : std::optional(found->second);
        });
    }
};

} // namespace

TEST_F(MacReceipts, ReceiptsAreReadWithAppleLeftOutUnlessAsked) {
    writeReceipt("com.vendor.tool", "Applications", true);
    writeReceipt("com.apple.pkg.Core");
    writeReceipt("org.other.thing", "./usr/local/../local");
    test::writeText(receiptsFolder + "/broken.plist", "<plist><dict><key>PackageIdentifier");
    test::writeText(receiptsFolder + "/noname.plist", PropertyList::dictionary().toXml());
    test::writeText(receiptsFolder + "/._com.vendor.tool.plist", "resource fork");
    ASSERT_EQ(mkfifo((receiptsFolder + "/pipe.plist").c_str(), 0600), 0);

    const std::vector<MacPackageReceipt> found = reader().receipts(false);
    ASSERT_EQ(found.size(), 2u) << "unreadable, nameless and hidden receipts are dropped, and a pipe is never waited on";
    EXPECT_EQ(found[0], (MacPackageReceipt{"com.vendor.tool", "1.2", 1'700'000'000, "/Applications", "installer", false}));
    EXPECT_EQ(found[1].installPrefix, "/usr/local");
    const std::vector<MacPackageReceipt> all = reader().receipts(true);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_TRUE(all[0].isApple);
    EXPECT_EQ(all[0].installPrefix, "/") << "no prefix is the volume's top";
}

TEST_F(MacReceipts, ContentsSplitIntoWhatIsLeftGoneAndShared) {
    writeReceipt("com.vendor.tool");
    const std::string app = volume + "/Applications/Tool.app";
    for (const std::string& folder : {app + "/Contents", volume + "/Users"}) std::filesystem::create_directories(folder);
    test::writeFile(app + "/Contents/Info.plist", 5000);
    test::writeText(app + "/.DS_Store", "x");
    test::writeText(volume + "/Applications/Other.app", "x"); // another's: /Applications is shared
    billsOfMaterials["com.vendor.tool"] = {".", "./Applications", "./Applications/Tool.app", "./Applications/Tool.app/Contents",
                                           "./Applications/Tool.app/Contents/Info.plist", "./Applications/Tool.app/Contents/Helper.app",
                                           "./Library/Gone/file"};

    const PackageReceiptReader tool = reader();
    const MacPackageContents contents = tool.contents(*tool.receipt(receiptsFolder + "/com.vendor.tool.plist"));
    std::vector<std::string> existing;
    for (const PackageFile& file : contents.existing) existing.push_back(file.path);
    EXPECT_EQ(existing, (std::vector<std::string>{"/Applications/Tool.app", "/Applications/Tool.app/Contents",
                                                  "/Applications/Tool.app/Contents/Info.plist"}))
        << "a .DS_Store doesn't make a folder shared";
    EXPECT_EQ(contents.sharedDirectories, (std::vector<std::string>{"/", "/Applications"}));
    EXPECT_EQ(contents.missingCount, 2);
    EXPECT_EQ(contents.existingBytes, test::allocatedOf(app) + test::allocatedOf(app + "/Contents") +
                                          test::allocatedOf(app + "/Contents/Info.plist"));
    EXPECT_EQ(contents.appBundles, std::vector<std::string>{"/Applications/Tool.app"}) << "an app inside an app is part of it";
    EXPECT_TRUE(tool.isStillPresent(contents.receipt));

    std::filesystem::remove_all(app);
    EXPECT_FALSE(tool.contents(contents.receipt).appsStillInstalled);
    EXPECT_FALSE(tool.isStillPresent(contents.receipt));
    // A package whose files cannot be listed (no pkgutil here) claims nothing.
    const MacPackageContents unlisted = PackageReceiptReader(receiptsFolder, volume).contents(contents.receipt);
    EXPECT_FALSE(unlisted.listed);
    EXPECT_TRUE(unlisted.existing.empty());
}

TEST(MacReceiptPaths, OptionsNeverReachPkgutilAndPathsResolveAgainstThePrefix) {
    EXPECT_EQ(PackageReceiptReader::pkgutilArguments("com.foo", "/"), (std::vector<std::string>{"--volume", "/", "--files", "com.foo"}));
    for (const auto& [identifier, volume] :
         std::vector<std::pair<std::string, std::string>>{{"-rf", "/"}, {"--forget", "/"}, {"com.foo", "-v"}, {"", "/"}, {"com.foo", ""}}) {
        EXPECT_EQ(PackageReceiptReader::pkgutilArguments(identifier, volume), std::nullopt) << identifier << " on " << volume;
        EXPECT_EQ(PackageReceiptReader::pkgutilFiles(identifier, volume), std::nullopt) << identifier << " on " << volume;
    }
    EXPECT_EQ(PackageReceiptReader::resolve("./Applications/Foo.app", "/"), "/Applications/Foo.app");
    EXPECT_EQ(PackageReceiptReader::resolve("bin/../lib/./x", "/usr/local"), "/usr/local/lib/x");
    EXPECT_EQ(PackageReceiptReader::resolve("../../../etc", "/opt"), "/etc") << "never above the volume";
}
