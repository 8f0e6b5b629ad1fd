#pragma once
// Lower case for names compared without regard to case: only ASCII letters
// change, every other byte stays as it is, whatever the locale.

#include <string>
#include <string_view>

namespace tessel {

inline char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

inline bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (asciiLower(a[i]) != asciiLower(b[i])) return false;
    return true;
}

inline bool endsWithIgnoringAsciiCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && equalsIgnoringAsciiCase(text.substr(text.size() - suffix.size()), suffix);
}

inline std::string asciiLower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = asciiLower(c);
    return lower;
}

} // namespace tessel
