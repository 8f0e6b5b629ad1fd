#pragma once
// The first-run tour: eight steps, six of them pointing at a control.

#include <optional>
#include <string_view>
#include <vector>

#include "Base/Platform.h"

namespace tessel {

enum class GuideTarget { scan, optimize, source, spaceMap, cleanUp, disk };

struct GuideStep {
    std::optional<GuideTarget> target;
    std::string_view symbol;
    std::string_view title;
    std::string_view text;
};

namespace Guide {
// The same steps on every platform; only their words differ.
const std::vector<GuideStep>& steps(Platform platform = currentPlatform());
std::string_view targetName(GuideTarget target);
} // namespace Guide

} // namespace tessel
