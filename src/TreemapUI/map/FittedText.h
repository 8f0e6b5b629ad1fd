#pragma once
// Text made to fit a card or a tile. A name the user gave is cut in the
// middle with an ellipsis, since both its ends tell things apart. A label of
// ours that begins with a figure ("3 more items", "12.4 MB · partly read")
// gives up whole words from its end instead: "3 more", then "3". A figure
// cut in half ("3 …ms") would say a wrong number, so when even the first word
// does not fit, nothing is drawn.

#include <QString>

#include <functional>

namespace tessel::FittedText {

using Advance = std::function<double(const QString&)>;

// `text` without its last words, as much as fits in `width`; empty if no word fits.
QString wholeWords(const QString& text, double width, const Advance& advance);

} // namespace tessel::FittedText
