#include "map/FittedText.h"

namespace tessel::FittedText {

QString wholeWords(const QString& text, double width, const Advance& advance) {
    QString shown = text.trimmed();
    while (!shown.isEmpty() && advance(shown) > width) {
        const qsizetype space = shown.lastIndexOf(' ');
        if (space < 0) return {};
        shown = shown.left(space).trimmed();
        // A separator left at the end ("12.4 MB ·") reads as a fragment.
        while (!shown.isEmpty() && !shown.back().isLetterOrNumber() && shown.back() != ')') shown.chop(1);
        shown = shown.trimmed();
    }
    return shown;
}

} // namespace tessel::FittedText
