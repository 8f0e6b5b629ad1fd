// The Wi-Fi link's bit rate and band, from the kernel's nl80211 interface.
//
// /proc/net/wireless tells the signal but not how fast the link runs nor on
// which band. Those live behind nl80211, a generic netlink family: the
// controller is asked for the family's number by name, then the family for
// the interface (whose answer carries the channel's frequency) and for a dump
// of its stations (a client has one, the access point, whose "station info"
// nests the last transmit rate).
//
// A netlink message is a 16-byte header (length, type, flags, sequence,
// port), a 4-byte generic header (command, version), then attributes: each a
// 16-bit length and type, its payload, padded to 4 bytes. Nested attributes
// are attributes inside a payload. Every length read from a reply is checked
// against what is left of it; a reply that does not add up gives nothing.
//
//     get family "nl80211"          -> CTRL_ATTR_FAMILY_ID 0x1c
//     get interface (ifindex 3)     -> NL80211_ATTR_WIPHY_FREQ 5180
//     dump stations (ifindex 3)     -> STA_INFO { TX_BITRATE { BITRATE32 8667 } }  = 866.7 Mbit/s
//
// The socket has a receive timeout, so a tick never waits long on it; with no
// wireless driver loaded the controller knows no nl80211 and nothing is asked.

#include "Nl80211.h"

#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>
#include <net/if.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <vector>

namespace tessel::Nl80211 {

namespace {

constexpr std::size_t align4(std::size_t length) { return (length + 3) & ~std::size_t{3}; }

template <class Number> std::optional<Number> number(std::string_view payload) {
    if (payload.size() < sizeof(Number)) return std::nullopt;
    Number value{};
    std::memcpy(&value, payload.data(), sizeof(Number));
    return value;
}

// Calls `each(type, payload)` for the attributes laid out in `area`; false
// when one claims more than there is.
bool forEachAttribute(std::string_view area, const std::function<void(std::uint16_t, std::string_view)>& each) {
    while (area.size() >= sizeof(nlattr)) {
        nlattr header{};
        std::memcpy(&header, area.data(), sizeof header);
        if (header.nla_len < sizeof header || header.nla_len > area.size()) return false;
        each(static_cast<std::uint16_t>(header.nla_type & NLA_TYPE_MASK), area.substr(sizeof header, header.nla_len - sizeof header));
        area.remove_prefix(std::min(area.size(), align4(header.nla_len)));
    }
    return true;
}

std::optional<std::string_view> attribute(std::string_view area, std::uint16_t wanted) {
    std::optional<std::string_view> found;
    const bool whole = forEachAttribute(area, [&](std::uint16_t type, std::string_view payload) {
        if (type == wanted && !found) found = payload;
    });
    return whole ? found : std::nullopt;
}

// Calls `each(attributes)` for every generic netlink message of the reply
// that carries data; false when a message claims more than there is.
bool forEachMessage(std::string_view reply, const std::function<void(std::string_view)>& each) {
    while (reply.size() >= sizeof(nlmsghdr)) {
        nlmsghdr header{};
        std::memcpy(&header, reply.data(), sizeof header);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > reply.size()) return false;
        const std::string_view body = reply.substr(sizeof header, header.nlmsg_len - sizeof header);
        if (header.nlmsg_type >= NLMSG_MIN_TYPE && body.size() >= GENL_HDRLEN) each(body.substr(GENL_HDRLEN));
        reply.remove_prefix(std::min(reply.size(), align4(header.nlmsg_len)));
    }
    return true;
}

class Socket {
public:
    Socket() : fd_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_GENERIC)) {
        if (fd_ < 0) return;
        const timeval wait{0, 200'000};
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
    }
    ~Socket() {
        if (fd_ >= 0) ::close(fd_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    // Sends one request and gathers its answer: one message, or the parts of
    // a dump up to the one that says it is done. None on an error or silence.
    std::optional<std::string> ask(std::uint16_t family, std::uint8_t command, std::uint16_t flags,
                                   const std::vector<std::pair<std::uint16_t, std::string>>& attributes) {
        if (fd_ < 0) return std::nullopt;
        std::string message(NLMSG_HDRLEN + GENL_HDRLEN, '\0');
        for (const auto& [type, payload] : attributes) {
            const nlattr header{static_cast<std::uint16_t>(sizeof(nlattr) + payload.size()), type};
            message.append(reinterpret_cast<const char*>(&header), sizeof header);
            message.append(payload);
            message.resize(align4(message.size()), '\0');
        }
        const nlmsghdr header{static_cast<std::uint32_t>(message.size()), family,
                              static_cast<std::uint16_t>(NLM_F_REQUEST | flags), ++sequence_, 0};
        std::memcpy(message.data(), &header, sizeof header);
        const genlmsghdr generic{command, 1, 0};
        std::memcpy(message.data() + NLMSG_HDRLEN, &generic, sizeof generic);
        sockaddr_nl kernel{};
        kernel.nl_family = AF_NETLINK;
        if (::sendto(fd_, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&kernel), sizeof kernel) < 0)
            return std::nullopt;

        std::string answer;
        std::vector<char> buffer(65536);
        for (int parts = 0; parts < 64; ++parts) {
            const ssize_t got = ::recv(fd_, buffer.data(), buffer.size(), 0);
            if (got <= 0) return std::nullopt;
            std::string_view part(buffer.data(), static_cast<std::size_t>(got));
            bool finished = true;
            while (part.size() >= sizeof(nlmsghdr)) {
                nlmsghdr reply{};
                std::memcpy(&reply, part.data(), sizeof reply);
                if (reply.nlmsg_len < sizeof reply || reply.nlmsg_len > part.size()) return std::nullopt;
                if (reply.nlmsg_seq == sequence_) {
                    if (reply.nlmsg_type == NLMSG_ERROR) {
                        const std::optional<int> error = number<int>(part.substr(sizeof reply));
                        if (error && *error != 0) return std::nullopt;
                    } else if (reply.nlmsg_type != NLMSG_DONE) {
                        answer.append(part.substr(0, reply.nlmsg_len));
                    }
                    finished = !(reply.nlmsg_flags & NLM_F_MULTI) || reply.nlmsg_type == NLMSG_DONE;
                }
                part.remove_prefix(std::min(part.size(), align4(reply.nlmsg_len)));
            }
            if (finished) return answer;
        }
        return std::nullopt;
    }

private:
    int fd_;
    std::uint32_t sequence_ = 0;
};

std::string u32(std::uint32_t value) { return std::string(reinterpret_cast<const char*>(&value), sizeof value); }

} // namespace

