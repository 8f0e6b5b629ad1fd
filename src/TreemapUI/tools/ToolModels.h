#pragma once
// One model per tool; each follows the scanned tree itself. The tools arrive
// one by one; those that stand are held here.

#include <QDateTime>
#include <QObject>
#include <QSettings>
#include <QtQml/qqmlregistration.h>

#include <memory>

#include "tools/aidata/AIDataModel.h"
#include "tools/changes/ChangesModel.h"
#include "DiskScanKit/FileNode.h"
#include "tools/duplicates/DuplicatesModel.h"
#include "tools/report/ReportView.h"
#include "lists/LargeFilesModel.h"
#include "lists/SearchModel.h"
#include "tools/hidden/HiddenFilesModel.h"
#include "tools/junk/JunkModel.h"
#include "tools/leftovers/LeftoversModel.h"
#include "tools/startup/StartupItemsModel.h"
#include "tools/systemdata/SystemDataModel.h"

namespace tessel {

class ToolModels : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the tools")
    Q_PROPERTY(QDateTime scannedAt READ scannedAt NOTIFY scanned)
    Q_PROPERTY(tessel::HiddenFilesModel* hidden READ hidden CONSTANT)
    Q_PROPERTY(tessel::ChangesModel* changes READ changes CONSTANT)
    Q_PROPERTY(tessel::DuplicatesModel* duplicates READ duplicates CONSTANT)
    Q_PROPERTY(tessel::JunkModel* junk READ junk CONSTANT)
    Q_PROPERTY(tessel::LeftoversModel* leftovers READ leftovers CONSTANT)
    Q_PROPERTY(tessel::StartupItemsModel* startup READ startup CONSTANT)
    Q_PROPERTY(tessel::SystemDataModel* systemData READ systemData CONSTANT)
    Q_PROPERTY(tessel::AIDataModel* aiData READ aiData CONSTANT)
    Q_PROPERTY(tessel::ReportView* report READ report CONSTANT)
    // The report room's tab: "changes" or "summary".
    Q_PROPERTY(QString reportTab READ reportTab WRITE setReportTab NOTIFY reportTabChanged)
public:
    // Each tool follows `tree` itself; those that remove go by `road`.
    ToolModels(ScannedTree& tree, RemovalRoad& road, const Desktop& desktop, QSettings* settings,
               ChangesModel::Environment changes, std::string home, JunkModel::Dependencies junk,
               LeftoversModel::Dependencies leftovers, StartupItemsModel::Dependencies startup,
               SystemDataModel::Dependencies systemData, AIDataModel::Dependencies aiData, QObject* parent = nullptr);

    QDateTime scannedAt() const { return scannedAt_; }
    HiddenFilesModel* hidden() { return &hidden_; }
    ChangesModel* changes() { return &changes_; }
    DuplicatesModel* duplicates() { return &duplicates_; }
    JunkModel* junk() { return &junk_; }
    LeftoversModel* leftovers() { return &leftovers_; }
    StartupItemsModel* startup() { return &startup_; }
    SystemDataModel* systemData() { return &systemData_; }
    AIDataModel* aiData() { return &aiData_; }
    ReportView* report() { return &report_; }
    QString reportTab() const;
    void setReportTab(const QString& tab);

signals:
    void scanned();
    void reportTabChanged();

private:
    QSettings* settings_;
    QDateTime scannedAt_;
    HiddenFilesModel hidden_;
    ChangesModel changes_;
    DuplicatesModel duplicates_;
    JunkModel junk_;
    LeftoversModel leftovers_;
    StartupItemsModel startup_;
    SystemDataModel systemData_;
    AIDataModel aiData_;
    ReportView report_;
};

} // namespace tessel
