#pragma once
// Walking a text one line at a time, without copying it: the lines of a
// small file read whole (a /proc file, a key file, a package's file list).
// A last line without its newline counts; a final newline makes no empty line.

#include <string_view>
#include <vector>

namespace tessel {

template <class Visit>
void forEachLine(std::string_view text, Visit&& visit) {
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        visit(text.substr(start, end - start));
        start = end + 1;
    }
}

// Every line of `text`, as forEachLine gives them.
inline std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    forEachLine(text, [&](std::string_view line) { lines.push_back(line); });
    return lines;
}

// `text` without the `blanks` at either end.
inline std::string_view trimmed(std::string_view text, std::string_view blanks = " \t") {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace tessel
