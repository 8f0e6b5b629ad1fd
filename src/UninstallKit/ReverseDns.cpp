// Reading reverse-DNS identifiers.
//
// Apps name their folders, settings and caches after their identifier, but
// the names on disk carry more than the identifier: a developer team's prefix
// ("ABCDE12345.com.foo.app"), a decoration ("group.com.foo"), a file's
// extension ("com.foo.app.plist"), or a suffix after an underscore
// ("com.foo.app_1"). `identifier` peels those off in that order: an extension
// from a known list (a bare last piece can't be told from an identifier's own
// last piece, so "com.foo.app" keeps its "app"), then a team prefix, then a
// decoration at either end. What is left counts only when it has two pieces
// or more and its first is a top-level domain; so "readme.txt" and "foo" are
// no identifiers. Where a name holds an underscore, the part before it and
// the part after it are tried first ("com.foo.app_1"), then the whole name.

#include "UninstallKit/ReverseDns.h"

#include "Base/AsciiCase.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace tessel::ReverseDns {

namespace {

constexpr std::array<std::string_view, 47> topLevelDomains{
    "com", "org", "net", "edu", "gov", "mil", "int", "info", "biz", "name", "pro", "app",
    "dev", "xyz", "tech", "studio", "design", "software", "systems", "cloud", "online", "site",
    "digital", "network", "media", "games", "tools", "works", "company", "codes", "technology", "one",
    "space", "live", "life", "world", "team", "email", "run", "page", "build", "agency",
    "solutions", "services", "ltd", "inc", "llc"};

constexpr std::array<std::string_view, 4> decorations{"group", "groups", "systemgroup", "maccatalyst"};

// The tails that are a file's kind rather than part of the name it carries.
constexpr std::array<std::string_view, 20> extensions{
    "plist", "savedstate", "binarycookies", "db", "sqlite", "sqlite3", "log", "txt", "json", "xml",
    "lock", "cache", "bak", "tmp", "conf", "ini", "desktop", "service", "timer", "socket"};

std::string lower(std::string_view text) { return asciiLower(text); }

std::vector<std::string> pieces(std::string_view text) {
    std::vector<std::string> found;
    std::size_t start = 0;
    for (;;) {
        const std::size_t dot = text.find('.', start);
        found.emplace_back(text.substr(start, dot == std::string_view::npos ? std::string_view::npos : dot - start));
        if (dot == std::string_view::npos) return found;
        start = dot + 1;
    }
}

bool contains(const auto& list, std::string_view word) { return std::ranges::find(list, word) != list.end(); }

std::optional<std::string> read(std::string_view name) {
    std::vector<std::string> parts = pieces(lower(name));
    if (parts.size() > 1 && contains(extensions, parts.back())) parts.pop_back();
    // The team prefix is read before lower-casing would hide its capitals.
    if (parts.size() > 1 && isTeamIdentifier(pieces(name).front())) parts.erase(parts.begin());
    if (parts.size() > 1 && contains(decorations, parts.front())) parts.erase(parts.begin());
    if (parts.size() > 1 && contains(decorations, parts.back())) parts.pop_back();
    if (parts.size() < 2 || !isTopLevelDomain(parts.front())) return std::nullopt;
    if (std::ranges::any_of(parts, [](const std::string& part) { return part.empty(); })) return std::nullopt;
    std::string joined = parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i) joined += "." + parts[i];
    return joined;
}

} // namespace

std::string fold(std::string_view text) {
    std::string folded;
    for (char c : text)
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) folded += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return folded;
}

std::optional<std::string> vendor(std::string_view identifier) {
    const std::vector<std::string> parts = pieces(lower(identifier));
    if (parts.size() < 2) return std::nullopt;
    return parts[0] + "." + parts[1];
}

bool hasPrefix(std::string_view prefix, std::string_view identifier) {
    return identifier == prefix || (identifier.starts_with(prefix) && identifier.size() > prefix.size() &&
                                    identifier[prefix.size()] == '.');
}

std::vector<std::string> lineage(std::string_view identifier) {
    std::string current = lower(identifier);
    std::vector<std::string> line{current};
    for (std::size_t dot = current.rfind('.'); dot != std::string::npos; dot = current.rfind('.')) {
        current.resize(dot);
        line.push_back(current);
    }
    return line;
}

bool isTeamIdentifier(std::string_view text) {
    return text.size() == 10 && std::ranges::all_of(text, [](char c) {
               return std::isdigit(static_cast<unsigned char>(c)) != 0 || (c >= 'A' && c <= 'Z');
           });
}

bool isTopLevelDomain(std::string_view text) { return contains(topLevelDomains, lower(text)); }

std::optional<std::string> identifier(std::string_view name) {
    const std::size_t first = name.find('_'), last = name.rfind('_');
    if (first == std::string_view::npos) return read(name);
    if (std::optional<std::string> before = read(name.substr(0, first))) return before;
    if (std::optional<std::string> after = read(name.substr(last + 1))) return after;
    return read(name);
}

} // namespace tessel::ReverseDns
