#pragma once
// A Debian package version, "[epoch:]upstream[-revision]", and the order the
// package manager gives such versions.

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessel {

struct DebianVersion {
    std::uint64_t epoch = 0;
    std::string upstream;
    std::string revision; // empty when the version has none

    // Absent for text that is no version: empty, an epoch that is not a
    // number, an empty upstream part, or white space anywhere.
    static std::optional<DebianVersion> parse(std::string_view text);

    // Epochs by number, then the upstream parts, then the revisions, each
    // compared piece by piece: a run of non-digits character by character
    // (a tilde before anything, even the end; letters before other
    // characters), then a run of digits by number.
    friend std::strong_ordering operator<=>(const DebianVersion& left, const DebianVersion& right);
    friend bool operator==(const DebianVersion& left, const DebianVersion& right) { return (left <=> right) == 0; }
};

// The order of the two parts alone, as used for upstream and revision.
int compareDebianVersionPart(std::string_view left, std::string_view right);

} // namespace tessel
