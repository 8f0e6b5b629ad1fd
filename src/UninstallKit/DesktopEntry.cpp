// Reading a desktop entry's lines.
//
// The file is lines: blank ones, comments ("#..."), group headers
// ("[Desktop Entry]") and keys ("Name[sr@latin] = Pregledač"). The first
// group must be [Desktop Entry]; a group or a key given twice, a key before
// any group, or a line that is none of these makes the file unreadable, and
// the failure says which line, since a half-read entry could show an app
// under a name, or with a command, that is not the one written.
//
// Values are kept as written; escapes are undone only when a value is asked
// for, because Exec is split after unescaping, and the order matters:
// `Exec="a\\\\b"` is the string `"a\\b"`, which splits into the one argument
// `a\b`.
//
// A localised key is chosen by the user's locale, most specific first: for
// LC_MESSAGES=sr_RS.UTF-8@latin, Name[sr_RS@latin], Name[sr_RS],
// Name[sr@latin], Name[sr], then Name. The encoding plays no part.

#include "UninstallKit/DesktopEntry.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_set>

#include "Base/Lines.h"
#include "Base/SmallFile.h"

namespace tessel {

namespace {

bool isKeyCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
}

bool isLocaleCharacter(char c) { return isKeyCharacter(c) || c == '_' || c == '@' || c == '.'; }

// "Name" or "Name[xx_YY@mod]".
bool isValidKey(std::string_view key) {
    const std::size_t bracket = key.find('[');
    const std::string_view base = key.substr(0, bracket);
    if (base.empty() || !std::all_of(base.begin(), base.end(), isKeyCharacter)) return false;
    if (bracket == std::string_view::npos) return true;
    if (!key.ends_with(']') || key.size() < bracket + 3) return false;
    const std::string_view locale = key.substr(bracket + 1, key.size() - bracket - 2);
    return std::all_of(locale.begin(), locale.end(), isLocaleCharacter);
}

std::string lineFault(std::size_t number, const std::string& what) {
    return "line " + std::to_string(number) + ": " + what;
}

std::string shown(std::string_view line) {
    constexpr std::size_t most = 60;
    std::string text(line.substr(0, most));
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20) c = '?';
    return "\"" + text + (line.size() > most ? "...\"" : "\"");
}

} // namespace

MessagesLocale MessagesLocale::parse(std::string_view name) {
    MessagesLocale locale;
    const std::size_t at = name.find('@');
    if (at != std::string_view::npos) {
        locale.modifier = std::string(name.substr(at + 1));
        name = name.substr(0, at);
    }
    name = name.substr(0, name.find('.'));
    const std::size_t underscore = name.find('_');
    locale.language = std::string(name.substr(0, underscore));
    if (underscore != std::string_view::npos) locale.country = std::string(name.substr(underscore + 1));
    if (locale.language == "C" || locale.language == "POSIX") return {};
    return locale;
}

MessagesLocale MessagesLocale::fromEnvironment() {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value != nullptr && *value != '\0') return parse(value);
    }
    return {};
}

std::vector<std::string> MessagesLocale::candidates() const {
    if (language.empty()) return {};
    std::vector<std::string> keys;
    if (!country.empty() && !modifier.empty()) keys.push_back(language + "_" + country + "@" + modifier);
    if (!country.empty()) keys.push_back(language + "_" + country);
    if (!modifier.empty()) keys.push_back(language + "@" + modifier);
    keys.push_back(language);
    return keys;
}

