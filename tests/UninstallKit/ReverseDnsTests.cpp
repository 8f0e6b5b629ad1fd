// Reading identifiers out of the names apps leave on disk.
#include <gtest/gtest.h>

#include "UninstallKit/ReverseDns.h"

using namespace tessel;

TEST(ReverseDnsNames, TeamPrefixesDecorationsAndExtensionsComeOffAndPlainNamesAreNone) {
    for (const auto& [name, identifier] : std::vector<std::pair<const char*, std::optional<std::string>>>{
             {"ABCDE12345.com.foo.app", "com.foo.app"}, {"group.com.foo", "com.foo"}, {"com.Foo.Bar.plist", "com.foo.bar"},
             {"org.gnome.Maps.desktop", "org.gnome.maps"}, {"com.foo.bar_1234", "com.foo.bar"},
             {"cache_org.mozilla.firefox", "org.mozilla.firefox"}, {"abcde12345.com.foo", std::nullopt}, // a team prefix is in capitals
             {"foo", std::nullopt}, {"readme.txt", std::nullopt}, {"foo.bar.baz", std::nullopt}, {"com..foo", std::nullopt},
             {".com.foo", std::nullopt}, {"", std::nullopt}})
        EXPECT_EQ(ReverseDns::identifier(name), identifier) << name;
}

TEST(ReverseDnsParts, VendorsPrefixesAndLineageKeepToWholePieces) {
    EXPECT_EQ(ReverseDns::vendor("com.Foo.App"), "com.foo");
    EXPECT_EQ(ReverseDns::vendor("foo"), std::nullopt);
    EXPECT_TRUE(ReverseDns::hasPrefix("com.foo", "com.foo.app") && ReverseDns::hasPrefix("com.foo", "com.foo"));
    EXPECT_FALSE(ReverseDns::hasPrefix("com.foo", "com.foobar"));
    EXPECT_EQ(ReverseDns::lineage("A.b.C"), (std::vector<std::string>{"a.b.c", "a.b", "a"}));
    EXPECT_EQ(ReverseDns::fold("Foo-Bar 2"), "foobar2");
    EXPECT_FALSE(ReverseDns::isTeamIdentifier("ABCDE1234")) << "ten characters";
}
