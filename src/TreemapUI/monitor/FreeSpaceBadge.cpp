#include "monitor/FreeSpaceBadge.h"

#include "SystemStatsKit/VolumeSampler.h"

namespace tessel {

FreeSpaceBadge::FreeSpaceBadge(Reader reader, QObject* parent) : QObject(parent), reader_(std::move(reader)) {
    timer_.setInterval(refreshSeconds * 1000);
    timer_.setTimerType(Qt::VeryCoarseTimer);
    connect(&timer_, &QTimer::timeout, this, &FreeSpaceBadge::refresh);
}

FreeSpaceBadge* FreeSpaceBadge::forVolume(const std::string& path, QObject* parent) {
    return new FreeSpaceBadge([path] { return VolumeSampler(path).sample(); }, parent);
}

void FreeSpaceBadge::start() {
    if (timer_.isActive()) return;
    timer_.start();
    refresh();
}

void FreeSpaceBadge::stop() { timer_.stop(); }

void FreeSpaceBadge::refresh() {
    std::optional<VolumeCapacity> volume = reader_();
    // A failed read leaves the last figure standing.
    if (!volume || (volume_ && volume->available == volume_->available && volume->total == volume_->total)) return;
    volume_ = volume;
    emit availableChanged();
}

} // namespace tessel
