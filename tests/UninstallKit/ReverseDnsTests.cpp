// Reading identifiers out of the names apps leave on disk.
#include <gtest/gtest.h>

#include "UninstallKit/ReverseDns.h"

using namespace tessel;

TEST(ReverseDnsNames, TeamPrefixesDecorationsAndExtensionsComeOff) {
    EXPECT_EQ(ReverseDns::identifier("ABCDE12345.com.foo.app"), "com.foo.app");
    EXPECT_EQ(ReverseDns::identifier("group.com.foo"), "com.foo");
    EXPECT_EQ(ReverseDns::identifier("com.Foo.Bar.plist"), "com.foo.bar");
    EXPECT_EQ(ReverseDns::identifier("org.gnome.Maps.desktop"), "org.gnome.maps");
    EXPECT_EQ(ReverseDns::identifier("com.foo.bar_1234"), "com.foo.bar");
    EXPECT_EQ(ReverseDns::identifier("cache_org.mozilla.firefox"), "org.mozilla.firefox");
    EXPECT_EQ(ReverseDns::identifier("abcde12345.com.foo"), std::nullopt) << "a team prefix is in capitals";
}

TEST(ReverseDnsNames, PlainNamesAndFilesAreNoIdentifiers) {
    for (const char* name : {"foo", "readme.txt", "Documents", "foo.bar.baz", "com", "com..foo", ".com.foo", ""})
        EXPECT_EQ(ReverseDns::identifier(name), std::nullopt) << name;
}

TEST(ReverseDnsParts, VendorsPrefixesAndLineageKeepToWholePieces) {
    EXPECT_EQ(ReverseDns::vendor("com.Foo.App"), "com.foo");
    EXPECT_EQ(ReverseDns::vendor("foo"), std::nullopt);
    EXPECT_TRUE(ReverseDns::hasPrefix("com.foo", "com.foo.app"));
    EXPECT_TRUE(ReverseDns::hasPrefix("com.foo", "com.foo"));
    EXPECT_FALSE(ReverseDns::hasPrefix("com.foo", "com.foobar"));
    EXPECT_EQ(ReverseDns::lineage("A.b.C"), (std::vector<std::string>{"a.b.c", "a.b", "a"}));
    EXPECT_EQ(ReverseDns::fold("Foo-Bar 2"), "foobar2");
    EXPECT_TRUE(ReverseDns::isTeamIdentifier("ABCDE12345"));
    EXPECT_FALSE(ReverseDns::isTeamIdentifier("ABCDE1234"));
    EXPECT_TRUE(ReverseDns::isTopLevelDomain("COM"));
}
