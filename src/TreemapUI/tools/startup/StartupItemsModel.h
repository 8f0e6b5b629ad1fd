#pragma once
// The startup room: everything that starts by itself, read off the main
// thread, grouped by kind, each item with its owner and why, what it runs and
// whether it is on. A login item or a unit of the user's own is switched off
// and on here (by the user's systemd manager where it answers, else on the
// files), and a unit of the user's own can go to the Trash with its links by
// the removal road; anything else shows the command that changes it. Each
// change leaves a result line with Undo, and the items are read again.

#include <QObject>
#include <QThreadPool>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/BackgroundSearch.h"
#include "support/MainThreadRelay.h"
#include "support/RowListModel.h"
#include "tools/startup/StartupChoices.h"
#include "TrashKit/DeletionGuard.h"
#include "UninstallKit/StartupSwitch.h"

namespace tessel {

class RemovalRoad;

struct StartupGroupRow {
    QString key; // the kind's raw value
    QString title;
    QString about;
    QString count; // "3 items, 1 off"
    // Each a map: key, label, owner, confidence, reason, program, programMissing,
    // detail, enabled, switchable, trashable, command, commandNote, platform.
    QVariantList items;
    static const std::vector<RowField<StartupGroupRow>>& fields();
};

class StartupGroupList : public FieldListModel<StartupGroupRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The startup room fills it")

public:
    using FieldListModel::FieldListModel;
};

class StartupItemsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the startup room")
    Q_PROPERTY(tessel::SearchState* search READ search CONSTANT)
    Q_PROPERTY(tessel::StartupGroupList* groups READ groups CONSTANT)
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY itemsChanged)
    Q_PROPERTY(int itemCount READ itemCount NOTIFY itemsChanged)
    Q_PROPERTY(int shownCount READ shownCount NOTIFY itemsChanged)
    Q_PROPERTY(int platformCount READ platformCount NOTIFY itemsChanged)
    Q_PROPERTY(int unreadableCount READ unreadableCount NOTIFY itemsChanged)
    Q_PROPERTY(bool onlyWithoutOwner READ onlyWithoutOwner WRITE setOnlyWithoutOwner NOTIFY itemsChanged)
    Q_PROPERTY(bool onlyMine READ onlyMine WRITE setOnlyMine NOTIFY itemsChanged)
    Q_PROPERTY(bool withPlatform READ withPlatform WRITE setWithPlatform NOTIFY itemsChanged)
    // A switch or its undo under way: the switches wait.
    Q_PROPERTY(bool isChanging READ isChanging NOTIFY changingChanged)
    // What the newest change did, or why it did nothing; empty before any.
    Q_PROPERTY(QString result READ result NOTIFY resultChanged)
    Q_PROPERTY(bool resultRefused READ resultRefused NOTIFY resultChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY resultChanged)
    // What Undo puts back: "Switches clipper on again".
    Q_PROPERTY(QString undoHelp READ undoHelp NOTIFY resultChanged)

public:
    struct Dependencies {
        // The machine whose items are read and switched; an empty home lists nothing.
        StartupMachine machine;
        // Reads and judges the machine's items, off the main thread.
        std::function<StartupItemReport(const StartupMachine&)> read;
        // The user's systemd manager, asked to switch units; none: the links are changed on the disk.
        std::shared_ptr<UserUnitManager> manager;
        std::function<void(const QString&)> copy; // to the clipboard
        // This machine's, `home` standing for the user's: judged by its package database.
        static Dependencies system(const std::string& home);
    };

    StartupItemsModel(Dependencies dependencies, RemovalRoad& road, QObject* parent = nullptr);
    ~StartupItemsModel() override;

    Q_INVOKABLE void load();
    // Reads the items the first time the room opens.
    Q_INVOKABLE void loadIfNeeded();
    Q_INVOKABLE void cancel();
    // Switches the item of `key` on or off, off the main thread.
    Q_INVOKABLE void switchItem(const QString& key, bool on);
    // Opens the removal's confirmation for a user unit's file and the links that switch it on.
    Q_INVOKABLE void moveToTrash(const QString& key);
    // Undoes the newest change made here.
    Q_INVOKABLE void undo();
    Q_INVOKABLE void copyCommand(const QString& command);

    SearchState* search() { return search_.state(); }
    StartupGroupList* groups() { return &groups_; }
    bool hasLoaded() const { return hasLoaded_; }
    int itemCount() const { return static_cast<int>(report_.items.size()); }
    int shownCount() const;
    int platformCount() const;
    int unreadableCount() const { return static_cast<int>(report_.unreadable.size()); }
    bool onlyWithoutOwner() const { return filters_.onlyWithoutOwner; }
    void setOnlyWithoutOwner(bool only);
    bool onlyMine() const { return filters_.onlyMine; }
    void setOnlyMine(bool only);
    bool withPlatform() const { return filters_.withPlatform; }
    void setWithPlatform(bool with);
    bool isChanging() const { return isChanging_; }
    QString result() const { return result_; }
    bool resultRefused() const { return resultRefused_; }
    bool canUndo() const { return !history_.empty() && !isChanging_; }
    QString undoHelp() const;

    const StartupItemReport& report() const { return report_; }
    const StartupItem* item(const std::string& key) const;

signals:
    void itemsChanged();
    void changingChanged();
    void resultChanged();

private:
    // A user unit's way to the Trash: its file, drop-ins and links, measured when the items were read.
    struct Trashable {
        std::vector<DeletionCandidate> candidates;
        std::map<std::string, std::string> names; // as the confirmation names them, by path
        std::size_t links = 0;
    };
    struct Loaded {
        StartupItemReport report;
        std::map<std::string, Trashable> trashable; // by key
    };
    // A change that Undo puts back: a switch, or a move the road made while it is the road's newest.
    struct Undoable {
        std::string label;
        std::optional<StartupChange> change;
        int roadGeneration = 0;
    };
    struct Trashing {
        std::string label;
        std::size_t links = 0;
        std::vector<std::string> paths;
        int roadGeneration = 0;
    };

    void received(Loaded loaded);
    void publish();
    void setFilters(StartupChoices::Filters filters);
    QVariantMap itemMap(const StartupItem& item) const;
    void change(std::function<StartupSwitchOutcome(StartupSwitch&)> work, bool undoing);
    void changed(const StartupSwitchOutcome& outcome, bool undoing);
    void say(const std::string& sentence, bool refused);
    void roadFinished();
    void roadPlanChanged();

    Dependencies dependencies_;
    RemovalRoad& road_;
    StartupGroupList groups_;
    StartupItemReport report_;
    std::map<std::string, Trashable> trashable_;
    bool hasLoaded_ = false;
    StartupChoices::Filters filters_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    // Switches are made one at a time, in order, off the main thread: the manager may take a while to answer.
    QThreadPool switcher_;
    bool isChanging_ = false;
    QString result_;
    bool resultRefused_ = false;
    std::vector<Undoable> history_; // oldest first
    std::optional<Trashing> trashing_;
    std::optional<std::string> puttingBack_;
    // Last, so it goes first: its worker is waited for while the rest still stands.
    BackgroundSearch<Loaded> search_{this, "Tessel.startup"};
};

} // namespace tessel
