// Reading unit files as systemd does.
//
// A unit file is lines: "[Section]", "Key=Value", comments after "#" or ";",
// and a line ending in a backslash going on in the next, the two joined by a
// space. A key given again adds a value; given empty, it drops those before
// it. That is how a drop-in replaces a command rather than adding one:
//   foo.service              ExecStart=/usr/bin/foo --old
//   foo.service.d/new.conf   ExecStart=
//                            ExecStart=/usr/bin/foo --new
//   → ExecStart is "/usr/bin/foo --new" alone.
//
// An Exec line is split into words as systemd splits it: spaces separate,
// single or double quotes hold spaces, C escapes (\n, \t, \x2d...) are
// undone, and a lone ";" ends the first command. Specifiers are put in
// afterwards, word by word: in getty@tty1.service, "%I" is "tty1".

#include "UninstallKit/SystemdUnitFile.h"

#include <stdexcept>

#include "Base/Lines.h"

namespace tessel {

namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// One escape after a backslash at `at`; moves `at` to its last character.
void unescapeOne(std::string_view line, std::size_t& at, std::string& word) {
    if (at + 1 >= line.size()) throw std::invalid_argument("the command ends with a lone backslash");
    const char c = line[++at];
    switch (c) {
    case 'a': word += '\a'; return;
    case 'b': word += '\b'; return;
    case 'f': word += '\f'; return;
    case 'n': word += '\n'; return;
    case 'r': word += '\r'; return;
    case 't': word += '\t'; return;
    case 'v': word += '\v'; return;
    case 's': word += ' '; return;
    case 'x':
        if (at + 2 < line.size() && hexValue(line[at + 1]) >= 0 && hexValue(line[at + 2]) >= 0) {
            word += static_cast<char>(hexValue(line[at + 1]) * 16 + hexValue(line[at + 2]));
            at += 2;
            return;
        }
        throw std::invalid_argument("\\x in the command is not followed by two hexadecimal digits");
    default: word += c; // \\ \" \' and the like stand for themselves
    }
}

std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    char quote = 0;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        if (quote != 0) {
            if (c == quote) quote = 0;
            else if (c == '\\') unescapeOne(line, at, word);
            else word += c;
        } else if (c == ' ' || c == '\t' || c == '\n') {
            if (inWord) words.push_back(std::move(word));
            word.clear();
            inWord = false;
        } else {
            inWord = true;
            if (c == '"' || c == '\'') quote = c;
            else if (c == '\\') unescapeOne(line, at, word);
            else word += c;
        }
    }
    if (quote != 0) throw std::invalid_argument("a quote in the command is never closed");
    if (inWord) words.push_back(std::move(word));
    return words;
}

} // namespace

void SystemdUnitFile::apply(std::string_view text) {
    std::string section, pending;
    const auto take = [&](std::string_view line) {
        line = trimmed(line, " \t\r");
        if (line.empty() || line.front() == '#' || line.front() == ';') return;
        if (line.front() == '[' && line.back() == ']') {
            section = std::string(line.substr(1, line.size() - 2));
            sections_[section];
            return;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos || section.empty()) return;
        const std::string key(trimmed(line.substr(0, equals)));
        const std::string value(trimmed(line.substr(equals + 1)));
        std::vector<std::string>& list = sections_[section][key];
        if (value.empty()) list.clear();
        else list.push_back(value);
    };
    forEachLine(text, [&](std::string_view line) {
        const std::string_view bare = trimmed(line, " \t\r");
        // A comment is passed over whole, even inside a continued line, which goes on after it.
        if (bare.starts_with('#') || bare.starts_with(';')) return;
        if (bare.ends_with('\\')) {
            pending += std::string(bare.substr(0, bare.size() - 1)) + " ";
            return;
        }
        take(pending + std::string(line));
        pending.clear();
    });
    if (!pending.empty()) take(pending);
}

