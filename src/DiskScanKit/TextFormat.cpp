#include "DiskScanKit/TextFormat.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace tessel::TextFormat {

std::string grouped(std::int64_t number) {
    const std::uint64_t magnitude =
        number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    const std::string digits = std::to_string(magnitude);
    std::string text;
    text.reserve(digits.size() + digits.size() / 3 + 1);
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
        text += digits[i];
    }
    return number < 0 ? "-" + text : text;
}

std::string counted(std::int64_t count, std::string_view one, std::string_view many) {
    return grouped(count) + " " + std::string(count == 1 ? one : many);
}

std::string share(double percent) {
    if (percent > 0 && percent < 0.1) return "<0.1%";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f%%", percent);
    return text;
}

std::string share(std::int64_t part, std::int64_t whole) {
    if (whole <= 0) return {};
    return share(100.0 * static_cast<double>(part) / static_cast<double>(whole));
}

std::string seconds(double value) {
    char text[32];
    std::snprintf(text, sizeof text, value < 10 ? "%.2f s" : "%.1f s", value);
    return text;
}

std::string day(std::chrono::system_clock::time_point when) {
    static constexpr std::array<const char*, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t seconds = std::chrono::system_clock::to_time_t(when);
    std::tm local{};
    localtime_r(&seconds, &local);
    return std::to_string(local.tm_mday) + " " + months[static_cast<std::size_t>(local.tm_mon)] + " " +
           std::to_string(local.tm_year + 1900);
}

} // namespace tessel::TextFormat
