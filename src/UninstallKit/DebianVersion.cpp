// Debian's version order. A version part is read as alternating runs: first
// a run of non-digits, then a run of digits, and so on. Non-digit runs are
// compared character by character with a weight per character: a tilde
// weighs less than anything, the end of the run (or of the string) weighs
// nothing, letters weigh their code, and every other character weighs more
// than any letter. So "1.0~rc1" < "1.0" < "1.0a" < "1.0+b1". Digit runs are
// compared as numbers, leading zeros ignored, however long they are: the
// digits are compared as text once the zeros are stripped, longer first.
// An empty revision equals "0", which the digit rule gives for free.

#include "UninstallKit/DebianVersion.h"

#include <charconv>

namespace tessel {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// The weight of the character at `at`, the end counting as 0.
int weight(std::string_view text, std::size_t at) {
    if (at >= text.size()) return 0;
    const unsigned char c = static_cast<unsigned char>(text[at]);
    if (isDigit(static_cast<char>(c))) return 0;
    if (isLetter(static_cast<char>(c))) return c;
    if (c == '~') return -1;
    return c + 256;
}

int sign(int value) { return (value > 0) - (value < 0); }

} // namespace

int compareDebianVersionPart(std::string_view left, std::string_view right) {
    std::size_t a = 0;
    std::size_t b = 0;
    while (a < left.size() || b < right.size()) {
        while ((a < left.size() && !isDigit(left[a])) || (b < right.size() && !isDigit(right[b]))) {
            const int difference = weight(left, a) - weight(right, b);
            if (difference != 0) return sign(difference);
            ++a;
            ++b;
        }
        while (a < left.size() && left[a] == '0') ++a;
        while (b < right.size() && right[b] == '0') ++b;
        int firstDifference = 0;
        while (a < left.size() && b < right.size() && isDigit(left[a]) && isDigit(right[b])) {
            if (firstDifference == 0) firstDifference = left[a] - right[b];
            ++a;
            ++b;
        }
        if (a < left.size() && isDigit(left[a])) return 1;
        if (b < right.size() && isDigit(right[b])) return -1;
        if (firstDifference != 0) return sign(firstDifference);
    }
    return 0;
}

std::optional<DebianVersion> DebianVersion::parse(std::string_view text) {
    for (char c : text)
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') return std::nullopt;
    DebianVersion version;
    if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
        const std::string_view epoch = text.substr(0, colon);
        if (epoch.empty()) return std::nullopt;
        const auto [end, error] = std::from_chars(epoch.data(), epoch.data() + epoch.size(), version.epoch);
        if (error != std::errc() || end != epoch.data() + epoch.size()) return std::nullopt;
        text.remove_prefix(colon + 1);
    }
    if (const std::size_t dash = text.rfind('-'); dash != std::string_view::npos) {
        version.revision = std::string(text.substr(dash + 1));
        text = text.substr(0, dash);
    }
    if (text.empty()) return std::nullopt;
    version.upstream = std::string(text);
    return version;
}

std::strong_ordering operator<=>(const DebianVersion& left, const DebianVersion& right) {
    if (left.epoch != right.epoch) return left.epoch <=> right.epoch;
    if (const int order = compareDebianVersionPart(left.upstream, right.upstream); order != 0) return order <=> 0;
    return compareDebianVersionPart(left.revision, right.revision) <=> 0;
}

} // namespace tessel
