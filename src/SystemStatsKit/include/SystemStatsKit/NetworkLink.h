#pragma once
// How the machine reaches the network: by Wi-Fi, by cable (or another link),
// or not at all, and for Wi-Fi how strong the signal is. See NetworkLink.cpp.

#include <optional>
#include <string>
#include <string_view>

#include "SystemStatsKit/SystemRoots.h"

namespace tessel {

struct NetworkLink {
    enum class Kind { wifi, wired, offline };

    Kind kind = Kind::offline;
    std::optional<int> rssi;              // dBm
    std::optional<std::string> interface; // a name: bytes
    std::optional<double> transmitRate;   // Mbit/s
    std::optional<std::string> band;      // "2.4 GHz", "5 GHz", "6 GHz"

    // The sentence for the reader: "Wi-Fi, good signal (-65 dBm)".
    std::string description() const;

    // The link as the routing table and /proc/net/wireless show it now, with
    // the Wi-Fi's bit rate and band from nl80211 when `roots` are this
    // machine's own.
    static NetworkLink current(const SystemRoots& roots = {});
    // The first IPv4 address of `interface`, as text; none when it has none.
    static std::optional<std::string> address(const std::string& interface);

    // The interface of the default route in /proc/net/route (the lowest
    // metric wins), else in /proc/net/ipv6_route; none without one.
    static std::optional<std::string> primaryInterface(std::string_view route, std::string_view ipv6Route);
    // The signal of each Wi-Fi interface /proc/net/wireless lists, in dBm;
    // `interface` chooses one, else the first with a signal.
    static std::optional<std::pair<std::string, int>> wifiSignal(std::string_view wireless,
                                                                 const std::optional<std::string>& interface);
    // The band of a channel band number: 1, 2, 3 -> "2.4 GHz", "5 GHz", "6 GHz".
    static std::optional<std::string> bandName(int channelBand);

    bool operator==(const NetworkLink&) const = default;
};

std::string_view keyOf(NetworkLink::Kind kind);

} // namespace tessel
