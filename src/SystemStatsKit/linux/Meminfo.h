#pragma once
// The lines of /proc/meminfo, by name, in bytes: "MemTotal:  24684084 kB"
// gives {"MemTotal", 24684084 * 1024}. Lines without "kB" (the huge page
// counts) are left out. No machine has an exbibyte of memory; a line that
// says so is not believed, and the sum of eight such lines still fits in
// 64 bits.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "Base/Lines.h"
#include "KernelFiles.h"

namespace tessel::Meminfo {

constexpr std::uint64_t largestKilobytes = std::uint64_t{1} << 50;

using Fields = std::map<std::string, std::uint64_t, std::less<>>;

inline Fields parse(std::string_view meminfo) {
    Fields fields;
    forEachLine(meminfo, [&](std::string_view line) {
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) return;
        const std::vector<std::string_view> words = KernelFiles::words(line.substr(colon + 1));
        if (words.size() != 2 || words[1] != "kB") return;
        const std::optional<std::uint64_t> kilobytes = KernelFiles::parseUnsigned(words[0]);
        if (kilobytes && *kilobytes <= largestKilobytes) fields.emplace(line.substr(0, colon), *kilobytes * 1024);
    });
    return fields;
}

} // namespace tessel::Meminfo
