// What a Linux user reads speaks of Linux: the sentences kept in tables, which
// the self-test's walk over the window can't reach (tooltips, refusals, the
// health reasons of readings this machine may not have), on Linux's side; and
// the word check itself, which both the self-test and these rely on.
#include <gtest/gtest.h>

#include "app/Guide.h"
#include "app/Rooms.h"
#include "Base/MacWords.h"
#include "overview/MacHealth.h"
#include "overview/StorageBreakdown.h"
#include "TrashKit/DeletionGuard.h"

using namespace tessel;

namespace {

void expectNoMacWord(std::string_view text) {
    const std::optional<std::string> word = MacWords::firstIn(text);
    EXPECT_FALSE(word) << "«" << text << "» says " << word.value_or("");
}

} // namespace

TEST(MacWordCheck, FindsTheMacsNamesAsWordsButNotInsideOtherWordsOrPaths) {
    EXPECT_EQ(MacWords::firstIn("Show it in Finder and press Command-Delete"), "Finder");
    EXPECT_EQ(MacWords::firstIn("The AI models on this Mac."), "Mac");
    EXPECT_EQ(MacWords::firstIn("Launch agents, and launch daemons"), "Launch agents");
    EXPECT_EQ(MacWords::firstIn("its Library and the hidden folders"), "Library");
    EXPECT_EQ(MacWords::firstIn("Stored in iCloud."), "iCloud");
    EXPECT_FALSE(MacWords::firstIn("Machines, macaroni, a docked window, the Photos library"));
    EXPECT_FALSE(MacWords::firstIn("Could not read /home/me/Library/Caches"));
    EXPECT_FALSE(MacWords::firstIn(""));
}

TEST(LinuxWords, ToolLinesTourAndBreakdownSpeakOfLinux) {
    for (ToolsView::Tool tool : ToolsView::allTools())
        if (std::optional<std::string_view> line = ToolsView::line(tool, Platform::linuxOS)) expectNoMacWord(*line);
    for (const GuideStep& step : Guide::steps(Platform::linuxOS)) {
        expectNoMacWord(step.title);
        expectNoMacWord(step.text);
    }
    for (StorageBreakdown::Category category : StorageBreakdown::allCategories()) {
        expectNoMacWord(StorageBreakdown::title(category, "Startup Disk"));
        expectNoMacWord(StorageBreakdown::description(category, Platform::linuxOS));
    }
    // The Mac keeps its own words: the check is not blind to them.
    EXPECT_TRUE(MacWords::firstIn(*ToolsView::line(ToolsView::Tool::hidden, Platform::macOS)));
}

TEST(LinuxWords, RefusalsAndHealthReasonsSpeakOfLinux) {
    for (DeletionRefusal refusal : DeletionRefusals::all())
        expectNoMacWord(DeletionRefusals::explanation(refusal, Platform::linuxOS));
    VolumeCapacity nearlyFull;
    nearlyFull.total = 500'000'000'000;
    nearlyFull.available = 4'000'000'000;
    const std::vector<MacHealth> concerns{
        MacHealth::assess(nearlyFull, std::nullopt, std::nullopt, std::nullopt),
        MacHealth::assess(std::nullopt, MemoryPressure::warning, std::nullopt, std::nullopt),
        MacHealth::assess(std::nullopt, MemoryPressure::critical, std::nullopt, std::nullopt),
        MacHealth::assess(std::nullopt, std::nullopt, 99.0, std::nullopt),
        MacHealth::assess(std::nullopt, std::nullopt, std::nullopt, 0.5),
    };
    for (const MacHealth& health : concerns) {
        ASSERT_TRUE(health.reason) << health.word;
        expectNoMacWord(health.word);
        expectNoMacWord(*health.reason);
    }
}
