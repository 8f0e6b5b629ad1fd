// Building a snapshot from a tree, and its JSON form.
//
// The walk keeps an explicit stack of (node, full path) and builds each path by
// joining its parent's with "/", so no entry walks up the tree for its path.
// Only folders at or above the floor are entered: nothing inside a smaller
// folder can reach the floor itself. On a disk of millions of files that
// leaves a few thousand entries.
//
// The JSON is an object with sorted keys. JSON text must be UTF-8 and a Linux
// name need not be, so a path that is not UTF-8 is written as base64 of its
// exact bytes, in keys of its own that a reader of the plain form passes over:
//
//   {"date":790000000,"entries":{"/d":120000000,"/d/a.bin":60000000},
//    "entriesBytes":{"L2QvYmFk/w==":60000000},"formatVersion":1,
//    "minimumBytes":10000000,"rootPath":"/d","totalBytes":120000000}
//
// holds "/d/bad\xff" beside "/d/a.bin". A root that is not UTF-8 is written
// repaired (bad bytes as U+FFFD) as "rootPath", with its bytes as
// "rootPathBytes". A snapshot whose names are all UTF-8 is written exactly as
// before these keys existed, and a file written before them reads as it did.
//
// Every number is checked against the type the parser gave it before it is
// converted: a size is a whole number from 0 to 2^63-1, a date lies in the
// range the clock can show. A file that breaks a rule is refused with a
// sentence saying which, never read as a date in 1677 or a size of -1.
//
// Listing snapshots reads everything but the entries: the parser is told to
// drop "entries" and "entriesBytes" as it meets them, and each entry is
// checked as it passes, so a broken one is found without building the table.

#include "DiskScanKit/ScanSnapshot.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/NameBytes.h"

