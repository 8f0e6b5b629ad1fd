#include "TreemapLayout/Color.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tessel {

Color Color::lightened(double amount) const {
    amount = std::clamp(amount, 0.0, 1.0);
    return {red + (1 - red) * amount, green + (1 - green) * amount, blue + (1 - blue) * amount, alpha};
}

std::string Color::argbName() const {
    auto byte = [](double component) {
        return static_cast<unsigned>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
    };
    char text[16];
    std::snprintf(text, sizeof text, "#%02x%02x%02x%02x", byte(alpha), byte(red), byte(green), byte(blue));
    return text;
}

} // namespace tessel
