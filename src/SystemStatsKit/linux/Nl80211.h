#pragma once
// The Wi-Fi link's bit rate and band, asked of the kernel's wireless
// configuration interface over generic netlink. See Nl80211.cpp.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessel::Nl80211 {

struct Reading {
    std::optional<double> transmitRate; // Mbit/s
    std::optional<int> frequency;       // MHz
};

// Reads a reply: one or more netlink messages, as a socket hands them over.
// The generic netlink family number the controller gives for "nl80211".
std::optional<std::uint16_t> familyId(std::string_view reply);
// The interface's channel, in MHz, from the answer to "get interface".
std::optional<int> frequency(std::string_view reply);
// The bit rate towards the access point, in Mbit/s, from the dump of
// "get station" (a client has one station: the access point).
std::optional<double> transmitRate(std::string_view reply);
// The band a channel lies in: 2412 -> 1 (2.4 GHz), 5180 -> 2 (5 GHz),
// 5955 -> 3 (6 GHz); 0 for what is none of these.
int channelBand(int megahertz);

// Asks the kernel about `interface`. Nothing where there is no such
// interface, no wireless driver, or no answer within a fifth of a second.
Reading read(const std::string& interface);

} // namespace tessel::Nl80211
