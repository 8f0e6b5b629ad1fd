#pragma once
// Lower case for names compared without regard to case: only ASCII letters
// change, every other byte stays as it is, whatever the locale.

#include <string>
#include <string_view>

namespace tessel {

inline std::string asciiLower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

} // namespace tessel
