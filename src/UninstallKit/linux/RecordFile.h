#pragma once
// A file another program keeps about the user's doings (the desktop's lists
// of recent files and of apps in use): read whole, up to a limit, as any file
// of a folder we don't own. A file that is not there is no failure: most
// desktops keep only some of these.

#include <sys/stat.h>

#include <cerrno>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "Base/SmallFile.h"

namespace tessel {

// No text and no failure when `path` is not there.
inline SmallFileRead readRecordFile(const std::string& path, std::int64_t limit) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR)) return {};
    return readSmallFile(path, limit);
}

// What `parse` makes of the file's text, given the text and the path; a
// `Read` of no record with the failure when the file can't be read.
template <class Read, class Parse>
Read parseRecordFile(const std::string& path, std::int64_t limit, Parse&& parse) {
    SmallFileRead read = readRecordFile(path, limit);
    if (!read.text) return Read{std::nullopt, std::move(read.failure)};
    return parse(*read.text, path);
}

// Parses `xml` into `document`; the failure naming `file`, or empty.
inline std::string loadRecordXml(pugi::xml_document& document, std::string_view xml, const std::string& file) {
    const pugi::xml_parse_result parsed = document.load_buffer(xml.data(), xml.size());
    if (parsed) return {};
    return file + " is not readable XML: " + parsed.description() + " at byte " + std::to_string(parsed.offset);
}

} // namespace tessel