std::vector<std::string> SystemdUnitFile::values(std::string_view section, std::string_view key) const {
    const auto keys = sections_.find(section);
    if (keys == sections_.end()) return {};
    const auto found = keys->second.find(key);
    return found == keys->second.end() ? std::vector<std::string>{} : found->second;
}

std::optional<std::string> SystemdUnitFile::value(std::string_view section, std::string_view key) const {
    std::vector<std::string> all = values(section, key);
    if (all.empty()) return std::nullopt;
    return std::move(all.back());
}

std::optional<SystemdUnitFile::Command> SystemdUnitFile::splitCommand(std::string_view line) {
    std::vector<std::string> words = splitWords(line);
    for (std::size_t at = 0; at < words.size(); ++at)
        if (words[at] == ";") words.resize(at);
    if (words.empty()) return std::nullopt;
    std::string& first = words.front();
    const std::size_t start = first.find_first_not_of("-@:+!");
    const bool named = first.substr(0, start == std::string::npos ? first.size() : start).find('@') != std::string::npos;
    first.erase(0, start == std::string::npos ? first.size() : start);
    if (first.empty()) throw std::invalid_argument("the command names no program");
    Command command{first, {words.begin() + 1, words.end()}};
    if (named && !command.arguments.empty()) command.arguments.erase(command.arguments.begin());
    return command;
}

std::string SystemdUnitFile::expand(std::string_view text, const Specifiers& specifiers) {
    const std::string_view unit = specifiers.unit;
    const std::string_view type = UnitNames::type(unit);
    const std::string_view withoutType = unit.substr(0, type.empty() ? unit.size() : unit.size() - type.size() - 1);
    const std::string_view prefix = UnitNames::prefix(unit), instance = UnitNames::instance(unit);
    std::string expanded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%' || at + 1 == text.size()) {
            expanded += text[at];
            continue;
        }
        switch (const char code = text[++at]) {
        case '%': expanded += '%'; break;
        case 'n': expanded += unit; break;
        case 'N': expanded += withoutType; break;
        case 'p': expanded += prefix; break;
        case 'P': expanded += UnitNames::unescape(prefix); break;
        case 'i': expanded += instance; break;
        case 'I': expanded += UnitNames::unescape(instance); break;
        case 'f': expanded += "/" + UnitNames::unescape(instance.empty() ? prefix : instance); break;
        case 'h': expanded += specifiers.home; break;
        case 'u': expanded += specifiers.user; break;
        case 'U': expanded += specifiers.userId; break;
        case 't': expanded += specifiers.runtime; break;
        default: expanded += '%'; expanded += code;
        }
    }
    return expanded;
}

namespace UnitNames {

std::string_view type(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string_view{} : name.substr(dot + 1);
}

std::string_view prefix(std::string_view name) {
    const std::size_t at = name.find('@');
    if (at != std::string_view::npos) return name.substr(0, at);
    const std::size_t dot = name.rfind('.');
    return name.substr(0, dot);
}

std::string_view instance(std::string_view name) {
    const std::size_t at = name.find('@'), dot = name.rfind('.');
    if (at == std::string_view::npos || dot == std::string_view::npos || dot < at) return {};
    return name.substr(at + 1, dot - at - 1);
}

bool isTemplate(std::string_view name) {
    const std::size_t at = name.find('@');
    return at != std::string_view::npos && name.size() > at + 1 && name[at + 1] == '.';
}

bool isInstance(std::string_view name) { return !instance(name).empty(); }

std::string templateOf(std::string_view name) {
    return std::string(prefix(name)) + "@." + std::string(type(name));
}

std::string unescape(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '-') plain += '/';
        else if (text[at] == '\\' && at + 3 < text.size() && text[at + 1] == 'x' && hexValue(text[at + 2]) >= 0 &&
                 hexValue(text[at + 3]) >= 0) {
            plain += static_cast<char>(hexValue(text[at + 2]) * 16 + hexValue(text[at + 3]));
            at += 3;
        } else plain += text[at];
    }
    return plain;
}

} // namespace UnitNames

} // namespace tessel
