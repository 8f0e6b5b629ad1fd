#pragma once
// The leftovers room: one look through the residue folders for what removed
// apps left behind, off the main thread with its progress and a way out; the
// items grouped by whose they seem to have been, the largest group first;
// only the surest grade ticked for the user. Removal takes the removal road;
// what went leaves its group and comes back with Undo.

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "support/BackgroundSearch.h"
#include "support/TickedGroups.h"
#include "tools/junk/JunkChoices.h"
#include "UninstallKit/OrphanHunter.h"

namespace tessel {

class RemovalRoad;

struct LeftoverGroup {
    LeftoverOwner owner;
    std::vector<OrphanItem> items;
    std::int64_t bytes() const;
};

class LeftoversModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the leftovers room")
    Q_PROPERTY(tessel::SearchState* search READ search CONSTANT)
    Q_PROPERTY(tessel::TickedGroupList* groups READ groups CONSTANT)
    Q_PROPERTY(int itemCount READ itemCount NOTIFY resultChanged)
    Q_PROPERTY(qint64 totalFound READ totalFound NOTIFY resultChanged)
    Q_PROPERTY(int tickedCount READ tickedCount NOTIFY ticksChanged)
    Q_PROPERTY(qint64 tickedBytes READ tickedBytes NOTIFY ticksChanged)
    Q_PROPERTY(bool selectsEverything READ selectsEverything NOTIFY ticksChanged)

public:
    struct Dependencies {
        using Progress = std::function<void(std::size_t done, std::size_t total)>;
        // One look at `now` (seconds since 1970), called off the main thread.
        std::function<std::vector<OrphanItem>(std::int64_t now, const Progress&, const std::function<bool()>& isCancelled)> find;
        std::function<std::int64_t()> now;
        std::function<JunkChoices::Presence(const std::string&)> presence = JunkChoices::presenceOf;
        // The home whose folders are shown as "~".
        std::string home;
        // The machine's own, with `home` standing for the user's home.
        static Dependencies system(const std::string& home);
    };

    LeftoversModel(Dependencies dependencies, RemovalRoad& road, QObject* parent = nullptr);
    ~LeftoversModel() override;

    Q_INVOKABLE void run();
    Q_INVOKABLE void cancel();
    Q_INVOKABLE void toggle(const QString& path);
    Q_INVOKABLE void toggleGroup(const QString& groupId);
    Q_INVOKABLE void selectAll();
    // Ticks the surest grade and nothing else, as after a look.
    Q_INVOKABLE void selectLikely();
    Q_INVOKABLE void refreshPresence();
    Q_INVOKABLE void removeTicked();

    SearchState* search() { return search_.state(); }
    TickedGroupList* groups() { return &list_; }
    int itemCount() const;
    qint64 totalFound() const;
    int tickedCount() const { return static_cast<int>(selectedItems().size()); }
    qint64 tickedBytes() const;
    bool selectsEverything() const;

    const std::vector<LeftoverGroup>& shown() const { return shown_; }
    const std::set<std::string>& selection() const { return selection_; }
    std::vector<OrphanItem> selectedItems() const;
    TickState tickState(const std::string& groupKey) const;

signals:
    void resultChanged();
    void ticksChanged();

private:
    void received(std::vector<OrphanItem> items);
    void rebuild();
    void publish();
    void publishTicks();
    TickedGroupList::Row rowFor(const LeftoverGroup& group) const;

    Dependencies dependencies_;
    RemovalRoad& road_;
    TickedGroupList list_;
    std::vector<OrphanItem> items_;
    std::set<std::string> gone_;
    std::vector<LeftoverGroup> shown_;
    std::set<std::string> selection_;
    // Last, so it goes first: its worker is waited for while the rest still stands.
    BackgroundSearch<std::vector<OrphanItem>> search_{this, "Tessel.leftover"};
};

} // namespace tessel
