#pragma once
// The uninstaller: the apps of the machine, read off the main thread with
// their size, where they came from, when they were last opened and whether
// they run; one or more of them chosen; for each chosen app its plan, built
// one at a time on a serial worker and never twice at once for one app; the
// residue ticked as the planner says it may go; removal by the removal road,
// which asks once more what runs before anything moves; a result that says
// what went, and Put Back. Pinned launchers whose app is gone can be taken
// off from here too.

#include <QObject>
#include <QSettings>
#include <QThreadPool>
#include <QUrl>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/MainThreadRelay.h"
#include "support/RowListModel.h"
#include "support/RowSelection.h"
#include "UninstallKit/DesktopLaunchers.h"
#include "UninstallKit/FoundApps.h"
#include "UninstallKit/UninstallPlanner.h"
#include "UninstallKit/UnusedApps.h"

namespace tessel {

class RemovalRoad;

struct UninstallAppRow {
    QString key; // the app's desktop entry, or its AppImage where it has none
    QString name;
    QString icon; // "image://appicon/…", or empty
    QString source;
    QString size; // empty where it can't be told
    QString lastOpened; // "—" where it can't be told
    bool running = false;
    bool chosen = false;
    static const std::vector<RowField<UninstallAppRow>>& fields();
};

class UninstallAppList : public FieldListModel<UninstallAppRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The uninstaller fills it")

public:
    using FieldListModel::FieldListModel;
};

struct UninstallPlanRow {
    QString key;
    QString name;
    QString icon;
    QString source;
    bool running = false;
    bool building = true; // the plan is still being made
    // The app's own file or folder where it goes to the Trash: {path, shown, size, ticked}; empty otherwise.
    QVariantMap bundle;
    QString handoff; // the command that removes an app its package manager owns
    QString appstreamId; // where "Open in Software" leads; empty where no software centre is present
    // By location: {label, size, items: [{path, shown, size, confidence, reason, ticked, tickable, documents}]}.
    QVariantList groups;
    // What only an administrator can move: {path, shown, size, location}.
    QVariantList administrator;
    QString summary; // "4 items elsewhere, 12.3 MB"
    static const std::vector<RowField<UninstallPlanRow>>& fields();
};

class UninstallPlanList : public FieldListModel<UninstallPlanRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The uninstaller fills it")

public:
    using FieldListModel::FieldListModel;
};

class UninstallModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the uninstaller")
    Q_PROPERTY(tessel::UninstallAppList* apps READ apps CONSTANT)
    Q_PROPERTY(tessel::UninstallPlanList* plans READ plans CONSTANT)
    Q_PROPERTY(bool isLoadingApps READ isLoadingApps NOTIFY loadingChanged)
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY appsChanged)
    // The apps offered, before the filter; the system's own are left out, and counted.
    Q_PROPERTY(int appCount READ appCount NOTIFY appsChanged)
    Q_PROPERTY(int builtInCount READ builtInCount NOTIFY appsChanged)
    // Whether anything can tell when apps were last opened.
    Q_PROPERTY(bool hasDates READ hasDates CONSTANT)
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    // "name" or "size", kept across launches.
    Q_PROPERTY(QString order READ order WRITE setOrder NOTIFY orderChanged)
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY chosenChanged)
    Q_PROPERTY(bool isBuildingPlan READ isBuildingPlan NOTIFY plansChanged)
    Q_PROPERTY(int tickedCount READ tickedCount NOTIFY ticksChanged)
    Q_PROPERTY(qint64 tickedBytes READ tickedBytes NOTIFY ticksChanged)
    Q_PROPERTY(bool selectsEverything READ selectsEverything NOTIFY ticksChanged)
    // How many items of the plans may be ticked at all.
    Q_PROPERTY(int selectableCount READ selectableCount NOTIFY ticksChanged)
    // "3 items of Editor moved to the Trash", while that move is the newest; empty otherwise.
    Q_PROPERTY(QString result READ result NOTIFY resultChanged)
    Q_PROPERTY(QString resultDetail READ resultDetail NOTIFY resultChanged)
    // Pinned launchers whose app is gone, by the name they launch.
    Q_PROPERTY(QStringList orphanLaunchers READ orphanLaunchers NOTIFY launchersChanged)

