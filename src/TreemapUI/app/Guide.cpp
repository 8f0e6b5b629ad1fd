#include "app/Guide.h"

namespace tessel::Guide {

namespace {

std::vector<GuideStep> stepsFor(Platform platform) {
    const bool mac = platform == Platform::macOS;
    return {
        {std::nullopt, "hand.wave.fill", "Welcome to Tessel",
         "A quick look around, in six steps. Tessel never removes anything without asking, and what it removes goes to the Trash, where it can be put back."},
        {GuideTarget::scan, "sparkle.magnifyingglass", "Start with a scan",
         mac ? "Press Scan to map this Mac. Tessel only reads sizes, here on the Mac: nothing is uploaded and nothing is changed."
             : "Press Scan to map this computer. Tessel only reads sizes, and what it learns stays here: nothing is uploaded and nothing is changed."},
        {GuideTarget::optimize, "wand.and.stars", "Optimize in one press",
         "Red when there is junk to clear or apps idling in memory, amber while junk waits for open apps, green when all is clear. It shows what it will do first, and never touches an app that is working."},
        {GuideTarget::source, "internaldrive.fill", "Choose what to map",
         mac ? "The whole Mac, which is where Tessel starts, your home folder, another drive, or any folder you pick."
             : "The disk that holds your home folder, which is where Tessel starts, another disk, or any folder you pick."},
        {GuideTarget::spaceMap, "square.grid.2x2.fill", "See where the space went",
         "Every app and folder as a card sized by the space it takes. Double-click a card to go in, and Back to come out."},
        {GuideTarget::cleanUp, "sparkles", "Clean up safely",
         "Junk files, leftovers, duplicates and unused apps. Only what is safe to remove starts ticked."},
        {GuideTarget::disk, "chart.pie.fill", "Keep an eye on free space",
         mac ? "The disk at a glance here, and in the menu bar at the top of the screen."
             : "The disk at a glance here: what is used, what the system keeps back, and what is free."},
        {std::nullopt, "checkmark.seal.fill", "You are all set", "Open this tour again any time from the Help menu."},
    };
}

} // namespace

const std::vector<GuideStep>& steps(Platform platform) {
    static const std::vector<GuideStep> mac = stepsFor(Platform::macOS);
    static const std::vector<GuideStep> onLinux = stepsFor(Platform::linuxOS);
    return platform == Platform::macOS ? mac : onLinux;
}

std::string_view targetName(GuideTarget target) {
    switch (target) {
    case GuideTarget::scan: return "scan";
    case GuideTarget::optimize: return "optimize";
    case GuideTarget::source: return "source";
    case GuideTarget::spaceMap: return "spaceMap";
    case GuideTarget::cleanUp: return "cleanUp";
    case GuideTarget::disk: return "disk";
    }
    return {};
}

} // namespace tessel::Guide
