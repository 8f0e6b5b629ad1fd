// Reading an owner out of a leftover's name.
//
// A reverse-DNS name says who made it and little more: the vendor is its
// second piece, turned back into a domain. The vendor's word is shown as a
// name ("spotify" as "Spotify", with the few brands that are spelled their
// own way spelled so), unless the product's piece is that same word grown a
// little ("com.discordapp.Discord"), where the product reads better. A last
// piece that names a release track ("beta", "nightly") is kept as the
// channel, so "Firefox Beta" is not taken for Firefox itself.

#include "UninstallKit/LeftoverOwner.h"

#include <array>
#include <cctype>
#include <map>
#include <vector>

#include "Base/AsciiCase.h"
#include "UninstallKit/ReverseDns.h"

namespace tessel {

namespace {

std::vector<std::string_view> piecesOf(std::string_view identifier) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (start <= identifier.size()) {
        const std::size_t dot = identifier.find('.', start);
        const std::size_t end = dot == std::string_view::npos ? identifier.size() : dot;
        pieces.push_back(identifier.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

const std::map<std::string, std::string, std::less<>>& specialCasing() {
    static const std::map<std::string, std::string, std::less<>> spelled{
        {"macos", "macOS"}, {"icloud", "iCloud"}, {"ipad", "iPad"}, {"iphone", "iPhone"}, {"gnome", "GNOME"},
        {"kde", "KDE"},     {"gimp", "GIMP"},     {"vlc", "VLC"},   {"obs", "OBS"},       {"freedesktop", "freedesktop.org"}};
    return spelled;
}

constexpr std::array<std::string_view, 10> channels{"beta",    "nightly", "dev",      "canary",   "insiders",
                                                    "preview", "alpha",   "unstable", "devedition", "aurora"};

bool isChannel(std::string_view piece) {
    const std::string lower = asciiLower(piece);
    for (std::string_view channel : channels)
        if (lower == channel) return true;
    return false;
}

} // namespace

std::string LeftoverOwner::prettifyWord(std::string_view word) {
    // Trailing digits go when at least three letters stand before them: "gimp2" is GIMP, "x11" stays.
    std::size_t end = word.size();
    while (end > 0 && std::isdigit(static_cast<unsigned char>(word[end - 1])) != 0) --end;
    if (end < word.size() && end >= 3 &&
        std::isalpha(static_cast<unsigned char>(word[end - 1])) != 0 && std::isalpha(static_cast<unsigned char>(word[end - 2])) != 0 &&
        std::isalpha(static_cast<unsigned char>(word[end - 3])) != 0)
        word = word.substr(0, end);
    const auto special = specialCasing().find(asciiLower(word));
    if (special != specialCasing().end()) return special->second;
    std::string pretty(word);
    if (!pretty.empty()) pretty[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(pretty[0])));
    return pretty;
}

std::optional<LeftoverOwner::Reading> LeftoverOwner::read(std::string_view identifier) {
    const std::vector<std::string_view> pieces = piecesOf(identifier);
    if (pieces.size() < 2 || pieces[1].empty() || !ReverseDns::isTopLevelDomain(pieces[0])) return std::nullopt;
    Reading reading;
    reading.key = asciiLower(pieces[0]) + "." + asciiLower(pieces[1]);
    reading.domain = asciiLower(pieces[1]) + "." + asciiLower(pieces[0]);
    reading.name = prettifyWord(pieces[1]);
    if (pieces.size() >= 3 && isChannel(pieces.back())) reading.channel = prettifyWord(pieces.back());
    if (pieces.size() >= 3 && !isChannel(pieces[2])) {
        const std::string vendor = ReverseDns::fold(pieces[1]), product = ReverseDns::fold(pieces[2]);
        const bool sameWord = product.size() >= 3 && (vendor.starts_with(product) || product.starts_with(vendor));
        if (sameWord && product != vendor) reading.name = prettifyWord(pieces[2]);
    }
    return reading;
}

LeftoverOwner LeftoverOwner::of(const Reading& reading) {
    return {reading.key, reading.name, reading.domain, reading.channel, std::nullopt};
}

LeftoverOwner LeftoverOwner::named(std::string_view name) {
    return {asciiLower(name), std::string(name), std::nullopt, std::nullopt, std::nullopt};
}

bool LeftoverOwner::isInTrash(std::string_view path) {
    return path.find("/.Trash/") != std::string_view::npos || path.find("/.Trashes/") != std::string_view::npos ||
           path.find("/.local/share/Trash/") != std::string_view::npos || path.find("/.Trash-") != std::string_view::npos;
}

} // namespace tessel
