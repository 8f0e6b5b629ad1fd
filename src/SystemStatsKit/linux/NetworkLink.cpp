// Which link carries the machine's traffic.
//
// The primary interface is the one the default route leaves by: in
// /proc/net/route, the line whose destination and mask are both 0 and whose
// flags say up, the lowest metric first; failing that, the IPv6 default route
// (destination ::/0) of /proc/net/ipv6_route, where the kernel also keeps
// "no route" entries on the loopback, which do not count. No default route
// is no link: offline.
//
// Wi-Fi is known by its signal: /proc/net/wireless lists each wireless
// interface with its level in dBm. The link is Wi-Fi when the primary
// interface is the Wi-Fi one, or when it is no device at all (a VPN tunnel)
// while the Wi-Fi has a signal: the tunnel rides on it. A Wi-Fi interface
// without a signal (off, not associated) is as good as none, and the link is
// wired: a cable, or another link such as a tethered phone. The Wi-Fi's bit
// rate and band come from nl80211 (Nl80211.cpp), asked only of this machine's
// own kernel, never when the files are a fixture's.
//
//     route: default via wlan0     wireless: wlan0 -58.   -> wifi, -58 dBm
//     route: default via wg0       wireless: wlan0 -71.   -> wifi (through wg0)
//     route: default via eth0      wireless: wlan0 -58.   -> wired, eth0
//     route: none                                         -> offline

#include "SystemStatsKit/NetworkLink.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>

#include <cmath>
#include <limits>

#include "Base/Lines.h"
#include "KernelFiles.h"
#include "Nl80211.h"

namespace tessel {

namespace {

constexpr std::uint32_t routeUp = 0x0001; // RTF_UP

} // namespace

std::string_view keyOf(NetworkLink::Kind kind) {
    switch (kind) {
    case NetworkLink::Kind::wifi: return "wifi";
    case NetworkLink::Kind::wired: return "wired";
    case NetworkLink::Kind::offline: return "offline";
    }
    return "offline";
}

std::string NetworkLink::description() const {
    switch (kind) {
    case Kind::wired: return "Connected by cable or another link";
    case Kind::offline: return "Not connected";
    case Kind::wifi: break;
    }
    if (!rssi || *rssi >= 0) return "Wi-Fi";
    const char* word = *rssi >= -60 ? "strong" : *rssi >= -70 ? "good" : *rssi >= -80 ? "fair" : "weak";
    return "Wi-Fi, " + std::string(word) + " signal (" + std::to_string(*rssi) + " dBm)";
}

std::optional<std::string> NetworkLink::bandName(int channelBand) {
    switch (channelBand) {
    case 1: return "2.4 GHz";
    case 2: return "5 GHz";
    case 3: return "6 GHz";
    default: return std::nullopt;
    }
}

std::optional<std::string> NetworkLink::primaryInterface(std::string_view route, std::string_view ipv6Route) {
    // Iface Destination Gateway Flags RefCnt Use Metric Mask ...
    std::optional<std::string> best;
    std::uint32_t bestMetric = std::numeric_limits<std::uint32_t>::max();
    forEachLine(route, [&](std::string_view line) {
        const std::vector<std::string_view> w = KernelFiles::words(line);
        if (w.size() < 8) return;
        const auto destination = KernelFiles::parseHex(w[1]), flags = KernelFiles::parseHex(w[3]), mask = KernelFiles::parseHex(w[7]);
        const auto metric = KernelFiles::parseUnsigned(w[6]);
        if (!destination || !flags || !mask || !metric || *destination != 0 || *mask != 0 || !(*flags & routeUp)) return;
        if (!best || *metric < bestMetric) {
            best = std::string(w[0]);
            bestMetric = static_cast<std::uint32_t>(std::min<std::uint64_t>(*metric, bestMetric));
        }
    });
    if (best) return best;
    // destination prefix-length source prefix-length next-hop metric refcnt use flags device
    forEachLine(ipv6Route, [&](std::string_view line) {
        const std::vector<std::string_view> w = KernelFiles::words(line);
        if (w.size() < 10 || w[0] != std::string_view("00000000000000000000000000000000") || w[1] != "00" ||
            w[9] == "lo")
            return;
        const auto flags = KernelFiles::parseHex(w[8]), metric = KernelFiles::parseHex(w[5]);
        if (!flags || !metric || !(*flags & routeUp)) return;
        if (!best || *metric < bestMetric) {
            best = std::string(w[9]);
            bestMetric = *metric;
        }
    });
    return best;
}

// Inter-| sta-|   Quality        |   Discarded packets               | Missed | WE
//  face | tus | link level noise |  nwid  crypt   frag  retry   misc | beacon | 22
//  wlan0: 0000   54.  -56.  -256        0      0      0      0     27        0
std::optional<std::pair<std::string, int>> NetworkLink::wifiSignal(std::string_view wireless,
                                                                   const std::optional<std::string>& interface) {
    std::optional<std::pair<std::string, int>> chosen;
    forEachLine(wireless, [&](std::string_view line) {
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) return;
        const std::string name(trimmed(line.substr(0, colon)));
        const std::vector<std::string_view> w = KernelFiles::words(line.substr(colon + 1));
        if (w.size() < 3) return;
        const std::optional<double> level = KernelFiles::parseDecimal(w[2]);
        if (!level || !std::isfinite(*level) || std::fabs(*level) > 1000) return;
        const int dBm = static_cast<int>(std::lround(*level));
        if (interface ? name == *interface : !chosen && dBm != 0) chosen = {name, dBm};
    });
    return chosen;
}

NetworkLink NetworkLink::current(const SystemRoots& roots) {
    const std::optional<std::string> route = KernelFiles::text(roots.proc + "/net/route");
    const std::optional<std::string> ipv6Route = KernelFiles::text(roots.proc + "/net/ipv6_route");
    const std::optional<std::string> primary = primaryInterface(route.value_or(""), ipv6Route.value_or(""));
    if (!primary) return {};
    NetworkLink link;
    link.kind = Kind::wired;
    link.interface = primary;
    const std::optional<std::string> wireless = KernelFiles::text(roots.proc + "/net/wireless");
    const bool tunnel = !KernelFiles::exists(roots.sys + "/class/net/" + *primary + "/device");
    std::optional<std::pair<std::string, int>> wifi = wifiSignal(wireless.value_or(""), std::nullopt);
    if (std::optional<std::pair<std::string, int>> primaryWifi = wifiSignal(wireless.value_or(""), primary))
        wifi = primaryWifi;
    if (!wifi || wifi->second == 0 || (wifi->first != *primary && !tunnel)) return link;
    link.kind = Kind::wifi;
    link.interface = wifi->first;
    link.rssi = wifi->second;
    if (roots.areThisMachines()) {
        const Nl80211::Reading reading = Nl80211::read(wifi->first);
        link.transmitRate = reading.transmitRate;
        if (reading.frequency) link.band = bandName(Nl80211::channelBand(*reading.frequency));
    }
    return link;
}

std::optional<std::string> NetworkLink::address(const std::string& interface) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return std::nullopt;
    std::optional<std::string> found;
    for (const ifaddrs* entry = list; entry != nullptr && !found; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET || interface != entry->ifa_name) continue;
        char text[NI_MAXHOST] = {};
        if (getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0)
            found = text;
    }
    freeifaddrs(list);
    return found;
}

} // namespace tessel
