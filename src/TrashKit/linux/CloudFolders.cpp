// The folders Linux sync clients keep in sync, read from each client's own
// configuration.
//
// Each client writes down where its folders are, in a format of its own:
//
//   Dropbox     ~/.dropbox/info.json, JSON: each account ("personal",
//               "business") an object whose "path" is its folder.
//                 {"personal": {"path": "/home/me/Dropbox", "host": 1}}
//   Nextcloud   $XDG_CONFIG_HOME/Nextcloud/nextcloud.cfg, and ownCloud
//   ownCloud    $XDG_CONFIG_HOME/ownCloud/owncloud.cfg: INI files written by
//               QSettings, where each synced folder is a "localPath" key,
//               whatever its section and prefix:
//                 [Accounts]
//                 0\Folders\1\localPath=/home/me/Nextcloud/
//               Values may be quoted and hold QSettings' escapes (\\ \" \n,
//               and \x followed by the hex code of a character).
//   OneDrive    $XDG_CONFIG_HOME/onedrive/config, "key = value" lines, the
//               folder under "sync_dir":  sync_dir = "~/OneDrive"
//   Syncthing   config.xml in $XDG_STATE_HOME/syncthing (where it lives now)
//               and in $XDG_CONFIG_HOME/syncthing (where it used to): the
//               "path" of each <folder> directly inside <configuration>.
//               The <folder> inside <defaults> is only the template for
//               new folders (often "~") and syncs nothing.
//   MEGA        keeps its settings encrypted and its list of synced folders
//               in the sync engine's own database, and Insync keeps its
//   Insync      folders in databases of its own. Neither can be read from
//               here, so each stands for its usual folder, ~/MEGA and ~/Insync.
//
// A client whose configuration names no folder, because it is missing, is
// not a regular file (a FIFO, a link, a device), is larger than
// `largestConfiguration`, does not parse or simply holds none, stands for
// its usual folder in the home instead: ~/Dropbox, ~/Nextcloud, ~/ownCloud,
// ~/OneDrive. A configuration that does name folders is believed, and then
// a folder of the usual name elsewhere is no longer taken for a synced one:
// with Dropbox set to /data/Dropbox, an old ~/Dropbox is only a folder.
// Syncthing has no usual folder: its default, ~/Sync, is too common a name to
// assume anything from.
//
// Every path goes through `placed`: "~" and "~/..." stand for the home, a
// relative path is taken from the home, the result is in normal form, and
// "/" or a path holding a NUL byte counts for nothing, so a hostile file can't
// make the whole disk (or nothing at all) look synced.

#include "TrashKit/CloudFolders.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <pugixml.hpp>

#include "Base/Lines.h"
#include "DiskScanKit/NameBytes.h"
#include "DiskScanKit/Paths.h"