DesktopEntry::Parse DesktopEntry::parse(std::string_view text) {
    DesktopEntry entry;
    std::size_t number = 0;
    // Views into `text`: a hostile entry of many keys costs a look-up each, not a walk of all before it.
    std::unordered_set<std::string_view> groupsSeen, keysSeen;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        ++number;
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (trimmed(line).empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            const std::string_view name = line.substr(1, line.size() - 1 - (line.ends_with(']') ? 1 : 0));
            if (!line.ends_with(']') || line.size() < 3 || name.find_first_of("[]") != std::string_view::npos)
                return {std::nullopt, lineFault(number, shown(line) + " is no group header")};
            if (!groupsSeen.insert(name).second)
                return {std::nullopt, lineFault(number, "the group [" + std::string(name) + "] is given twice")};
            if (entry.groups_.empty() && name != mainGroup)
                return {std::nullopt, lineFault(number, "the first group is [" + std::string(name) +
                                                            "], not [Desktop Entry]")};
            entry.groups_.emplace_back(std::string(name), Keys{});
            keysSeen.clear();
            continue;
        }
        const std::size_t equals = line.find('=');
        const std::string_view key = trimmed(line.substr(0, equals));
        if (equals == std::string_view::npos || !isValidKey(key))
            return {std::nullopt, lineFault(number, shown(line) + " is neither a group, a key nor a comment")};
        if (entry.groups_.empty())
            return {std::nullopt, lineFault(number, "the key " + std::string(key) + " comes before any group")};
        Keys& keys = entry.groups_.back().second;
        if (!keysSeen.insert(key).second)
            return {std::nullopt, lineFault(number, "the key " + std::string(key) + " is given twice in [" +
                                                        entry.groups_.back().first + "]")};
        std::string_view value = line.substr(equals + 1);
        value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
        keys.emplace_back(std::string(key), std::string(value));
    }
    if (entry.groups_.empty()) return {std::nullopt, "there is no [Desktop Entry] group"};
    return {std::move(entry), {}};
}

DesktopEntry::Parse DesktopEntry::read(const std::string& path) {
    SmallFileRead file = readSmallFile(path, maxFileBytes);
    if (!file.text) return {std::nullopt, file.failure};
    Parse parsed = parse(*file.text);
    if (!parsed.entry) parsed.failure = path + ": " + parsed.failure;
    return parsed;
}

bool DesktopEntry::hasGroup(std::string_view group) const {
    return std::any_of(groups_.begin(), groups_.end(), [&](const auto& pair) { return pair.first == group; });
}

std::optional<std::string> DesktopEntry::raw(std::string_view key, std::string_view group) const {
    for (const auto& [name, keys] : groups_) {
        if (name != group) continue;
        for (const auto& [written, value] : keys)
            if (written == key) return value;
    }
    return std::nullopt;
}

std::optional<std::string> DesktopEntry::string(std::string_view key) const {
    std::optional<std::string> value = raw(key);
    if (!value) return std::nullopt;
    return unescape(*value);
}

std::optional<std::string> DesktopEntry::localeString(std::string_view key, const MessagesLocale& locale) const {
    for (const std::string& suffix : locale.candidates())
        if (std::optional<std::string> value = string(std::string(key) + "[" + suffix + "]")) return value;
    return string(key);
}

bool DesktopEntry::boolean(std::string_view key) const { return string(key) == "true"; }

std::map<std::string, std::string> DesktopEntry::extras() const {
    std::map<std::string, std::string> found;
    for (const auto& [name, keys] : groups_) {
        if (name != mainGroup) continue;
        for (const auto& [key, value] : keys)
            if (key.starts_with("X-")) found.emplace(key, unescape(value));
    }
    return found;
}

std::string DesktopEntry::unescape(std::string_view value) {
    std::string text;
    text.reserve(value.size());
    for (std::size_t at = 0; at < value.size(); ++at) {
        if (value[at] != '\\' || at + 1 == value.size()) {
            text += value[at];
            continue;
        }
        switch (value[++at]) {
        case 's': text += ' '; break;
        case 'n': text += '\n'; break;
        case 't': text += '\t'; break;
        case 'r': text += '\r'; break;
        case '\\': text += '\\'; break;
        default: // not an escape of strings (a list's "\;", say): left for whoever reads further
            text += '\\';
            text += value[at];
        }
    }
    return text;
}

} // namespace tessel
