#pragma once
// One number for the tray: the space free on a volume, read once a minute,
// with the volume's size beside it.
// statvfs answers at once on Linux, so there is no slow question to wait for.

#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>
#include <string>

#include "SystemStatsKit/VolumeCapacity.h"

namespace tessel {

class FreeSpaceBadge : public QObject {
    Q_OBJECT

public:
    using Reader = std::function<std::optional<VolumeCapacity>()>;
    static constexpr int refreshSeconds = 60;

    explicit FreeSpaceBadge(Reader reader, QObject* parent = nullptr);
    static FreeSpaceBadge* forVolume(const std::string& path, QObject* parent = nullptr);

    void start();
    void stop();
    void refresh();
    std::optional<std::int64_t> available() const { return volume_ ? std::optional(volume_->available) : std::nullopt; }
    std::optional<std::int64_t> total() const { return volume_ ? std::optional(volume_->total) : std::nullopt; }
    const QTimer& timer() const { return timer_; }

signals:
    void availableChanged();

private:
    Reader reader_;
    QTimer timer_;
    std::optional<VolumeCapacity> volume_;
};

} // namespace tessel
