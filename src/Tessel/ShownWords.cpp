#include "ShownWords.h"

#include <QQuickItem>
#include <QQuickWindow>

#include "Base/MacWords.h"

namespace tessel {

namespace {

constexpr const char* textProperties[] = {"text", "title", "placeholderText", "help", "hint", "note", "label"};

void readStrings(const QObject* object, const QString& where, std::map<QString, QString>& seen) {
    for (const char* name : textProperties) {
        const QVariant value = object->property(name);
        if (value.typeId() != QMetaType::QString) continue;
        const QString text = value.toString().trimmed();
        if (!text.isEmpty()) seen.try_emplace(text, where);
    }
}

void walk(const QQuickItem* item, const QString& where, std::map<QString, QString>& seen) {
    if (!item->isVisible()) return;
    readStrings(item, where, seen);
    for (const QQuickItem* child : item->childItems()) walk(child, where, seen);
}

} // namespace

void ShownWords::gather(QQuickWindow* window, const QString& where) {
    walk(window->contentItem(), where, seen_);
    // A closed menu shows nothing, but its actions are what the menu bar offers.
    for (const QObject* object : window->findChildren<QObject*>())
        if (qstrcmp(object->metaObject()->className(), "QQuickAction") == 0) readStrings(object, where, seen_);
}

QStringList ShownWords::macWords() const {
    QStringList found;
    for (const auto& [text, where] : seen_)
        if (std::optional<std::string> word = MacWords::firstIn(text.toStdString()))
            found << QStringLiteral("%1: «%2» says %3").arg(where, text, QString::fromStdString(*word));
    return found;
}

} // namespace tessel