std::optional<std::uint16_t> familyId(std::string_view reply) {
    std::optional<std::uint16_t> id;
    forEachMessage(reply, [&](std::string_view attributes) {
        if (const std::optional<std::string_view> payload = attribute(attributes, CTRL_ATTR_FAMILY_ID); payload && !id)
            id = number<std::uint16_t>(*payload);
    });
    return id;
}

std::optional<int> frequency(std::string_view reply) {
    std::optional<int> found;
    forEachMessage(reply, [&](std::string_view attributes) {
        const std::optional<std::string_view> payload = attribute(attributes, NL80211_ATTR_WIPHY_FREQ);
        if (!payload || found) return;
        if (const std::optional<std::uint32_t> megahertz = number<std::uint32_t>(*payload); megahertz && *megahertz > 0 && *megahertz < 100'000)
            found = static_cast<int>(*megahertz);
    });
    return found;
}

std::optional<double> transmitRate(std::string_view reply) {
    std::optional<double> rate;
    forEachMessage(reply, [&](std::string_view attributes) {
        if (rate) return;
        const std::optional<std::string_view> station = attribute(attributes, NL80211_ATTR_STA_INFO);
        const std::optional<std::string_view> bitrate = station ? attribute(*station, NL80211_STA_INFO_TX_BITRATE) : std::nullopt;
        if (!bitrate) return;
        // Both count in units of 100 kbit/s; the 32-bit one exists because
        // the 16-bit one runs out above 6.5 Gbit/s.
        std::optional<std::uint32_t> units;
        if (const std::optional<std::string_view> wide = attribute(*bitrate, NL80211_RATE_INFO_BITRATE32)) units = number<std::uint32_t>(*wide);
        if (!units)
            if (const std::optional<std::string_view> narrow = attribute(*bitrate, NL80211_RATE_INFO_BITRATE))
                if (const std::optional<std::uint16_t> value = number<std::uint16_t>(*narrow)) units = *value;
        if (units && *units > 0) rate = *units / 10.0;
    });
    return rate;
}

int channelBand(int megahertz) {
    if (megahertz >= 2400 && megahertz < 2500) return 1;
    if (megahertz >= 5955 && megahertz <= 7125) return 3;
    if (megahertz >= 4900 && megahertz < 5955) return 2;
    return 0;
}

Reading read(const std::string& interface) {
    const unsigned index = ::if_nametoindex(interface.c_str());
    if (index == 0) return {};
    Socket socket;
    const std::optional<std::string> family =
        socket.ask(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, 0, {{CTRL_ATTR_FAMILY_NAME, std::string("nl80211", 8)}});
    const std::optional<std::uint16_t> id = family ? familyId(*family) : std::nullopt;
    if (!id) return {};
    Reading reading;
    if (const std::optional<std::string> answer = socket.ask(*id, NL80211_CMD_GET_INTERFACE, 0, {{NL80211_ATTR_IFINDEX, u32(index)}}))
        reading.frequency = frequency(*answer);
    if (const std::optional<std::string> answer = socket.ask(*id, NL80211_CMD_GET_STATION, NLM_F_DUMP, {{NL80211_ATTR_IFINDEX, u32(index)}}))
        reading.transmitRate = transmitRate(*answer);
    return reading;
}

} // namespace tessel::Nl80211
