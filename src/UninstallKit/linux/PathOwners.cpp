// Building the path index. Each package's file list is read whole and cut
// into lines that stay in the lists' own buffers; every line becomes a pair
// of its path and the package's number. Only a path that a merged /usr
// folder or a diversion moves needs a string of its own. The pairs are
// sorted by path, then by package number, so that equal paths sit side by
// side with their owners in the database's order; one pass then lays the
// paths end to end in one buffer and gives each a range of owners.
//
// A diversion moves the file every package but the diverting one lists at
// `from` to `to`; the diverting package's own file stays at `from`. A
// diversion by the administrator (":") moves every package's file, as no
// package is named ":".
//
// The index holds only numbers and one buffer of text, so its copy on disk
// is those arrays as they are, loaded with a few copies and checked for
// bounds and order before use: a damaged copy is refused, never trusted.

#include "UninstallKit/PathOwners.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <unordered_map>

#include "Base/Lines.h"
#include "UninstallKit/DpkgDatabase.h"

namespace tessel {

namespace {

constexpr std::string_view cacheMagic = "TesselPathOwners1\n";

std::string trimmedRoot(std::string_view root) {
    std::string folder(root);
    while (!folder.empty() && folder.back() == '/') folder.pop_back();
    return folder;
}

std::string timeAndSize(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return "none";
    return std::to_string(info.st_mtim.tv_sec) + "." + std::to_string(info.st_mtim.tv_nsec) + "/" +
           std::to_string(info.st_size) + "/" + std::to_string(info.st_ino);
}

template <typename T>
void append(std::string& out, const T& value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <typename T>
void appendArray(std::string& out, const std::vector<T>& values) {
    append(out, static_cast<std::uint64_t>(values.size()));
    out.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
}

// Reads from a byte range, failing rather than passing its end.
class Reader {
public:
    explicit Reader(std::string_view bytes) : bytes_(bytes) {}
    template <typename T>
    bool read(T& value) {
        if (bytes_.size() < sizeof value) return false;
        std::memcpy(&value, bytes_.data(), sizeof value);
        bytes_.remove_prefix(sizeof value);
        return true;
    }
    template <typename T>
    bool readArray(std::vector<T>& values) {
        std::uint64_t count = 0;
        if (!read(count) || count > bytes_.size() / sizeof(T)) return false;
        values.resize(count);
        // An empty vector's data() may be null, which memcpy must not be given even for nothing.
        if (count > 0) std::memcpy(values.data(), bytes_.data(), count * sizeof(T));
        bytes_.remove_prefix(count * sizeof(T));
        return true;
    }
    bool readText(std::string& text) {
        std::uint64_t length = 0;
        if (!read(length) || length > bytes_.size()) return false;
        text.assign(bytes_.substr(0, length));
        bytes_.remove_prefix(length);
        return true;
    }
    bool atEnd() const { return bytes_.empty(); }

private:
    std::string_view bytes_;
};

} // namespace

std::vector<std::string> mergedUsrFolders(const std::string& root) {
    std::vector<std::string> merged;
    for (const char* name : {"bin", "sbin", "lib", "lib32", "lib64", "libx32"}) {
        char target[256];
        const ssize_t length = readlink((trimmedRoot(root) + "/" + name).c_str(), target, sizeof target);
        if (length <= 0) continue;
        const std::string_view link(target, static_cast<std::size_t>(length));
        if (link == std::string("usr/") + name || link == std::string("/usr/") + name) merged.emplace_back(name);
    }
    return merged;
}

std::string PathOwners::canonical(std::string_view path) const {
    if (path == "/.") return "/";
    for (const std::string& folder : mergedFolders_) {
        if (path.size() > folder.size() + 1 && path[0] == '/' && path.substr(1, folder.size()) == folder &&
            path[folder.size() + 1] == '/')
            return "/usr" + std::string(path);
    }
    return std::string(path);
}

PathOwners PathOwners::build(const std::string& root) {
    const std::string admin = dpkgAdminFolder(root);
    DpkgDatabase::checkFormat(admin);
    const std::vector<DpkgPackage> packages = DpkgDatabase::readStatus(admin);
    const std::vector<DpkgDiversion> diversions = DpkgDatabase::readDiversions(admin);

    PathOwners index;
    index.mergedFolders_ = mergedUsrFolders(root);

    std::vector<std::string> lists;
    std::vector<std::pair<std::string_view, std::uint32_t>> pairs;
    std::deque<std::string> moved; // paths that needed rewriting; a deque keeps them in place
    lists.reserve(packages.size());
    pairs.reserve(packages.size() * 48);
    for (const DpkgPackage& package : packages) {
        if (!package.hasFiles()) continue;
        std::optional<std::string> list = DpkgDatabase::readFileList(admin, package);
        if (!list) continue;
        const auto number = static_cast<std::uint32_t>(index.packages_.size());
        index.packages_.push_back(package.listName());
        lists.push_back(std::move(*list));
        forEachLine(lists.back(), [&](std::string_view path) {
            if (path.empty() || path.front() != '/') return;
            std::string rewritten = index.canonical(path);
            if (rewritten != path) pairs.emplace_back(moved.emplace_back(std::move(rewritten)), number);
            else pairs.emplace_back(path, number);
        });
    }

    for (const DpkgDiversion& diversion : diversions)
        index.diversions_.push_back({index.canonical(diversion.from), index.canonical(diversion.to), diversion.divertedBy});
    std::sort(index.diversions_.begin(), index.diversions_.end(),
              [](const Diversion& a, const Diversion& b) { return a.from < b.from; });
    if (!index.diversions_.empty()) {
        for (auto& [path, number] : pairs) {
            const Diversion* diversion = index.diversionAt(path);
            if (diversion && !isDivertedBy(*diversion, index.packages_[number]))
                path = moved.emplace_back(diversion->to);
        }
    }

    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i)
        if (i == 0 || pairs[i].first != pairs[i - 1].first) bytes += pairs[i].first.size();
    index.paths_.reserve(bytes);
    index.owners_.reserve(pairs.size());
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (i == 0 || pairs[i].first != pairs[i - 1].first) {
            index.entries_.push_back({static_cast<std::uint32_t>(index.paths_.size()),
                                      static_cast<std::uint32_t>(pairs[i].first.size()),
                                      static_cast<std::uint32_t>(index.owners_.size()), 0});
            index.paths_.append(pairs[i].first);
        }
        index.owners_.push_back(pairs[i].second);
        ++index.entries_.back().ownerCount;
    }
    return index;
}