public:
    struct Dependencies {
        // The machine whose apps are listed; none (an empty home) lists nothing.
        DesktopMachine machine;
        // Where the package database's index of paths is kept between launches.
        std::string cacheFolder;
        // What runs now: read with the apps, for each plan, and just before anything moves.
        std::function<RunningPrograms()> running;
        // One app's plan, called off the main thread; the planner's own when empty.
        std::function<UninstallPlan(const InstalledApp&, const ResidueScanner&, bool isRunning)> plan;
        // What tells when apps were last opened, read once per load off the main
        // thread; empty, nothing can tell and every app shows "—".
        std::function<OpeningEvidence(const DesktopMachine&)> openings;
        // The desktop's pinned launchers; none leaves them alone.
        std::shared_ptr<DesktopLaunchers> launchers;
        std::function<void(const QString&)> copy; // to the clipboard
        std::function<void(const QUrl&)> openUrl;
        QSettings* settings = nullptr;
        // This machine's: its apps and /proc, the clipboard, the desktop's handlers.
        static Dependencies system(const std::string& home, std::shared_ptr<DesktopLaunchers> launchers, QSettings* settings);
    };

    UninstallModel(Dependencies dependencies, RemovalRoad& road, QObject* parent = nullptr);
    ~UninstallModel() override;

    // Reads the apps again; the chosen ones stay chosen while they are there, and their plans are made anew.
    Q_INVOKABLE void loadApps();
    // Loads the apps the first time the room opens.
    Q_INVOKABLE void loadIfNeeded();
    // A click on row `row` of the list, with the keyboard's modifiers (Ctrl adds, Shift extends).
    Q_INVOKABLE void choose(int row, int modifiers);
    Q_INVOKABLE void chooseAll();
    Q_INVOKABLE void chooseNone();
    // Chooses the apps of these keys as soon as the apps are loaded (another room's selection).
    Q_INVOKABLE void chooseWhenLoaded(const QStringList& keys);
    Q_INVOKABLE void toggle(const QString& path);
    Q_INVOKABLE void selectAll();
    Q_INVOKABLE void selectNone();
    // Opens the removal's confirmation for what is ticked.
    Q_INVOKABLE void removeTicked();
    // Puts back the newest move, as Edit ▸ Undo does.
    Q_INVOKABLE void undo();
    Q_INVOKABLE void copyHandoff(const QString& command);
    Q_INVOKABLE void openInSoftware(const QString& appstreamId);
    Q_INVOKABLE void showInFiles(const QStringList& paths);
    Q_INVOKABLE void removeOrphanLaunchers();

    UninstallAppList* apps() { return &appList_; }
    UninstallPlanList* plans() { return &planList_; }
    bool isLoadingApps() const { return isLoading_; }
    bool hasLoaded() const { return hasLoaded_; }
    int appCount() const { return static_cast<int>(offered_.size()); }
    int builtInCount() const { return builtIn_; }
    bool hasDates() const { return static_cast<bool>(dependencies_.openings); }
    QString filter() const { return filter_; }
    void setFilter(const QString& filter);
    QString order() const;
    void setOrder(const QString& order);
    int chosenCount() const { return static_cast<int>(chosenKeys().size()); }
    bool isBuildingPlan() const { return !building_.empty(); }
    int tickedCount() const;
    qint64 tickedBytes() const;
    bool selectsEverything() const;
    int selectableCount() const { return static_cast<int>(UninstallPlanner::selectable(madePlans()).size()); }
    QString result() const { return result_; }
    QString resultDetail() const { return resultDetail_; }
    QStringList orphanLaunchers() const;

    // The apps offered, in the list's order (before the filter).
    const std::vector<FoundApp>& offered() const { return offered_; }
    // The keys of the chosen apps, in the list's order.
    std::vector<std::string> chosenKeys() const;
    // The plans made for the chosen apps, in the list's order.
    std::vector<UninstallPlan> madePlans() const;
    const std::set<std::string>& selection() const { return ticks_; }
    // The offered apps with when each was last opened and added, as the last load read them.
    const std::vector<UnusedAppEntry>& usage() const { return usage_; }
    // The image source of an app's icon, by its key; empty where it has none.
    QString iconOf(const std::string& key) const {
        const auto icon = icons_.find(key);
        return icon == icons_.end() ? QString() : icon->second;
    }

signals:
    void loadingChanged();
    void appsChanged();
    void filterChanged();
    void orderChanged();
    void chosenChanged();
    void plansChanged();
    void ticksChanged();
    void resultChanged();
    void launchersChanged();

private:
    struct Loaded;
    struct Removal {
        std::map<std::string, std::string> appOf; // path going → the name of its app
        int roadGeneration = 0;
    };

    void received(Loaded loaded);
    void arrange();
    void publishApps();
    void afterChoosing();
    // Chooses the apps a wish named before they were loaded.
    void takePendingChoice();
    void requestPlans();
    void planMade(const std::string& key, int generation, UninstallPlan plan);
    void publishPlans();
    void publishTicks();
    UninstallPlanRow rowFor(const FoundApp& found) const;
    void roadFinished();
    void roadPlanChanged();
    void markRunning(const std::set<std::string>& keys);
    const FoundApp* appOf(const std::string& key) const;
    std::string key(const FoundApp& found) const { return found.app.entryPath; }

    Dependencies dependencies_;
    RemovalRoad& road_;
    UninstallAppList appList_;
    UninstallPlanList planList_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    // Apps are read on one worker, plans made on another, each one job at a time.
    QThreadPool loader_;
    QThreadPool planner_;
    int loadGeneration_ = 0;
    bool isLoading_ = false;
    bool hasLoaded_ = false;
    std::vector<FoundApp> all_;
    std::vector<FoundApp> offered_;
    std::vector<std::string> shown_; // keys of the rows shown, after the filter
    std::map<std::string, std::string> sources_;
    std::map<std::string, QString> lastOpened_;
    std::vector<UnusedAppEntry> usage_;
    std::map<std::string, QString> icons_; // image sources, by key
    int builtIn_ = 0;
    std::shared_ptr<const ResidueScanner> scanner_;
    std::optional<std::string> softwareCentre_;
    DesktopAppListing listing_; // what the launchers are judged against
    std::vector<DesktopLaunchers::Orphan> orphans_;
    QString filter_;
    RowSelection chosen_;
    std::optional<std::vector<std::string>> pendingChoice_;
    // A plan made from an older reading of the apps is dropped, and made again.
    int planGeneration_ = 0;
    std::map<std::string, UninstallPlan> plans_;
    std::set<std::string> building_;
    std::set<std::string> ticks_;
    std::optional<Removal> removal_;
    QString result_;
    QString resultDetail_;
};

} // namespace tessel
