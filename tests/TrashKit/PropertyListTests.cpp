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
    const std::size_t count = references.size();
    std::string object = count < 15 ? std::string(1, static_cast<char>(0xA0 | count)) : "\xAF\x12" + bigEndian(count, 4);
    for (std::uint32_t reference : references) object += bigEndian(reference, 4);
    return object;
}

// A binary list of these objects, the first one on top.
std::string binaryList(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00", offsets;
    for (const std::string& object : objects) {
        offsets += bigEndian(bytes.size(), 4);
        bytes += object;
    }
    return bytes + offsets + std::string(6, '\0') + "\x04\x04" + bigEndian(objects.size(), 8) + bigEndian(0, 8) +
           bigEndian(bytes.size(), 8);
}

// Each array refers `fanOut` times to the next, `levels` deep.
std::string chainedArrays(std::uint32_t levels, std::size_t fanOut) {
    std::vector<std::string> objects;
    for (std::uint32_t i = 0; i + 1 < levels; ++i) objects.push_back(arrayOf(std::vector<std::uint32_t>(fanOut, i + 1)));
    objects.push_back(arrayOf({}));
    return binaryList(objects);
}

// Text with what XML escapes, a negative number, a boolean, bytes with a NUL, an array.
PropertyList sample() {
    return *PropertyList::parse("<plist><dict><key>name</key><string>Caf\xC3\xA9 &amp; &lt;Bar&gt;</string><key>count</key>"
                                "<integer>-7</integer><key>on</key><true/><key>bytes</key><data>YQBi</data><key>items</key>"
                                "<array><integer>2</integer></array></dict></plist>");
}

} // namespace

TEST(PropertyListReading, XmlAndBinaryCarryTheSameValues) {
    for (const std::string& bytes : {sample().toXml(), sample().toBinary()}) {
        const std::optional<PropertyList> list = PropertyList::parse(bytes);
        ASSERT_TRUE(list);
        EXPECT_EQ(list->string("name"), "Caf\xC3\xA9 & <Bar>");
        EXPECT_EQ(list->get("count")->asInteger(), -7);
        EXPECT_EQ(list->get("bytes")->asData(), std::string("a\0b", 3));
        EXPECT_EQ(list->get("on")->asBoolean(), true);
        EXPECT_EQ(list->get("items")->at(0).asInteger(), 2);
    }
}

TEST(PropertyListReading, ABinaryListMayEndInABoolean) {
    // A boolean's marker is 0x09: its low bits are no length, though a string before it makes them look like one.
    PropertyList list = PropertyList::array();
    list.append(PropertyList::text("abcdefghijkl"));
    list.append(PropertyList::boolean(true));
    const std::optional<PropertyList> read = PropertyList::parse(list.toBinary());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->at(1).asBoolean(), true);
}

TEST(PropertyListReading, WhatIsNotAListOrIsTooLargeReadsAsNone) {
    const char withNul[] = "<plist><string>a\0b</string></plist>";
    for (const std::string& bytes : {std::string("hello"), std::string("bplist00"), std::string("<plist><array></plist>"),
                                     std::string(withNul, sizeof withNul - 1),
                                     "<plist><string>" + std::string(64 << 20, 'x') + "</string></plist>"})
        EXPECT_FALSE(PropertyList::parse(bytes)) << bytes.substr(0, 40);
}

TEST(PropertyListReading, EveryTruncationIsSafeAndNoBinaryOneReads) {
    const std::string xml = sample().toXml();
    const std::string binary = sample().toBinary();
    for (std::size_t length = 0; length < xml.size(); ++length)
        if (std::optional<PropertyList> list = PropertyList::parse(xml.substr(0, length))) (void)list->toXml();
    for (std::size_t length = 0; length < binary.size(); ++length)
        EXPECT_FALSE(PropertyList::parse(binary.substr(0, length))) << length;
}

TEST(PropertyListLimits, WhatWouldNestTooDeepOrUnfoldWithoutEndReadsAsNone) {
    std::string xml = "<plist>";
    for (int i = 0; i < 1000; ++i) xml += "<array>";
    EXPECT_FALSE(PropertyList::parse(xml + "</plist>"));
    EXPECT_FALSE(PropertyList::parse(chainedArrays(1000, 1)));
    EXPECT_FALSE(PropertyList::parse(chainedArrays(40, 2))); // 2^40 arrays from 40 objects
    EXPECT_TRUE(PropertyList::parse(chainedArrays(10, 2)));
    EXPECT_FALSE(PropertyList::parse(binaryList({arrayOf({1}), arrayOf({0})}))) << "a cycle";
    // One string of a MiB, referred to 70 times: more than 64 MiB of text.
    const std::string mebibyte = "\x5F\x12" + bigEndian(1 << 20, 4) + std::string(1 << 20, 'x');
    EXPECT_FALSE(PropertyList::parse(binaryList({arrayOf(std::vector<std::uint32_t>(70, 1)), mebibyte})));
    // A NUL in UTF-16 text, which libplist would keep with the uncut length.
    EXPECT_FALSE(PropertyList::parse(binaryList({arrayOf({1}), std::string("\x62\0a\0\0", 5)})));
    EXPECT_EQ(PropertyList::parse(binaryList({arrayOf({1}), std::string("\x62\0a\0b", 5)}))->at(0).asString(), "ab");
}
