#pragma once
// The AI Data Sweeper room: one look, off the main thread, for the models AI
// tools downloaded, grouped by tool, the largest first. Each model says what
// it shares and with whom and how it comes back; only downloads nothing uses
// start ticked. Removal takes the removal road, a shared layer going only
// with the last model that uses it; what needs an administrator, or a tool of
// its own, shows its remover's command instead of a tick box.

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <set>
#include <string>

#include "support/BackgroundSearch.h"
#include "support/TickedGroups.h"
#include "UninstallKit/AIModelFinder.h"

namespace tessel {

class RemovalRoad;

class AIDataModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the AI Data Sweeper room")
    Q_PROPERTY(tessel::SearchState* search READ search CONSTANT)
    Q_PROPERTY(tessel::TickedGroupList* groups READ groups CONSTANT)
    Q_PROPERTY(int itemCount READ itemCount NOTIFY resultChanged)
    Q_PROPERTY(qint64 totalFound READ totalFound NOTIFY resultChanged)
    Q_PROPERTY(int tickedCount READ tickedCount NOTIFY ticksChanged)
    Q_PROPERTY(qint64 tickedBytes READ tickedBytes NOTIFY ticksChanged)

public:
    struct Dependencies {
        using Progress = std::function<void(std::size_t done, std::size_t total)>;
        // One look, called off the main thread.
        std::function<AIModelInventory(const Progress&, const std::function<bool()>& isCancelled)> find;
        std::function<void(const QString&)> copy; // to the clipboard
        // The user's models; `home` alone, with no Docker asked, when it is not the user's.
        static Dependencies system(const std::string& home);
    };

    AIDataModel(Dependencies dependencies, RemovalRoad& road, QObject* parent = nullptr);
    ~AIDataModel() override;

    Q_INVOKABLE void run();
    Q_INVOKABLE void cancel();
    Q_INVOKABLE void toggle(const QString& id);
    Q_INVOKABLE void toggleGroup(const QString& groupId);
    Q_INVOKABLE void selectAll();
    // Ticks what starts ticked and nothing else, as after a look.
    Q_INVOKABLE void selectRecommended();
    Q_INVOKABLE void removeTicked();
    Q_INVOKABLE void copyCommand(const QString& command);

    SearchState* search() { return search_.state(); }
    TickedGroupList* groups() { return &list_; }
    int itemCount() const;
    qint64 totalFound() const;
    int tickedCount() const { return static_cast<int>(selection_.size()); }
    qint64 tickedBytes() const;
    const std::set<std::string>& selection() const { return selection_; }
    // The items still on the disk, per tool, largest first; valid until the next look or removal.
    std::vector<AIModelInventory::ToolGroup> shown() const;

signals:
    void resultChanged();
    void ticksChanged();

private:
    void received(AIModelInventory inventory);
    void refreshPresence();
    void publish();
    void publishTicks();
    TickedGroupList::Row rowFor(const AIModelInventory::ToolGroup& group) const;

    Dependencies dependencies_;
    RemovalRoad& road_;
    TickedGroupList list_;
    AIModelInventory inventory_;
    std::set<std::string> gone_; // item ids whose files the road moved away
    AIModelInventory present_;   // the inventory without them, the groups pointing into it
    std::set<std::string> selection_;
    // Last, so it goes first: its worker is waited for while the rest still stands.
    BackgroundSearch<AIModelInventory> search_{this, "Tessel.aidata"};
};

} // namespace tessel
