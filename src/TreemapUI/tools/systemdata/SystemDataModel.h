#pragma once
// The System Data room: one look, off the main thread, at what the disk
// holds outside an ordinary scan of the home. Each place is a row with where
// it is and its size, and the command that removes it, to copy: Tessel never
// asks for a password, and moves none of these places itself.
// Folders that could not be read are listed apart, never counted as empty.

#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <string>

#include "support/BackgroundSearch.h"
#include "UninstallKit/SystemDataFinder.h"

namespace tessel {

class SystemDataModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the System Data room")
    Q_PROPERTY(tessel::SearchState* search READ search CONSTANT)
    Q_PROPERTY(QVariantList rows READ rows NOTIFY resultChanged)
    Q_PROPERTY(QStringList unreadable READ unreadable NOTIFY resultChanged)
    Q_PROPERTY(qint64 totalBytes READ totalBytes NOTIFY resultChanged)
    // What the Trash rows' "Open Trash" does, since Tessel never empties it.
    Q_PROPERTY(QString openTrashHelp READ openTrashHelp CONSTANT)

public:
    struct Dependencies {
        // One look, called off the main thread.
        std::function<SystemDataReport(const std::function<bool()>& isCancelled)> find;
        std::function<void(const QString&)> copy; // to the clipboard
        // The machine's own, its "/" at `root`.
        static Dependencies system(const std::string& root);
    };

    explicit SystemDataModel(Dependencies dependencies, QObject* parent = nullptr);
    ~SystemDataModel() override;

    QString openTrashHelp() const;

    Q_INVOKABLE void run();
    Q_INVOKABLE void cancel();
    Q_INVOKABLE void copyCommand(const QString& command);

    SearchState* search() { return search_.state(); }
    QVariantList rows() const;
    QStringList unreadable() const;
    qint64 totalBytes() const { return report_.rowBytes(); }
    const SystemDataReport& report() const { return report_; }

signals:
    void resultChanged();

private:
    void received(SystemDataReport report);

    Dependencies dependencies_;
    SystemDataReport report_;
    // Last, so it goes first: its worker is waited for while the rest still stands.
    BackgroundSearch<SystemDataReport> search_{this, "Tessel.sysdata"};
};

} // namespace tessel