// A diversion names its package without the architecture that the index
// adds to a Multi-Arch "same" package.
bool PathOwners::isDivertedBy(const Diversion& diversion, std::string_view package) {
    return package == diversion.divertedBy || package.substr(0, package.find(':')) == diversion.divertedBy;
}

const PathOwners::Diversion* PathOwners::diversionAt(std::string_view canonicalPath) const {
    const auto found = std::lower_bound(diversions_.begin(), diversions_.end(), canonicalPath,
                                        [](const Diversion& each, std::string_view wanted) { return each.from < wanted; });
    return found != diversions_.end() && found->from == canonicalPath ? &*found : nullptr;
}

std::string PathOwners::placeOf(std::string_view listed, std::string_view package) const {
    std::string path = canonical(listed);
    if (const Diversion* diversion = diversionAt(path); diversion && !isDivertedBy(*diversion, package)) return diversion->to;
    return path;
}

std::vector<std::string_view> PathOwners::owners(std::string_view path) const {
    const std::string key = canonical(path);
    const auto found = std::lower_bound(entries_.begin(), entries_.end(), key,
                                        [this](const Entry& entry, const std::string& wanted) { return pathOf(entry) < wanted; });
    if (found == entries_.end() || pathOf(*found) != key) return {};
    std::vector<std::string_view> names;
    for (std::uint32_t i = 0; i < found->ownerCount; ++i) names.push_back(packages_[owners_[found->firstOwner + i]]);
    return names;
}

