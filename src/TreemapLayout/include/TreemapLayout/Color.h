#pragma once
// A colour as sRGB components from 0 to 1, with opacity.

#include <cstdint>
#include <string>

namespace tessel {

struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    // 0xRRGGBB, or 0xRRGGBBAA with `withAlpha`.
    static constexpr Color hex(std::uint32_t rgb) {
        return {((rgb >> 16) & 0xff) / 255.0, ((rgb >> 8) & 0xff) / 255.0, (rgb & 0xff) / 255.0, 1};
    }
    constexpr Color withAlpha(double opacity) const { return {red, green, blue, opacity}; }
    // Mixed toward white by `amount` (0 keeps the colour, 1 is white).
    Color lightened(double amount) const;
    // 0.2126 r + 0.7152 g + 0.0722 b, on the sRGB components.
    double luminance() const { return 0.2126 * red + 0.7152 * green + 0.0722 * blue; }
    // "#aarrggbb", as Qt reads it.
    std::string argbName() const;
    bool operator==(const Color&) const = default;
};

} // namespace tessel
