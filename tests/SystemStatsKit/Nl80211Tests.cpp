// The Wi-Fi's bit rate and band from nl80211's replies, built here byte by
// byte as the kernel lays them out: nested station info, the wide and the
// narrow rate, a dump in several messages, and replies that lie about their
// lengths.
#include <gtest/gtest.h>

#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>

#include <cstring>

#include "linux/Nl80211.h"

using namespace tessel;

namespace {

std::string attribute(std::uint16_t type, const std::string& payload) {
    const std::uint16_t length = static_cast<std::uint16_t>(4 + payload.size());
    std::string bytes(4, '\0');
    std::memcpy(bytes.data(), &length, 2);
    std::memcpy(bytes.data() + 2, &type, 2);
    bytes += payload;
    bytes.resize((bytes.size() + 3) & ~std::size_t{3}, '\0');
    return bytes;
}

template <class Number> std::string raw(Number value) { return std::string(reinterpret_cast<const char*>(&value), sizeof value); }

std::string message(const std::string& attributes, std::uint16_t type = 0x1c) {
    nlmsghdr header{static_cast<std::uint32_t>(NLMSG_HDRLEN + GENL_HDRLEN + attributes.size()), type, NLM_F_MULTI, 1, 0};
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
    const genlmsghdr generic{NL80211_CMD_NEW_STATION, 1, 0};
    bytes += std::string(reinterpret_cast<const char*>(&generic), sizeof generic);
    return bytes + attributes;
}

std::string station(const std::string& rateAttributes) {
    return message(attribute(NL80211_ATTR_IFINDEX, raw<std::uint32_t>(3)) +
                   attribute(NL80211_ATTR_STA_INFO, attribute(NL80211_STA_INFO_SIGNAL, raw<std::int8_t>(-58)) +
                                                        attribute(NL80211_STA_INFO_TX_BITRATE, rateAttributes)));
}

TEST(Nl80211Replies, TheRateNestedInTheStationIsRead) {
    EXPECT_EQ(Nl80211::transmitRate(station(attribute(NL80211_RATE_INFO_BITRATE32, raw<std::uint32_t>(8667)))), 866.7);
    EXPECT_EQ(Nl80211::transmitRate(station(attribute(NL80211_RATE_INFO_BITRATE, raw<std::uint16_t>(540)))), 54.0)
        << "older drivers give only the 16-bit rate";
    const std::string both = attribute(NL80211_RATE_INFO_BITRATE, raw<std::uint16_t>(65535)) +
                             attribute(NL80211_RATE_INFO_BITRATE32, raw<std::uint32_t>(96077));
    EXPECT_EQ(Nl80211::transmitRate(station(both)), 9607.7) << "the wide rate wins where the narrow one has run out";
    EXPECT_EQ(Nl80211::transmitRate(message(attribute(NL80211_ATTR_IFINDEX, raw<std::uint32_t>(3))) + station(attribute(NL80211_RATE_INFO_BITRATE, raw<std::uint16_t>(1200)))),
              120.0)
        << "a dump's first message without station info is passed over";
    EXPECT_EQ(Nl80211::transmitRate(station(attribute(NL80211_RATE_INFO_MCS, raw<std::uint8_t>(7)))), std::nullopt);
}

TEST(Nl80211Replies, TheFrequencyGivesTheBand) {
    EXPECT_EQ(Nl80211::frequency(message(attribute(NL80211_ATTR_IFINDEX, raw<std::uint32_t>(3)) +
                                         attribute(NL80211_ATTR_WIPHY_FREQ, raw<std::uint32_t>(5180)))),
              5180);
    EXPECT_EQ(Nl80211::channelBand(2412), 1);
    EXPECT_EQ(Nl80211::channelBand(5180), 2);
    EXPECT_EQ(Nl80211::channelBand(5955), 3);
    EXPECT_EQ(Nl80211::channelBand(60480), 0) << "60 GHz is none of the three bands";
    EXPECT_EQ(Nl80211::familyId(message(attribute(CTRL_ATTR_FAMILY_NAME, std::string("nl80211", 8)) +
                                            attribute(CTRL_ATTR_FAMILY_ID, raw<std::uint16_t>(0x1c)),
                                        GENL_ID_CTRL)),
              0x1c);
}

TEST(Nl80211Replies, LengthsThatDoNotAddUpGiveNothing) {
    std::string reply = station(attribute(NL80211_RATE_INFO_BITRATE32, raw<std::uint32_t>(8667)));
    std::string longer = reply;
    const std::uint32_t claimed = static_cast<std::uint32_t>(reply.size() + 64);
    std::memcpy(longer.data(), &claimed, 4);
    EXPECT_EQ(Nl80211::transmitRate(longer), std::nullopt) << "a message longer than the reply";

    std::string badAttribute = reply;
    const std::uint16_t huge = 4000;
    std::memcpy(badAttribute.data() + NLMSG_HDRLEN + GENL_HDRLEN + 8, &huge, 2); // the station info's length
    EXPECT_EQ(Nl80211::transmitRate(badAttribute), std::nullopt) << "an attribute longer than its message";

    EXPECT_EQ(Nl80211::transmitRate(reply.substr(0, 10)), std::nullopt);
    EXPECT_EQ(Nl80211::frequency(""), std::nullopt);
}

TEST(Nl80211Replies, AnInterfaceThatIsNotThereIsNotAsked) {
    const Nl80211::Reading reading = Nl80211::read("no-such-wlan9");
    EXPECT_EQ(reading.transmitRate, std::nullopt);
    EXPECT_EQ(reading.frequency, std::nullopt);
}

} // namespace
