#pragma once
// Words that mean something only on a Mac. On Linux nothing a person reads may
// use them, unless it speaks of a file that really is the Mac's: a path names
// such a file, so a word inside a path ("/srv/Library/x") is not counted. The
// app's self-test and the tool's tests read every sentence through this.

#include <array>
#include <cctype>
#include <optional>
#include <string>
#include <string_view>

namespace tessel::MacWords {

namespace detail {

inline bool isWordCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }

inline bool sameLetters(std::string_view a, std::string_view b, bool ignoringCase) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
        if (ignoringCase ? std::tolower(x) != std::tolower(y) : x != y) return false;
    }
    return true;
}

// Whether the whitespace-separated token around [start, end) is a path.
inline bool insidePath(std::string_view text, std::size_t start, std::size_t end) {
    std::size_t from = start, to = end;
    while (from > 0 && std::isspace(static_cast<unsigned char>(text[from - 1])) == 0) --from;
    while (to < text.size() && std::isspace(static_cast<unsigned char>(text[to])) == 0) ++to;
    return text.substr(from, to - from).find('/') != std::string_view::npos;
}

} // namespace detail

// The first Mac word in `text`, as it stands there; none when it has none.
// Names match by their case ("Dock", not "dock"); the two phrases in any case,
// and in the plural too ("Launch agents").
inline std::optional<std::string> firstIn(std::string_view text) {
    struct Word {
        std::string_view letters;
        bool ignoringCase;
    };
    static constexpr std::array<Word, 13> words{{
        {"Finder", false}, {"Dock", false}, {"Mac", false}, {"Macs", false}, {"macOS", false},
        {"Macintosh", false}, {"Siri", false}, {"iCloud", false}, {"Library", false}, {"Command-Delete", false},
        {"launch agent", true}, {"launch daemon", true}, {"Time Machine", false},
    }};
    for (std::size_t start = 0; start < text.size(); ++start) {
        if (start > 0 && detail::isWordCharacter(text[start - 1])) continue;
        for (const Word& word : words) {
            if (!detail::sameLetters(text.substr(start, word.letters.size()), word.letters, word.ignoringCase)) continue;
            std::size_t end = start + word.letters.size();
            if (word.ignoringCase && end < text.size() && (text[end] == 's' || text[end] == 'S')) ++end;
            if (end < text.size() && detail::isWordCharacter(text[end])) continue;
            if (detail::insidePath(text, start, end)) continue;
            return std::string(text.substr(start, end - start));
        }
    }
    return std::nullopt;
}

} // namespace tessel::MacWords
