// Matching names against typed words.
//
// The text is split into words once, each folded to lower case once. Each
// name is then folded into a buffer the caller reuses and every word looked
// up in it. Folding maps whole UTF-8 characters to whole UTF-8 characters,
// and UTF-8 never lets a character start in the middle of another, so a plain
// substring search on folded bytes can't match half a letter. A byte that
// starts no two-byte character (a lone lead byte, a stray continuation byte,
// Latin-1 left over from another system) is copied as it is, so the same
// bytes typed or pasted find it: "caf\xe9" finds "CAF\xe9.txt".

#include "DiskScanKit/NameMatcher.h"

#include <algorithm>

namespace tessel {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// The words of a query's text: runs between white space, or what stands
// between double quotes. A quote ends the word before it, so `a"b c"` is "a"
// and "b c".
std::vector<std::string> splitWords(std::string_view text) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false;
    auto finish = [&] {
        if (!word.empty()) words.push_back(std::move(word));
        word.clear();
    };
    for (char c : text) {
        if (c == '"') {
            finish();
            quoted = !quoted;
        } else if (isSpace(c) && !quoted) {
            finish();
        } else {
            word += c;
        }
    }
    finish();
    return words;
}

// The lower-case partner of a character of two UTF-8 bytes (U+0080 to
// U+07FF), or the character itself. Simple one-to-one folding only: a letter
// whose lower case is two letters (ß, İ) stays as it is.
char32_t foldTwoByte(char32_t c) {
    if (c == 0xb5) return 0x3bc;                                    // micro sign: Greek mu
    if (c >= 0xc0 && c <= 0xde && c != 0xd7) return c + 0x20;       // Latin-1, not ×
    if ((c >= 0x100 && c <= 0x12f) || (c >= 0x132 && c <= 0x137) || (c >= 0x14a && c <= 0x177))
        return c | 1;                                               // Latin Extended-A, upper even
    if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17e))
        return (c & 1) != 0 ? c + 1 : c;                            // Latin Extended-A, upper odd
    if (c == 0x178) return 0xff;                                    // Ÿ
    if (c == 0x17f) return 's';                                     // long s
    if (c == 0x386) return 0x3ac;                                   // Greek with tonos
    if (c >= 0x388 && c <= 0x38a) return c + 0x25;
    if (c == 0x38c) return 0x3cc;
    if (c == 0x38e || c == 0x38f) return c + 0x3f;
    if ((c >= 0x391 && c <= 0x3a1) || (c >= 0x3a3 && c <= 0x3ab)) return c + 0x20; // Greek capitals
    if (c == 0x3c2) return 0x3c3;                                   // final sigma
    if (c >= 0x400 && c <= 0x40f) return c + 0x50;                  // Cyrillic Ѐ to Џ
    if (c >= 0x410 && c <= 0x42f) return c + 0x20;                  // Cyrillic А to Я
    return c;
}

} // namespace

NameMatcher::NameMatcher(std::string_view text) {
    for (const std::string& word : splitWords(text)) {
        std::string lower;
        appendFolded(lower, word);
        words_.push_back(std::move(lower));
    }
}

bool NameMatcher::matches(std::string_view name, std::string& folded) const {
    folded.clear();
    appendFolded(folded, name);
    return std::all_of(words_.begin(), words_.end(),
                       [&](const std::string& word) { return folded.find(word) != std::string::npos; });
}

bool NameMatcher::matches(std::string_view name) const {
    std::string folded;
    return matches(name, folded);
}

void NameMatcher::appendFolded(std::string& out, std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            out += lead >= 'A' && lead <= 'Z' ? static_cast<char>(lead + ('a' - 'A')) : text[i];
            ++i;
            continue;
        }
        if ((lead & 0xe0) == 0xc0 && i + 1 < text.size()) {
            const auto next = static_cast<unsigned char>(text[i + 1]);
            const char32_t c = static_cast<char32_t>(((lead & 0x1fu) << 6) | (next & 0x3fu));
            // A lone lead byte or an overlong form is not a letter: it passes as bytes below.
            if ((next & 0xc0) == 0x80 && c >= 0x80) {
                const char32_t lower = foldTwoByte(c);
                if (lower < 0x80) {
                    out += static_cast<char>(lower);
                } else {
                    out += static_cast<char>(0xc0 | (lower >> 6));
                    out += static_cast<char>(0x80 | (lower & 0x3f));
                }
                i += 2;
                continue;
            }
        }
        out += text[i];
        ++i;
    }
}

} // namespace tessel
