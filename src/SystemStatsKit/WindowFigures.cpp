#include "SystemStatsKit/DesktopWindows.h"

namespace tessel::WindowFigures {

std::string text(const std::optional<FamilyWindows>& windows) {
    if (!windows) return "—";
    if (windows->isActive) return windows->visibleWindows > 1 ? "In front, " + std::to_string(windows->visibleWindows) : "In front";
    if (windows->isHidden) return "Hidden";
    if (windows->visibleWindows == 0) return "";
    return std::to_string(windows->visibleWindows);
}

std::string unknownSentence(WindowsUnknown why) {
    if (why == WindowsUnknown::wayland) return "On Wayland, Tessel can't tell which apps have windows open or are in front.";
    return "Tessel can't tell on this desktop which apps have windows open or are in front.";
}

} // namespace tessel::WindowFigures