namespace tessel::CloudFolders {

namespace {

// No client writes a configuration anywhere near this size.
constexpr std::int64_t largestConfiguration = 4 << 20;

std::optional<std::string> placed(std::string_view raw, const std::string& home) {
    if (raw.empty() || raw.find('\0') != std::string_view::npos) return std::nullopt;
    const bool fromHome = raw.front() != '/' && raw != "~" && !raw.starts_with("~/");
    const std::string path = fromHome ? Paths::standardized(Paths::join(home, raw), home) : Paths::standardized(raw, home);
    if (path == "/" || !path.starts_with('/')) return std::nullopt;
    return path;
}

std::vector<std::string> dropbox(std::string_view text) {
    const nlohmann::json info = nlohmann::json::parse(text, nullptr, false);
    std::vector<std::string> paths;
    if (!info.is_object()) return paths;
    for (const auto& [account, settings] : info.items())
        if (settings.is_object() && settings.contains("path") && settings["path"].is_string())
            paths.push_back(settings["path"].get<std::string>());
    return paths;
}

// Up to four hex digits after "\x", as QSettings writes a character it keeps out of the file.
char32_t hexCode(std::string_view text, std::size_t& at) {
    char32_t code = 0;
    for (int digits = 0; digits < 4 && at < text.size(); ++digits, ++at) {
        const char c = text[at];
        const int value = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (value < 0) break;
        code = code * 16 + static_cast<char32_t>(value);
    }
    return code;
}

// The escape after a backslash at `at`: QSettings' "\x" and hex digits for a
// character, a pair of them for one beyond U+FFFF, or a C escape.
void unescape(std::string_view raw, std::size_t& at, std::string& value, char32_t& highSurrogate) {
    const char escaped = raw[at++];
    if (escaped != 'x') {
        constexpr std::string_view from = "abfnrtv0";
        constexpr std::string_view to{"\a\b\f\n\r\t\v\0", 8};
        const std::size_t which = from.find(escaped);
        value += which == std::string_view::npos ? escaped : to[which];
        return;
    }
    const char32_t code = hexCode(raw, at);
    if (code >= 0xD800 && code <= 0xDBFF) {
        highSurrogate = code;
        return;
    }
    if (code >= 0xDC00 && code <= 0xDFFF && highSurrogate != 0)
        Utf8::append(value, 0x10000 + ((highSurrogate - 0xD800) << 10) + (code - 0xDC00));
    else
        Utf8::append(value, code);
    highSurrogate = 0;
}

// A value as QSettings reads it back: double quotes dropped, escapes undone,
// a ";" outside quotes the start of a comment, blanks around it dropped.
std::string iniValue(std::string_view raw) {
    raw = trimmed(raw);
    std::string value;
    std::size_t kept = 0; // up to the last character that counts
    char32_t highSurrogate = 0;
    bool quoted = false;
    for (std::size_t at = 0; at < raw.size();) {
        const char c = raw[at++];
        if (c == '"') {
            quoted = !quoted;
            continue;
        }
        if (c == ';' && !quoted) break;
        if (c == '\\' && at < raw.size()) {
            unescape(raw, at, value, highSurrogate);
        } else {
            value += c;
            if (!quoted && (c == ' ' || c == '\t')) continue;
        }
        kept = value.size();
    }
    value.resize(kept);
    return value;
}

std::vector<std::string> qtSettings(std::string_view text) {
    std::vector<std::string> paths;
    for (std::string_view line : linesOf(text)) {
        if (line.ends_with('\r')) line.remove_suffix(1);
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view key = trimmed(line.substr(0, equals));
        const std::size_t separator = key.find_last_of("\\/");
        if (key.substr(separator == std::string_view::npos ? 0 : separator + 1) != "localPath") continue;
        paths.push_back(iniValue(line.substr(equals + 1)));
    }
    return paths;
}

std::vector<std::string> onedrive(std::string_view text) {
    std::optional<std::string> folder;
    for (std::string_view line : linesOf(text)) {
        if (line.ends_with('\r')) line.remove_suffix(1);
        line = trimmed(line);
        const std::size_t equals = line.find('=');
        if (line.starts_with('#') || equals == std::string_view::npos || trimmed(line.substr(0, equals)) != "sync_dir")
            continue;
        std::string_view value = trimmed(line.substr(equals + 1));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
        folder = std::string(value); // the last one stands, as in the client
    }
    if (!folder) return {};
    return {*folder};
}

std::vector<std::string> syncthing(std::string_view text) {
    pugi::xml_document document;
    std::vector<std::string> paths;
    if (!document.load_buffer(text.data(), text.size(), pugi::parse_default)) return paths;
    for (const pugi::xml_node folder : document.child("configuration").children("folder"))
        if (const pugi::xml_attribute path = folder.attribute("path")) paths.emplace_back(path.value());
    return paths;
}

using Reader = std::vector<std::string> (*)(std::string_view text);

struct Client {
    std::string_view name;
    // Where its configurations live, relative to one of the places.
    std::vector<std::pair<std::string Places::*, std::string_view>> configurations;
    Reader read = nullptr;
    std::string_view usualFolder; // in the home; empty when there is none to assume
};

const std::vector<Client>& clients() {
    static const std::vector<Client> all{
        {"Dropbox", {{&Places::home, ".dropbox/info.json"}}, dropbox, "Dropbox"},
        {"Nextcloud", {{&Places::configHome, "Nextcloud/nextcloud.cfg"}}, qtSettings, "Nextcloud"},
        {"ownCloud", {{&Places::configHome, "ownCloud/owncloud.cfg"}}, qtSettings, "ownCloud"},
        {"OneDrive", {{&Places::configHome, "onedrive/config"}}, onedrive, "OneDrive"},
        {"Syncthing",
         {{&Places::stateHome, "syncthing/config.xml"}, {&Places::configHome, "syncthing/config.xml"}},
         syncthing,
         {}},
        {"MEGA", {}, nullptr, "MEGA"},
        {"Insync", {}, nullptr, "Insync"},
    };
    return all;
}

} // namespace

Places Places::of(const std::string& home) {
    return {home, Paths::xdgFolder("XDG_CONFIG_HOME", home, ".config"),
            Paths::xdgFolder("XDG_STATE_HOME", home, ".local/state")};
}

std::vector<Folder> find(const Places& places, const FileManager& files) {
    std::vector<Folder> found;
    auto add = [&](std::string_view raw, std::string_view client, bool configured) {
        std::optional<std::string> path = placed(raw, places.home);
        if (!path) return false;
        const bool known = std::any_of(found.begin(), found.end(), [&](const Folder& f) { return f.path == *path; });
        if (!known) found.push_back({std::move(*path), client, configured});
        return true;
    };
    for (const Client& client : clients()) {
        bool named = false;
        for (const auto& [place, relative] : client.configurations) {
            const std::optional<std::string> text = files.contents(Paths::join(places.*place, relative), largestConfiguration);
            if (!text) continue;
            for (const std::string& raw : client.read(*text)) named = add(raw, client.name, true) || named;
        }
        if (!named && !client.usualFolder.empty()) add(Paths::join(places.home, client.usualFolder), client.name, false);
    }
    return found;
}

} // namespace tessel::CloudFolders
