#include "monitor/ChartLines.h"

#include <algorithm>
#include <cmath>

#include "monitor/MonitorWords.h"
#include "support/QtText.h"

namespace tessel {

ChartLines ChartLines::of(const std::vector<HistorySample>& samples, double now, double span) {
    ChartLines lines;
    auto orGap = [](const std::optional<double>& value) { return value ? *value : std::nan(""); };
    for (const HistorySample& sample : samples) {
        if (span <= 0 || now - sample.time > span) continue;
        lines.xs.push_back(std::clamp(1 - (now - sample.time) / span, 0.0, 1.0));
        lines.busy.push_back(std::clamp(sample.cpuUser + sample.cpuSystem, 0.0, 1.0));
        lines.system.push_back(std::clamp(sample.cpuSystem, 0.0, 1.0));
        const double used = static_cast<double>(sample.memoryApp + sample.memoryWired + sample.memoryCompressed);
        lines.memory.push_back(sample.memoryTotal > 0 ? std::clamp(used / static_cast<double>(sample.memoryTotal), 0.0, 1.0)
                                                      : 0.0);
        lines.received.push_back(sample.download);
        lines.sent.push_back(sample.upload);
        lines.read.push_back(sample.diskRead);
        lines.write.push_back(sample.diskWrite);
        lines.networkPeak = std::max({lines.networkPeak, sample.download, sample.upload});
        lines.diskPeak = std::max({lines.diskPeak, sample.diskRead, sample.diskWrite});
        lines.chip.push_back(orGap(sample.chipCelsius));
        lines.charge.push_back(orGap(sample.batteryCharge));
        lines.chipPeak = std::max(lines.chipPeak, sample.chipCelsius.value_or(0));
    }
    return lines;
}

QVariantList ChartLines::list(const std::vector<double>& values) {
    QVariantList shown;
    shown.reserve(static_cast<qsizetype>(values.size()));
    for (double value : values) shown.append(value);
    return shown;
}

QVariantMap ChartLines::toMap() const {
    const bool hasCharge = std::any_of(charge.begin(), charge.end(), [](double value) { return !std::isnan(value); });
    return {{"xs", list(xs)},
            {"cpuBusy", list(busy)},
            {"cpuSystem", list(system)},
            {"memory", list(memory)},
            {"received", list(received)},
            {"sent", list(sent)},
            {"read", list(read)},
            {"write", list(write)},
            {"chip", list(chip)},
            {"hasChip", chipPeak > 0},
            {"battery", list(charge)},
            {"hasBattery", hasCharge},
            // Degrees over a scale that starts at 100, so that an idle chip sits low and a hot one high.
            {"chipTop", std::max(100.0, chipPeak)},
            {"networkPeak", networkPeak},
            {"diskPeak", diskPeak},
            {"networkPeakText", toQString(MonitorWords::rate(networkPeak))},
            {"diskPeakText", toQString(MonitorWords::rate(diskPeak))}};
}

} // namespace tessel
