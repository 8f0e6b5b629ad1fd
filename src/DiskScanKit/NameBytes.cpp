#include "DiskScanKit/NameBytes.h"

#include <array>
#include <cstdint>

namespace tessel {

namespace {

bool continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";
constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

std::size_t Utf8::sequenceLength(std::string_view text) {
    if (text.empty()) return 0;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return text.size() >= 2 && continuation(byte(1)) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (text.size() < 3 || !continuation(byte(1)) || !continuation(byte(2))) return 0;
        if (lead == 0xE0 && byte(1) < 0xA0) return 0; // overlong
        if (lead == 0xED && byte(1) > 0x9F) return 0; // a UTF-16 surrogate
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (text.size() < 4 || !continuation(byte(1)) || !continuation(byte(2)) || !continuation(byte(3))) return 0;
        if (lead == 0xF0 && byte(1) < 0x90) return 0; // overlong
        if (lead == 0xF4 && byte(1) > 0x8F) return 0; // above U+10FFFF
        return 4;
    }
    return 0;
}

bool Utf8::isValid(std::string_view text) {
    while (!text.empty()) {
        // ASCII runs are the common case and need no decoding.
        if (static_cast<unsigned char>(text.front()) < 0x80) {
            text.remove_prefix(1);
            continue;
        }
        const std::size_t length = sequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string Utf8::repaired(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0) {
            out += replacementCharacter;
            text.remove_prefix(1);
            continue;
        }
        out.append(text.substr(0, length));
        text.remove_prefix(length);
    }
    return out;
}

char32_t Utf8::codePoint(std::string_view sequence) {
    const auto byte = [&](std::size_t i) { return static_cast<char32_t>(static_cast<unsigned char>(sequence[i])); };
    switch (sequence.size()) {
    case 1: return byte(0);
    case 2: return (byte(0) & 0x1F) << 6 | (byte(1) & 0x3F);
    case 3: return (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
    default: return (byte(0) & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
    }
}

void Utf8::append(std::string& out, char32_t code) {
    if ((code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) {
        out += replacementCharacter;
    } else if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

std::string Base64::encode(std::string_view bytes) {
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const auto triple = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << 16 |
                            static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8 |
                            static_cast<unsigned char>(bytes[i + 2]);
        for (int shift = 18; shift >= 0; shift -= 6) out += alphabet[(triple >> shift) & 0x3F];
    }
    const std::size_t left = bytes.size() - i;
    if (left == 0) return out;
    std::uint32_t tail = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << 16;
    if (left == 2) tail |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8;
    out += alphabet[(tail >> 18) & 0x3F];
    out += alphabet[(tail >> 12) & 0x3F];
    out += left == 2 ? alphabet[(tail >> 6) & 0x3F] : '=';
    out += '=';
    return out;
}

std::optional<std::string> Base64::decode(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    static const std::array<int, 256> values = [] {
        std::array<int, 256> table{};
        table.fill(-1);
        for (std::size_t i = 0; i < alphabet.size(); ++i) table[static_cast<unsigned char>(alphabet[i])] = static_cast<int>(i);
        return table;
    }();
    std::string out;
    out.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const bool last = i + 4 == text.size();
        const std::size_t padding = last ? std::size_t{text[i + 3] == '='} + std::size_t{text[i + 2] == '='} : 0;
        if (padding == 1 && text[i + 2] == '=') return std::nullopt; // "x=y=" is no padding
        std::uint32_t quad = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const int value = k >= 4 - padding ? 0 : values[static_cast<unsigned char>(text[i + k])];
            if (value < 0) return std::nullopt;
            quad = quad << 6 | static_cast<std::uint32_t>(value);
        }
        out += static_cast<char>(quad >> 16);
        if (padding < 2) out += static_cast<char>((quad >> 8) & 0xFF);
        if (padding < 1) out += static_cast<char>(quad & 0xFF);
    }
    return out;
}

} // namespace tessel