std::string PathOwners::stamp(const std::string& root) {
    const std::string admin = dpkgAdminFolder(root);
    std::string text = "root " + trimmedRoot(root) + "\nstatus " + timeAndSize(admin + "/status") + "\ninfo " +
                       timeAndSize(admin + "/info") + "\ndiversions " + timeAndSize(admin + "/diversions") + "\nmerged";
    for (const std::string& folder : mergedUsrFolders(root)) text += " " + folder;
    return text;
}

std::string PathOwners::serialized(const std::string& stamp) const {
    std::string out(cacheMagic);
    append(out, static_cast<std::uint64_t>(stamp.size()));
    out += stamp;
    append(out, static_cast<std::uint64_t>(packages_.size()));
    for (const std::string& name : packages_) {
        append(out, static_cast<std::uint64_t>(name.size()));
        out += name;
    }
    append(out, static_cast<std::uint64_t>(mergedFolders_.size()));
    for (const std::string& folder : mergedFolders_) {
        append(out, static_cast<std::uint64_t>(folder.size()));
        out += folder;
    }
    append(out, static_cast<std::uint64_t>(diversions_.size()));
    for (const Diversion& diversion : diversions_)
        for (const std::string* text : {&diversion.from, &diversion.to, &diversion.divertedBy}) {
            append(out, static_cast<std::uint64_t>(text->size()));
            out += *text;
        }
    append(out, static_cast<std::uint64_t>(paths_.size()));
    out += paths_;
    appendArray(out, entries_);
    appendArray(out, owners_);
    return out;
}

std::optional<PathOwners> PathOwners::deserialized(std::string_view bytes, const std::string& stamp) {
    if (!bytes.starts_with(cacheMagic)) return std::nullopt;
    Reader reader(bytes.substr(cacheMagic.size()));
    std::string seenStamp;
    if (!reader.readText(seenStamp) || seenStamp != stamp) return std::nullopt;
    PathOwners index;
    std::uint64_t count = 0;
    if (!reader.read(count) || count > bytes.size()) return std::nullopt;
    index.packages_.resize(count);
    for (std::string& name : index.packages_)
        if (!reader.readText(name)) return std::nullopt;
    if (!reader.read(count) || count > 6) return std::nullopt;
    index.mergedFolders_.resize(count);
    for (std::string& folder : index.mergedFolders_)
        if (!reader.readText(folder)) return std::nullopt;
    if (!reader.read(count) || count > bytes.size()) return std::nullopt;
    index.diversions_.resize(count);
    for (Diversion& diversion : index.diversions_)
        if (!reader.readText(diversion.from) || !reader.readText(diversion.to) || !reader.readText(diversion.divertedBy))
            return std::nullopt;
    if (!reader.readText(index.paths_) || !reader.readArray(index.entries_) || !reader.readArray(index.owners_) ||
        !reader.atEnd())
        return std::nullopt;
    // Every range inside its array, and the paths in order, or the copy is damaged.
    for (std::size_t i = 0; i < index.entries_.size(); ++i) {
        const Entry& entry = index.entries_[i];
        if (std::uint64_t{entry.offset} + entry.length > index.paths_.size() || entry.ownerCount == 0 ||
            std::uint64_t{entry.firstOwner} + entry.ownerCount > index.owners_.size())
            return std::nullopt;
        if (i > 0 && !(index.pathOf(index.entries_[i - 1]) < index.pathOf(entry))) return std::nullopt;
    }
    for (std::uint32_t owner : index.owners_)
        if (owner >= index.packages_.size()) return std::nullopt;
    index.fromCache_ = true;
    return index;
}

} // namespace tessel
