// The small pieces of text that every report is made of: paths, dates, shares
// and counts. Each is written here once, so the spreadsheet, the page and the
// clipboard can't disagree about how a share or a date reads.
//
// Dates. A report carries the moment of its scan twice over: for machines as
// ISO 8601 with the local offset ("2026-11-21T21:40:12+01:00"; a zone at UTC
// writes "+00:00", never "Z", so every row has the same shape), and for people
// as day, short English month, year and 24-hour time ("21 Nov 2026, 21:40").
// The month names are spelt out here rather than taken from strftime's %b,
// which follows whatever locale the process has set, and every other word of
// a report is English.

#include "DiskScanKit/ScanReport.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "DiskScanKit/FileNode.h"
#include "ReportPieces.h"

namespace tessel::ScanReport {

namespace {

std::tm localTime(TimePoint when) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(when);
    std::tm local{};
    localtime_r(&seconds, &local);
    return local;
}

} // namespace

std::string fullPath(const FileNode& node) {
    std::vector<std::string_view> names;
    for (const FileNode* n = &node; n != nullptr; n = n->parent()) names.push_back(n->name());
    std::string path;
    for (auto it = names.rbegin(); it != names.rend(); ++it) {
        if (it != names.rbegin()) path += '/';
        path += *it;
    }
    if (!path.starts_with('/')) path.insert(path.begin(), '/');
    return path;
}

std::string rootName(const FileNode& root) { return root.name().empty() ? "/" : std::string(root.name()); }

std::string isoDate(TimePoint when) {
    const std::tm local = localTime(when);
    const long offsetMinutes = local.tm_gmtoff / 60;
    const long absolute = offsetMinutes < 0 ? -offsetMinutes : offsetMinutes;
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d%c%02ld:%02ld", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  offsetMinutes < 0 ? '-' : '+', absolute / 60, absolute % 60);
    return text;
}

std::string readableDate(TimePoint when) {
    static constexpr std::array<const char*, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::tm local = localTime(when);
    char text[64];
    std::snprintf(text, sizeof text, "%d %s %d, %02d:%02d", local.tm_mday,
                  months[static_cast<std::size_t>(local.tm_mon)], local.tm_year + 1900, local.tm_hour,
                  local.tm_min);
    return text;
}

double shareOf(const FileNode& node, const FileNode& root) {
    if (root.totalBytes() == 0) return 0;
    return static_cast<double>(node.totalBytes()) / static_cast<double>(root.totalBytes()) * 100;
}

PathParts splitPath(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return {"", std::string(path)};
    return {std::string(path.substr(0, slash + 1)), std::string(path.substr(slash + 1))};
}

bool appendControlPicture(std::string& out, unsigned char byte) {
    if (byte >= 0x20 && byte != 0x7F) return false;
    // U+2400 + code, in UTF-8: E2 90 80+code; DEL's picture U+2421 is E2 90 A1.
    const unsigned char last = byte == 0x7F ? 0xA1 : static_cast<unsigned char>(0x80 + byte);
    out += '\xE2';
    out += '\x90';
    out += static_cast<char>(last);
    return true;
}

std::string withControlPictures(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text)
        if (!appendControlPicture(out, static_cast<unsigned char>(c))) out += c;
    return out;
}

} // namespace tessel::ScanReport
