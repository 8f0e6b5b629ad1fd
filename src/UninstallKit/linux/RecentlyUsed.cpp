// Reading the desktop's list of recently used files.
//
// GLib keeps it as XBEL: one <bookmark> per file, with its URL and when it
// was added, changed and visited, and inside its metadata one record per
// application that opened it, with the application's name, the command it
// gave, when it last opened the file and how often:
//
//   <bookmark href="file:///home/me/notes.txt" modified="2025-03-04T10:11:12Z" visited="...">
//     <info><metadata owner="http://freedesktop.org">
//       <bookmark:applications>
//         <bookmark:application name="Text Editor" exec="'gnome-text-editor %u'"
//                               modified="2025-03-04T10:11:12Z" count="3"/>
//
// "bookmark" is a namespace prefix. GLib always writes that one, but another
// writer may choose its own, so elements are known by the part after the colon.
//
// The file lives in the user's data folder, where anything may stand in its
// place: it is read whole, past a size limit it is refused, and XML that
// does not parse is reported, never half used.

#include "UninstallKit/RecentlyUsed.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <pugixml.hpp>

#include "DiskScanKit/Paths.h"
#include "RecordFile.h"

namespace tessel::RecentlyUsed {

namespace {

std::string_view localName(const char* name) {
    const std::string_view whole = name;
    const std::size_t colon = whole.rfind(':');
    return colon == std::string_view::npos ? whole : whole.substr(colon + 1);
}

void readApplications(pugi::xml_node metadata, RecentlyUsedList& list) {
    for (pugi::xml_node applications : metadata.children()) {
        if (localName(applications.name()) != "applications") continue;
        for (pugi::xml_node application : applications.children()) {
            if (localName(application.name()) != "application") continue;
            const std::optional<std::int64_t> modified = isoSeconds(application.attribute("modified").value());
            if (!modified) continue;
            list.applications.push_back({application.attribute("name").value(), application.attribute("exec").value(), *modified});
        }
    }
}

} // namespace

std::optional<std::int64_t> isoSeconds(std::string_view text) {
    std::tm parts{};
    if (text.size() < 19 || std::sscanf(std::string(text.substr(0, 19)).c_str(), "%4d-%2d-%2dT%2d:%2d:%2d", &parts.tm_year,
                                        &parts.tm_mon, &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec) != 6)
        return std::nullopt;
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return static_cast<std::int64_t>(timegm(&parts));
}

RecentlyUsedRead parse(std::string_view xml, const std::string& file) {
    pugi::xml_document document;
    if (std::string failure = loadRecordXml(document, xml, file); !failure.empty()) return {std::nullopt, std::move(failure)};
    const pugi::xml_node root = document.child("xbel");
    if (!root) return {std::nullopt, file + " is not a list of bookmarks: it has no <xbel> element"};
    RecentlyUsedList list;
    for (pugi::xml_node bookmark : root.children("bookmark")) {
        for (pugi::xml_node info : bookmark.children("info"))
            for (pugi::xml_node metadata : info.children("metadata")) readApplications(metadata, list);
        const std::string path = Paths::fromFileUrl(bookmark.attribute("href").value());
        if (path.empty()) continue;
        std::optional<std::int64_t> when = isoSeconds(bookmark.attribute("visited").value());
        if (const std::optional<std::int64_t> modified = isoSeconds(bookmark.attribute("modified").value()))
            when = std::max(when.value_or(0), *modified);
        if (when) list.files[path] = std::max(list.files[path], *when);
    }
    return {std::move(list), {}};
}

RecentlyUsedRead read(const std::string& dataHome) {
    return parseRecordFile<RecentlyUsedRead>(dataHome + "/recently-used.xbel", sizeLimit, parse);
}

} // namespace tessel::RecentlyUsed
