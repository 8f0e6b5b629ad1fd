#pragma once
// How typed text finds names: the one rule behind every search of the tree,
// the Search room's and the map's alike.
//
// The text is split at white space into words, and a name matches when every
// word occurs somewhere in it, in any order: "tax 2023" finds "2023 Tax
// Return.pdf". A stretch in double quotes is one word, spaces and all: typed
// with its quotes, "tax return" wants those two words side by side. A quote
// left open runs to the end of the text. Text with no words matches every
// name.
//
// Case is ignored for ASCII letters and for the letters of Latin-1, Latin
// Extended-A, Greek and Cyrillic ("ärger" finds "ÄRGER", "отчёт" finds
// "Отчёт"): their two cases sit at fixed distances in a few ranges of code
// points, so they fold without a Unicode library. Every other byte is
// compared as it is, bytes that are not UTF-8 included, so a name that is not
// UTF-8 is found by the bytes it holds. A name whose accents are stored
// decomposed ("e" and a combining accent) does not match the same word typed
// with composed accents.

#include <string>
#include <string_view>
#include <vector>

namespace tessel {

class NameMatcher {
public:
    // The words are split and folded once, here.
    explicit NameMatcher(std::string_view text);

    bool hasWords() const { return !words_.empty(); }
    // Whether every word occurs in `name`. The name is folded into `folded`,
    // which a caller matching many names reuses, so that matching a million
    // names allocates nothing after the first few.
    bool matches(std::string_view name, std::string& folded) const;
    bool matches(std::string_view name) const;

    // `text` with its letters folded to one case, appended to `out`.
    static void appendFolded(std::string& out, std::string_view text);

private:
    std::vector<std::string> words_;
};

} // namespace tessel
