#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TrashKit/PropertyList.h"

using namespace tessel;

namespace {

std::string bigEndian(std::uint64_t value, int width) {
    std::string bytes;
    for (int i = width - 1; i >= 0; --i) bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
    return bytes;
}

// An array object of references (4 bytes each) to other objects.
std::string arrayOf(const std::vector<std::uint32_t>& references) {
    std::string object(1, static_cast<char>(0xA0 | references.size()));
    for (std::uint32_t reference : references) object += bigEndian(reference, 4);
    return object;
}

// A binary list of these objects, the first one on top.
std::string binaryList(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
        offsets += bigEndian(bytes.size(), 4);
        bytes += object;
    }
    const std::size_t table = bytes.size();
    return bytes + offsets + std::string(6, '\0') + '\x04' + '\x04' + bigEndian(objects.size(), 8) + bigEndian(0, 8) +
           bigEndian(table, 8);
}

// Each array refers `fanOut` times to the next, `levels` deep.
std::string chainedArrays(std::uint32_t levels, std::size_t fanOut) {
    std::vector<std::string> objects;
    for (std::uint32_t i = 0; i + 1 < levels; ++i) objects.push_back(arrayOf(std::vector<std::uint32_t>(fanOut, i + 1)));
    objects.push_back(arrayOf({}));
    return binaryList(objects);
}

PropertyList sample() {
    PropertyList list = PropertyList::dictionary();
    list.set("name", PropertyList::text("Caf\xC3\xA9 & <Bar>"));
    list.set("count", PropertyList::integer(-7));
    list.set("on", PropertyList::boolean(true));
    list.set("bytes", PropertyList::data(std::string("a\0b", 3)));
    PropertyList items = PropertyList::array();
    items.append(PropertyList::text("first"));
    items.append(PropertyList::integer(2));
    list.set("items", items);
    return list;
}

} // namespace

TEST(PropertyListReading, XmlAndBinaryCarryTheSameValues) {
    for (const std::string& bytes : {sample().toXml(), sample().toBinary()}) {
        const std::optional<PropertyList> list = PropertyList::parse(bytes);
        ASSERT_TRUE(list);
        EXPECT_EQ(list->string("name"), "Caf\xC3\xA9 & <Bar>");
        EXPECT_EQ(list->get("count")->asInteger(), -7);
        EXPECT_EQ(list->get("on")->asBoolean(), true);
        EXPECT_EQ(list->get("bytes")->asData(), std::string("a\0b", 3));
        ASSERT_EQ(list->get("items")->size(), 2U);
        EXPECT_EQ(list->get("items")->at(1).asInteger(), 2);
    }
}

TEST(PropertyListReading, WhatIsNotAListReadsAsNone) {
    for (const char* bytes : {"", "hello", "<plist><array></plist>", "bplist00", "<plist><string>a&#0;b</string></plist>"})
        EXPECT_FALSE(PropertyList::parse(bytes)) << bytes;
    const char withNul[] = "<plist><string>a\0b</string></plist>";
    EXPECT_FALSE(PropertyList::parse(std::string(withNul, sizeof withNul - 1)));
    EXPECT_FALSE(PropertyList::parse("<plist><string>" + std::string(64 << 20, 'x') + "</string></plist>")) << "over the size limit";
}

TEST(PropertyListReading, EveryTruncationIsSafeAndNoBinaryOneReads) {
    const std::string xml = sample().toXml();
    const std::string binary = sample().toBinary();
    for (std::size_t length = 0; length < xml.size(); ++length)
        if (std::optional<PropertyList> list = PropertyList::parse(xml.substr(0, length))) (void)list->toXml();
    for (std::size_t length = 0; length < binary.size(); ++length)
        EXPECT_FALSE(PropertyList::parse(binary.substr(0, length))) << length;
}

TEST(PropertyListLimits, NestingTooDeepToFreeSafelyReadsAsNone) {
    std::string xml = "<plist>";
    for (int i = 0; i < 100000; ++i) xml += "<array>";
    EXPECT_FALSE(PropertyList::parse(xml + "</plist>")); // unclosed too: libplist frees what it built
    for (int i = 0; i < 100000; ++i) xml += "</array>";
    EXPECT_FALSE(PropertyList::parse(xml + "</plist>"));
    EXPECT_FALSE(PropertyList::parse(chainedArrays(100000, 1)));
    EXPECT_TRUE(PropertyList::parse(chainedArrays(100, 1)));
}

TEST(PropertyListLimits, SharedObjectsThatWouldUnfoldWithoutEndReadAsNone) {
    EXPECT_FALSE(PropertyList::parse(chainedArrays(40, 2))); // 2^40 arrays from 40 objects
    EXPECT_TRUE(PropertyList::parse(chainedArrays(10, 2)));
    // One string of a MiB, shared: 60 copies are fine, 70 would be more than 64 MiB of text.
    const auto sharedString = [](std::uint32_t references) {
        std::string array = std::string("\xAF\x12", 2) + bigEndian(references, 4);
        for (std::uint32_t i = 0; i < references; ++i) array += bigEndian(1, 4);
        return binaryList({array, std::string("\x5F\x12", 2) + bigEndian(1 << 20, 4) + std::string(1 << 20, 'x')});
    };
    EXPECT_TRUE(PropertyList::parse(sharedString(60)));
    EXPECT_FALSE(PropertyList::parse(sharedString(70)));
}

TEST(PropertyListLimits, BinaryCyclesAndNulsInTextReadAsNone) {
    EXPECT_FALSE(PropertyList::parse(binaryList({arrayOf({1}), arrayOf({0})})));
    const std::string nul = std::string(1, '\x62') + std::string("\0a\0\0", 4); // UTF-16 "a", then U+0000
    const std::string text = std::string(1, '\x62') + std::string("\0a\0b", 4);
    EXPECT_FALSE(PropertyList::parse(binaryList({arrayOf({1}), nul})));
    const std::optional<PropertyList> list = PropertyList::parse(binaryList({arrayOf({1}), text}));
    ASSERT_TRUE(list);
    EXPECT_EQ(list->at(0).asString(), "ab");
}

TEST(PropertyListReading, InputOverTheSizeLimitIsRefusedUnread) {
    const std::string huge = "<plist><string>" + std::string(64 << 20, 'x') + "</string></plist>";
    EXPECT_FALSE(PropertyList::parse(huge));
}
