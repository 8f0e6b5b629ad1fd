#pragma once
// Numbers as people read them, written once for the app, the tool and the
// reports alike. Sizes have ByteFormat; counts, shares and durations are here.

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tessel::TextFormat {

// 1234567 -> "1,234,567"
std::string grouped(std::int64_t number);
// "1 folder", "2,003 folders"
std::string counted(std::int64_t count, std::string_view one, std::string_view many);
// A share in percent, one decimal: "12.3%", "<0.1%" for a sliver, "0.0%" for none.
std::string share(double percent);
// The share of `part` in `whole`; empty when the whole is nothing.
std::string share(std::int64_t part, std::int64_t whole);
// "0.42 s" below ten seconds, "12.5 s" above.
std::string seconds(double value);
// The day, in the local time zone: "4 Mar 2026".
std::string day(std::chrono::system_clock::time_point when);

} // namespace tessel::TextFormat