namespace tessel {

namespace {

using Json = nlohmann::json;
using Event = Json::parse_event_t;

// 2001-01-01T00:00:00Z in seconds since 1970.
constexpr std::int64_t referenceEpoch = 978'307'200;

constexpr const char* dateOutOfRange = "Its date is not between 1970 and 2261.";
constexpr const char* versionBelowOne = "Its format version is below 1, which no build writes.";

std::string joined(const std::string& folder, std::string_view name) {
    std::string path = folder;
    if (!path.ends_with('/')) path += '/';
    path += name;
    return path;
}

[[noreturn]] void refuse(const std::string& reason) { throw SnapshotError(reason); }

// Why `value` is not a size: a whole number from 0 to the largest signed
// 64-bit one. The parser keeps a number without a minus sign as unsigned, so
// 2^64-1 arrives as one and get<int64_t>() would wrap it to -1; the range is
// checked on the type the parser chose, before anything is converted.
std::optional<std::string> sizeProblem(const Json& value, const std::string& subject) {
    if (value.is_number_unsigned()) {
        if (value.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return std::nullopt;
    } else if (value.is_number_integer()) {
        if (value.get<std::int64_t>() >= 0) return std::nullopt;
    } else {
        return subject + " is not a whole number.";
    }
    return subject + " is negative or too large.";
}

std::int64_t size(const Json& value, const std::string& subject) {
    if (std::optional<std::string> problem = sizeProblem(value, subject)) refuse(*problem);
    return value.is_number_unsigned() ? static_cast<std::int64_t>(value.get<std::uint64_t>()) : value.get<std::int64_t>();
}

std::int64_t sizeAt(const Json& object, const char* key, const std::string& what) {
    const auto found = object.find(key);
    if (found == object.end()) refuse("It has no " + what + ".");
    return size(*found, "Its " + what);
}

// How an entry's path stands in the file: itself, or its bytes in base64.
std::string writtenKey(const std::string& path) { return Utf8::isValid(path) ? path : Base64::encode(path); }

std::string entrySubject(std::string_view key) { return "The size of \"" + std::string(key) + "\""; }

std::string notBase64(std::string_view key) {
    return "The entry \"" + std::string(key) + "\" of its non-UTF-8 paths is not base64.";
}

bool isEntrySection(std::string_view key) { return key == "entries" || key == "entriesBytes"; }

std::string sectionNotAnObject(std::string_view key) {
    return key == "entries" ? "Its entries are not a JSON object." : "Its non-UTF-8 entries are not a JSON object.";
}

bool dateInRange(double date) { return date >= SnapshotJson::earliestDate && date < SnapshotJson::endOfDates; }

// The version alone, read before anything else, so that a newer format is told
// as such whatever else it holds.
std::int64_t versionOf(const Json& object) {
    const std::int64_t version = sizeAt(object, "formatVersion", "format version");
    if (version < 1) refuse(versionBelowOne);
    return version;
}

[[noreturn]] void tooNew(std::int64_t version) {
    throw SnapshotError("Snapshot format " + std::to_string(version) + " is newer than this build understands.");
}

SnapshotJson::Header headerOf(const Json& object, std::int64_t version) {
    SnapshotJson::Header header;
    header.formatVersion = version;
    const auto root = object.find("rootPath");
    if (root == object.end() || !root->is_string()) refuse("It names no root folder.");
    header.rootPath = root->get<std::string>();
    if (const auto bytes = object.find("rootPathBytes"); bytes != object.end()) {
        std::optional<std::string> exact = bytes->is_string() ? Base64::decode(bytes->get_ref<const std::string&>())
                                                              : std::nullopt;
        if (!exact) refuse("The bytes of its root folder are not base64.");
        header.rootPath = std::move(*exact);
    }
    const auto date = object.find("date");
    if (date == object.end() || !date->is_number()) refuse("It has no date.");
    header.date = date->get<double>();
    if (!dateInRange(header.date)) refuse(dateOutOfRange);
    header.totalBytes = sizeAt(object, "totalBytes", "total size");
    header.minimumBytes = sizeAt(object, "minimumBytes", "size floor");
    return header;
}

Json parsedObject(std::string_view text, const Json::parser_callback_t& callback = nullptr) {
    Json object = Json::parse(text, callback, false);
    if (object.is_discarded()) refuse("It is not valid JSON.");
    if (!object.is_object()) refuse("It is not a JSON object.");
    return object;
}

// Refuses what `decode` would refuse, before it is written.
void checkWritable(const ScanSnapshot& snapshot) {
    if (snapshot.formatVersion < 1) refuse(versionBelowOne);
    if (!dateInRange(snapshot.date)) refuse(dateOutOfRange);
    if (snapshot.totalBytes < 0) refuse("Its total size is negative or too large.");
    if (snapshot.minimumBytes < 0) refuse("Its size floor is negative or too large.");
    for (const auto& [path, bytes] : snapshot.entries)
        if (bytes < 0) refuse(entrySubject(writtenKey(path)) + " is negative or too large.");
}

} // namespace

double ReferenceDate::seconds(std::chrono::system_clock::time_point when) {
    const auto sinceEpoch = std::chrono::duration<double>(when.time_since_epoch()).count();
    return sinceEpoch - static_cast<double>(referenceEpoch);
}

std::chrono::system_clock::time_point ReferenceDate::timePoint(double seconds) {
    const auto sinceEpoch = std::chrono::duration<double>(seconds + static_cast<double>(referenceEpoch));
    return std::chrono::system_clock::time_point(
        std::chrono::round<std::chrono::system_clock::duration>(sinceEpoch));
}

ScanSnapshot ScanSnapshot::of(const FileNode& root, double date, std::int64_t minimumBytes) {
    ScanSnapshot snapshot;
    snapshot.rootPath = root.path();
    snapshot.date = date;
    snapshot.totalBytes = root.totalBytes();
    snapshot.minimumBytes = minimumBytes;
    snapshot.entries.emplace(snapshot.rootPath, root.totalBytes());
    if (root.totalBytes() < minimumBytes) return snapshot;

    std::vector<std::pair<const FileNode*, std::string>> stack{{&root, snapshot.rootPath}};
    while (!stack.empty()) {
        auto [node, path] = std::move(stack.back());
        stack.pop_back();
        for (const FileNode* child : node->children()) {
            if (child->totalBytes() < minimumBytes) continue;
            std::string childPath = joined(path, child->name());
            if (child->isDirectory()) stack.emplace_back(child, childPath);
            snapshot.entries.emplace(std::move(childPath), child->totalBytes());
        }
    }
    return snapshot;
}

std::string SnapshotJson::encode(const ScanSnapshot& snapshot) {
    checkWritable(snapshot);
    Json entries = Json::object();
    Json entriesBytes = Json::object();
    for (const auto& [path, bytes] : snapshot.entries) {
        if (Utf8::isValid(path)) entries[path] = bytes;
        else entriesBytes[Base64::encode(path)] = bytes;
    }
    Json object{{"formatVersion", snapshot.formatVersion}, {"rootPath", Utf8::repaired(snapshot.rootPath)},
                {"date", snapshot.date},                   {"totalBytes", snapshot.totalBytes},
                {"minimumBytes", snapshot.minimumBytes},   {"entries", std::move(entries)}};
    if (!Utf8::isValid(snapshot.rootPath)) object["rootPathBytes"] = Base64::encode(snapshot.rootPath);
    if (!entriesBytes.empty()) object["entriesBytes"] = std::move(entriesBytes);
    // Every string is UTF-8 by now, so the strict dump can't throw.
    return object.dump();
}

ScanSnapshot SnapshotJson::decode(std::string_view text) {
    const Json object = parsedObject(text);
    const std::int64_t version = versionOf(object);
    if (version > ScanSnapshot::currentFormatVersion) tooNew(version);
    Header header = headerOf(object, version);

    ScanSnapshot snapshot;
    snapshot.formatVersion = static_cast<int>(version);
    snapshot.rootPath = std::move(header.rootPath);
    snapshot.date = header.date;
    snapshot.totalBytes = header.totalBytes;
    snapshot.minimumBytes = header.minimumBytes;

    const auto entries = object.find("entries");
    if (entries == object.end()) refuse("It has no entries.");
    if (!entries->is_object()) refuse(sectionNotAnObject("entries"));
    const auto exact = object.find("entriesBytes");
    if (exact != object.end() && !exact->is_object()) refuse(sectionNotAnObject("entriesBytes"));
    snapshot.entries.reserve(entries->size() + (exact != object.end() ? exact->size() : 0));
    for (const auto& [path, bytes] : entries->items()) snapshot.entries.emplace(path, size(bytes, entrySubject(path)));
    if (exact == object.end()) return snapshot;
    for (const auto& [key, bytes] : exact->items()) {
        std::optional<std::string> path = Base64::decode(key);
        if (!path) refuse(notBase64(key));
        const std::int64_t value = size(bytes, entrySubject(key));
        if (!snapshot.entries.emplace(std::move(*path), value).second)
            refuse("It lists the path of \"" + key + "\" twice.");
    }
    return snapshot;
}

SnapshotJson::Header SnapshotJson::decodeHeader(std::string_view text) {
    // The parser drops both entry sections as it meets their keys, and hands
    // each entry to this check on its way past.
    std::string section;
    std::string key;
    bool sawEntries = false;
    std::optional<std::string> problem;
    const auto note = [&problem](std::string reason) {
        if (!problem) problem = std::move(reason);
    };
    const Json::parser_callback_t checkEntries = [&](int depth, Event event, Json& parsed) {
        if (depth == 0) return true;
        if (depth == 1 && event == Event::key) {
            section = parsed.get<std::string>();
            sawEntries = sawEntries || section == "entries";
            return !isEntrySection(section);
        }
        if (!isEntrySection(section)) return true;
        if (depth == 1) {
            if (event != Event::object_start) note(sectionNotAnObject(section));
            return event == Event::object_start;
        }
        if (depth > 2) return false;
        if (event == Event::key) {
            key = parsed.get<std::string>();
            if (section == "entriesBytes" && !Base64::decode(key)) note(notBase64(key));
        } else if (event == Event::value) {
            if (std::optional<std::string> wrong = sizeProblem(parsed, entrySubject(key))) note(std::move(*wrong));
        } else if (event == Event::object_start || event == Event::array_start) {
            note(entrySubject(key) + " is not a whole number.");
            return false;
        }
        return true;
    };
    const Json object = parsedObject(text, checkEntries);
    const std::int64_t version = versionOf(object);
    if (version > ScanSnapshot::currentFormatVersion) {
        // Listed, so that loading it can say why it can't be compared.
        try {
            return headerOf(object, version);
        } catch (const SnapshotError&) {
            tooNew(version);
        }
    }
    Header header = headerOf(object, version);
    if (!sawEntries) refuse("It has no entries.");
    if (problem) refuse(*problem);
    return header;
}

int SnapshotPaths::depth(std::string_view path) {
    int slashes = 0;
    for (const char c : path) slashes += c == '/' ? 1 : 0;
    return slashes;
}

std::optional<std::string> SnapshotPaths::parent(std::string_view path) {
    if (path == "/") return std::nullopt;
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return std::nullopt;
    if (slash == 0) return std::string("/");
    return std::string(path.substr(0, slash));
}

} // namespace tessel
