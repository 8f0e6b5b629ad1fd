#pragma once
// Walking a text one line at a time, without copying it: the lines of a
// small file read whole (a /proc file, a key file, a package's file list).
// A last line without its newline counts; a final newline makes no empty line.

#include <string_view>

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

} // namespace tessel
