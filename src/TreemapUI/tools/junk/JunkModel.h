#pragma once
// The junk room: one search of the home for caches, logs, build data,
// package downloads, installers and the like, run off the main thread with
// its progress and a way out; the items in groups by category, largest
// first; what is safe ticked for the user, and what a running program holds
// back marked and left alone. Removal takes the removal road, which asks
// once more what runs before anything moves; what went leaves its group and
// comes back with Undo.

#include <QAbstractListModel>
#include <QSettings>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/BackgroundSearch.h"
#include "support/MainThreadRelay.h"
#include "support/TickedGroups.h"
#include "tools/junk/JunkChoices.h"
#include "UninstallKit/JunkFinder.h"
#include "UninstallKit/RunningPrograms.h"

namespace tessel {

class RemovalRoad;

class JunkModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the junk room")
    Q_PROPERTY(tessel::SearchState* search READ search CONSTANT)
    Q_PROPERTY(tessel::TickedGroupList* groups READ groups CONSTANT)
    Q_PROPERTY(int itemCount READ itemCount NOTIFY resultChanged)
    Q_PROPERTY(qint64 totalFound READ totalFound NOTIFY resultChanged)
    Q_PROPERTY(int inUseCount READ inUseCount NOTIFY resultChanged)
    Q_PROPERTY(int tickedCount READ tickedCount NOTIFY ticksChanged)
    Q_PROPERTY(qint64 tickedBytes READ tickedBytes NOTIFY ticksChanged)
    // "4.2 GB found on 3 May", from the last search, kept across launches; empty before the first.
    Q_PROPERTY(QString lastFound READ lastFound NOTIFY lastFoundChanged)

public:
    struct Dependencies {
        using Progress = std::function<void(std::size_t done, std::size_t total)>;
        // One search at `now` (seconds since 1970), called off the main thread.
        std::function<std::vector<JunkItem>(std::int64_t now, const Progress&, const std::function<bool()>& isCancelled)> find;
        // What runs now: read after each search, and again just before anything moves.
        std::function<RunningPrograms()> running;
        std::function<std::int64_t()> now;
        std::function<JunkChoices::Presence(const std::string&)> presence = JunkChoices::presenceOf;
        QSettings* settings = nullptr;
        // The machine's own: a scan of the home at `places`, /proc, the system clock.
        static Dependencies system(JunkPlaces places, QSettings* settings);
    };

    JunkModel(Dependencies dependencies, RemovalRoad& road, QObject* parent = nullptr);
    ~JunkModel() override;

    // Starts a search; one already running is overtaken.
    Q_INVOKABLE void run();
    // Stops the search: back to idle, with what the last one found.
    Q_INVOKABLE void cancel();
    Q_INVOKABLE void toggle(const QString& path);
    Q_INVOKABLE void toggleGroup(const QString& groupId);
    Q_INVOKABLE void selectAll();
    Q_INVOKABLE void selectRecommended();
    // Drops what is no longer there; brings back what Undo put back.
    Q_INVOKABLE void refreshPresence();
    // Opens the removal's confirmation for the ticked items.
    Q_INVOKABLE void removeTicked();

    SearchState* search() { return search_.state(); }
    TickedGroupList* groups() { return &list_; }
    int itemCount() const;
    qint64 totalFound() const;
    int inUseCount() const { return static_cast<int>(inUse_.size()); }
    int tickedCount() const;
    qint64 tickedBytes() const;
    QString lastFound() const;

    // The groups as shown, without what went.
    const std::vector<JunkChoices::Group>& shown() const { return shown_; }
    const std::set<std::string>& selection() const { return selection_; }
    const std::set<std::string>& inUse() const { return inUse_; }
    JunkChoices::TickState tickState(const std::string& groupId) const;

signals:
    void resultChanged();
    void ticksChanged();
    void lastFoundChanged();

private:
    void received(std::vector<JunkItem> items, std::set<std::string> inUse);
    // Marks what the road found in use just before it moved.
    void heldBack(const std::set<std::string>& paths);
    void rebuild();
    void publish();
    void publishTicks();
    void remember();
    TickedGroupList::Row rowFor(const JunkChoices::Group& group) const;
    QVariantList tagsOf(const JunkItem& item) const;

    struct Found {
        std::vector<JunkItem> items;
        std::set<std::string> inUse;
    };

    Dependencies dependencies_;
    RemovalRoad& road_;
    TickedGroupList list_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    std::int64_t searchedAt_ = 0;
    // All the last search found; `gone_` is what of it is no longer there.
    std::vector<JunkItem> items_;
    std::set<std::string> gone_;
    std::vector<JunkChoices::Group> shown_;
    std::set<std::string> selection_;
    std::set<std::string> inUse_;
    // Last, so it goes first: its worker is waited for while the rest still stands.
    BackgroundSearch<Found> search_{this, "Tessel.junk"};
};

} // namespace tessel
