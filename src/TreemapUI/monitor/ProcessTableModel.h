#pragma once
// The Monitor room's table of what the user's programs use, app by app: one
// ProcessSampler, sampled on a thread of the pool every couple of seconds
// while the room shows the table (start() and stop()), its rows handed back
// to the main thread under the generation they started with, so that a walk
// that finishes after stop() is dropped.
//
// An app unit's icon is the one its desktop ID names (the desktop ID is the
// icon's name for Flatpaks and the desktops' own apps), looked for once in
// the icon folders on the same thread.
//
// The rows say what the machine gave: a share of the processor before the
// second walk, or a disk rate where /proc/PID/io can't be read, is "—", not
// 0%. The order is the user's: by processor, or by memory.
//
// Each walk also asks the desktop's window manager whose windows are open,
// in front or hidden, through one DesktopWindows that keeps its connection
// while the table runs. Where the desktop can't tell (Wayland, no window
// manager), `windowsKnown` is false and `windowsUnknown` says why.

#include <QObject>
#include <QString>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/MainThreadRelay.h"
#include "support/RowListModel.h"
#include "SystemStatsKit/DesktopWindows.h"
#include "SystemStatsKit/ProcessSampler.h"

namespace tessel {

struct ProcessTableRow {
    QString key;       // the pid of the family's head
    QString name;
    QString icon;      // "image://appicon/…" of an app unit's icon; empty when none is known
    QString processes; // "1 process", "14 processes"
    QString cpu;       // "12.5%", "—"
    QString memory;    // "1.2 GB"
    QString disk;      // "40 KB/s", "—"
    QString windows;   // "2", "In front", "Hidden", "" for none, "—" when not known
    static const std::vector<RowField<ProcessTableRow>>& fields();
};

enum class ProcessOrder { cpu, memory };

namespace ProcessTableRows {
// The rows of `usage` in `order`, the larger first; ties by memory, then name.
// `iconFiles`: the icon file of an app unit, by desktop ID; `windows`: each
// process's windows, none when the desktop can't tell.
std::vector<ProcessTableRow> make(std::vector<ProcessUsage> usage, ProcessOrder order,
                                  const std::map<std::string, std::string>& iconFiles = {},
                                  const std::optional<WindowsByPid>& windows = std::nullopt);
} // namespace ProcessTableRows

class ProcessTableList : public FieldListModel<ProcessTableRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A process table model fills it")
public:
    using FieldListModel::FieldListModel;
};

class ProcessTableModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tessel::ProcessTableList* rows READ rows CONSTANT)
    // "cpu" or "memory".
    Q_PROPERTY(QString order READ order WRITE setOrder NOTIFY orderChanged)
    Q_PROPERTY(bool running READ running NOTIFY runningChanged)
    // Whether a second walk has measured the processor yet.
    Q_PROPERTY(bool measured READ measured NOTIFY sampled)
    Q_PROPERTY(int intervalMilliseconds READ intervalMilliseconds WRITE setIntervalMilliseconds NOTIFY intervalChanged)
    // Whether the last walk learnt whose windows are open; until the first
    // walk, and where the desktop can't tell, it did not.
    Q_PROPERTY(bool windowsKnown READ windowsKnown NOTIFY sampled)
    // Why not, in a sentence; empty when they are known or not yet asked.
    Q_PROPERTY(QString windowsUnknown READ windowsUnknown NOTIFY sampled)

public:
    explicit ProcessTableModel(QObject* parent = nullptr);
    ~ProcessTableModel() override;

    // Samples now and then every interval; the first rates come with the second sample.
    Q_INVOKABLE void start();
    // Stops sampling; a walk under way is dropped, and the next start()
    // begins without a baseline, so that no rate spans the pause.
    Q_INVOKABLE void stop();

    ProcessTableList* rows() { return &list_; }
    QString order() const;
    void setOrder(const QString& order);
    bool running() const { return timer_.isActive(); }
    bool measured() const { return measured_; }
    int intervalMilliseconds() const { return timer_.interval(); }
    void setIntervalMilliseconds(int milliseconds);
    bool windowsKnown() const { return windows_.has_value(); }
    QString windowsUnknown() const { return windowsUnknown_; }
    // Where the processes are read: "/proc" unless a test says otherwise.
    void setProcRoot(std::string procRoot) { procRoot_ = std::move(procRoot); }
    // Which display the windows are asked of: this process's unless a test says otherwise.
    void setWindowSettings(DesktopWindows::Settings settings) { windowSettings_ = std::move(settings); }

signals:
    void orderChanged();
    void runningChanged();
    void intervalChanged();
    void sampled();

private:
    void tick();
    struct Walk;
    void take(std::vector<ProcessUsage> usage, std::map<std::string, std::string> iconFiles, WindowsReading windows,
              unsigned generation);

    ProcessTableList list_;
    QTimer timer_;
    std::string procRoot_ = "/proc";
    DesktopWindows::Settings windowSettings_ = DesktopWindows::fromEnvironment();
    std::optional<WindowsByPid> windows_;
    QString windowsUnknown_;
    std::shared_ptr<Walk> walk_;
    std::map<std::string, std::string> iconFiles_;
    std::shared_ptr<MainThreadRelay> relay_;
    std::vector<ProcessUsage> last_;
    ProcessOrder order_ = ProcessOrder::cpu;
    unsigned generation_ = 0;
    bool walking_ = false;
    bool measured_ = false;
};

} // namespace tessel
