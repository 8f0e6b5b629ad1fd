#pragma once
// The views' one way to write sizes, counts and shares: the same C++ the tool
// and the reports use, offered to QML as the singleton "Format".

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace tessel {

class Format : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    // "999 bytes", "1.0 KB", "100 KB"
    Q_INVOKABLE QString bytes(qint64 value) const;
    // "1,234"
    Q_INVOKABLE QString count(qint64 value) const;
    // "1 file", "2,003 files"
    Q_INVOKABLE QString counted(qint64 value, const QString& one, const QString& many) const;
    // "12.3%", "<0.1%"; empty when the whole is nothing.
    Q_INVOKABLE QString share(qint64 part, qint64 whole) const;
    // What is chosen in a map or a list: "notes.pdf, 4.0 MB.", "3 items selected, 12 MB in all.";
    // empty with nothing chosen.
    Q_INVOKABLE QString chosen(qint64 count, qint64 bytes, const QString& name) const;
    // What a search found: "Nothing matches.", "1 match, 4.0 MB in all.", "1,234 matches, 5.6 GB in all."
    Q_INVOKABLE QString matches(qint64 total, qint64 bytes) const { return matchesSentence(total, bytes); }
    static QString matchesSentence(qint64 total, qint64 bytes);
};

} // namespace tessel
