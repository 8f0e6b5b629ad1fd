// Building a snapshot from a tree, and its JSON form.
//
// The walk keeps an explicit stack of (node, full path) and builds each path by
// joining its parent's with "/", so no entry walks up the tree for its path.
// Only folders at or above the floor are entered: nothing inside a smaller
// folder can reach the floor itself. On a disk of millions of files that
// leaves a few thousand entries.
//
// The JSON is an object with sorted keys. Listing snapshots reads only the
// first four keys: the parser is told to drop "entries" as it meets it, so the
// largest part of the file is scanned but never built.

#include "DiskScanKit/ScanSnapshot.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "DiskScanKit/FileNode.h"

namespace tessel {

namespace {

using Json = nlohmann::json;

// 2001-01-01T00:00:00Z in seconds since 1970.
constexpr std::int64_t referenceEpoch = 978'307'200;

std::string joined(const std::string& folder, std::string_view name) {
    std::string path = folder;
    if (!path.ends_with('/')) path += '/';
    path += name;
    return path;
}

template <typename T>
std::optional<T> integerAt(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number_integer()) return std::nullopt;
    return found->get<T>();
}

std::optional<double> numberAt(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number()) return std::nullopt;
    return found->get<double>();
}

std::optional<std::string> stringAt(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

[[noreturn]] void notASnapshot(const std::string& why) { throw SnapshotError("The file is not a snapshot: " + why + "."); }

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
    Json entries = Json::object();
    for (const auto& [path, bytes] : snapshot.entries) entries[path] = bytes;
    const Json object{{"formatVersion", snapshot.formatVersion}, {"rootPath", snapshot.rootPath},
                      {"date", snapshot.date},                   {"totalBytes", snapshot.totalBytes},
                      {"minimumBytes", snapshot.minimumBytes},   {"entries", std::move(entries)}};
    // A file name need not be UTF-8; JSON must be. The replacement keeps the
    // same name the same in every snapshot, which is all a comparison needs.
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

ScanSnapshot SnapshotJson::decode(std::string_view text) {
    const Json object = Json::parse(text, nullptr, false);
    if (object.is_discarded()) notASnapshot("it is not valid JSON");
    if (!object.is_object()) notASnapshot("it is not a JSON object");
    const std::optional<std::int64_t> version = integerAt<std::int64_t>(object, "formatVersion");
    if (!version) notASnapshot("it has no format version");
    if (*version > ScanSnapshot::currentFormatVersion)
        throw SnapshotError("Snapshot format " + std::to_string(*version) + " is newer than this build understands.");

    ScanSnapshot snapshot;
    snapshot.formatVersion = static_cast<int>(*version);
    std::optional<std::string> rootPath = stringAt(object, "rootPath");
    const std::optional<double> date = numberAt(object, "date");
    const std::optional<std::int64_t> total = integerAt<std::int64_t>(object, "totalBytes");
    const std::optional<std::int64_t> minimum = integerAt<std::int64_t>(object, "minimumBytes");
    if (!rootPath || !date || !total || !minimum) notASnapshot("a key is missing or of the wrong type");
    snapshot.rootPath = std::move(*rootPath);
    snapshot.date = *date;
    snapshot.totalBytes = *total;
    snapshot.minimumBytes = *minimum;

    const auto entries = object.find("entries");
    if (entries == object.end() || !entries->is_object()) notASnapshot("it has no entries");
    snapshot.entries.reserve(entries->size());
    for (const auto& [path, bytes] : entries->items()) {
        if (!bytes.is_number_integer()) notASnapshot("the size of " + path + " is not a whole number");
        snapshot.entries.emplace(path, bytes.get<std::int64_t>());
    }
    return snapshot;
}

std::optional<SnapshotJson::Header> SnapshotJson::decodeHeader(std::string_view text) {
    const Json::parser_callback_t skipEntries = [](int depth, Json::parse_event_t event, Json& parsed) {
        return !(depth == 1 && event == Json::parse_event_t::key && parsed == "entries");
    };
    const Json object = Json::parse(text, skipEntries, false);
    if (object.is_discarded() || !object.is_object()) return std::nullopt;
    const std::optional<std::int64_t> version = integerAt<std::int64_t>(object, "formatVersion");
    std::optional<std::string> rootPath = stringAt(object, "rootPath");
    const std::optional<double> date = numberAt(object, "date");
    const std::optional<std::int64_t> total = integerAt<std::int64_t>(object, "totalBytes");
    if (!version || !rootPath || !date || !total || !std::isfinite(*date)) return std::nullopt;
    return Header{*version, std::move(*rootPath), *date, *total};
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
