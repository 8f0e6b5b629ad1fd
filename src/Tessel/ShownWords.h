#pragma once
// The sentences a window shows at one moment: the text, title, placeholder,
// help, hint, note and label of every visible item, and the text of every
// action its menus hold. The self-test gathers them room by room and checks
// that none speaks of the Mac where there is none.

#include <QString>
#include <QStringList>

#include <map>

class QQuickWindow;

namespace tessel {

class ShownWords {
public:
    // Adds what `window` shows now, noting that it was seen in `where`.
    void gather(QQuickWindow* window, const QString& where);
    // "map: «Show in Finder» says Finder", one for each sentence with a Mac word.
    QStringList macWords() const;
    qsizetype count() const { return static_cast<qsizetype>(seen_.size()); }

private:
    std::map<QString, QString> seen_; // sentence → where it was first seen
};

} // namespace tessel
