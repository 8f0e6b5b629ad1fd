#pragma once
// The unused apps: of the apps the uninstaller lists, those not opened for the
// chosen span (three, six or twelve months), largest first, each with when it
// was last opened and what says so; apart, those whose last use nothing on
// the machine can tell, with why. The apps are the uninstaller's own load, so
// the two rooms never disagree; the chosen ones are handed to it to plan.

#include <QObject>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>

#include "apps/UninstallModel.h"
#include "support/RowListModel.h"
#include "UninstallKit/UnusedApps.h"

namespace tessel {

struct UnusedAppRow {
    QString key;
    QString name;
    QString icon;
    QString size;
    QString lastOpened; // "Last opened 3 Feb 2025", "Not opened since 16 Feb 2025"
    QString evidence;   // what says so
    bool chosen = false;
    bool running = false; // an app in use is never unused: always false, for the shared row's sake
    static const std::vector<RowField<UnusedAppRow>>& fields();
};

class UnusedAppList : public FieldListModel<UnusedAppRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The unused apps room fills it")
public:
    using FieldListModel::FieldListModel;
};

class UnusedAppsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the unused apps room")
    Q_PROPERTY(tessel::UnusedAppList* apps READ apps CONSTANT)
    // [{name, why}]: the apps whose last use can't be told.
    Q_PROPERTY(QVariantList undecided READ undecided NOTIFY judged)
    // "three", "six" or "twelve" months.
    Q_PROPERTY(QString span READ span WRITE setSpan NOTIFY judged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY loadingChanged)
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY judged)
    Q_PROPERTY(bool hasDates READ hasDates CONSTANT)
    Q_PROPERTY(qint64 unusedBytes READ unusedBytes NOTIFY judged)
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY chosenChanged)
    Q_PROPERTY(qint64 chosenBytes READ chosenBytes NOTIFY chosenChanged)

public:
    // `now` in seconds since 1970.
    UnusedAppsModel(UninstallModel& uninstall, std::function<std::int64_t()> now, QObject* parent = nullptr);

    // Loads the apps the first time the room opens.
    Q_INVOKABLE void loadIfNeeded();
    Q_INVOKABLE void toggle(const QString& key);
    Q_INVOKABLE void chooseAll();
    Q_INVOKABLE void chooseNone();
    // The chosen apps' keys, for the uninstaller to plan.
    Q_INVOKABLE QStringList chosenKeys() const;

    UnusedAppList* apps() { return &list_; }
    QVariantList undecided() const;
    QString span() const;
    void setSpan(const QString& span);
    bool isLoading() const { return uninstall_.isLoadingApps(); }
    bool hasLoaded() const { return uninstall_.hasLoaded(); }
    bool hasDates() const { return uninstall_.hasDates(); }
    qint64 unusedBytes() const;
    int chosenCount() const { return static_cast<int>(chosen_.size()); }
    qint64 chosenBytes() const;
    const UnusedAppsJudgement& judgement() const { return judgement_; }
    // Rises with each judgement: a view can tell a list it saw from the newest.
    int generation() const { return generation_; }

signals:
    void judged();
    void chosenChanged();
    void loadingChanged();

private:
    void judge();
    void publish();

    UninstallModel& uninstall_;
    std::function<std::int64_t()> now_;
    Span span_ = Span::three;
    UnusedAppsJudgement judgement_;
    std::set<std::string> chosen_;
    UnusedAppList list_;
    int generation_ = 0;
};

} // namespace tessel
