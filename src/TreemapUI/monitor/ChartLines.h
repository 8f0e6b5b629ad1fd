#pragma once
// The history's samples as a chart draws them. Each sample stands at its
// place across the span that ends now, 0 at the span's start and 1 at now;
// samples from before the span are left out. The monitor room draws the
// whole hour, the tray's dashboard its last minutes, from the same samples.
// Shares are clamped to 0..1, so a sampler's rounding never draws above the
// top; a slow reading a sample lacks is a gap (NaN), never a false zero.
//
// A sample 90 seconds old in a span of 600 stands at 1 - 90/600 = 0.85.

#include <QVariantList>
#include <QVariantMap>

#include <vector>

#include "SystemStatsKit/HistoryWindow.h"

namespace tessel {

struct ChartLines {
    std::vector<double> xs;
    std::vector<double> busy, system, memory; // shares of the processor and of memory
    std::vector<double> received, sent, read, write; // bytes per second
    std::vector<double> chip, charge; // degrees and a share; NaN where not measured
    double networkPeak = 0, diskPeak = 0, chipPeak = 0;

    static ChartLines of(const std::vector<HistorySample>& samples, double now, double span);
    // {xs, cpuBusy, cpuSystem, memory, received, sent, read, write, chip, hasChip, battery,
    //  hasBattery, chipTop, networkPeak, diskPeak, networkPeakText, diskPeakText} for the views.
    QVariantMap toMap() const;
    // One line's values as QML reads them.
    static QVariantList list(const std::vector<double>& values);
};

} // namespace tessel
