// Lenses over the tree.
//
// Apps: a walk that stops at every application and never enters the system's
// own areas, so "/" shows the apps a person installed, not libraries.
//
// Folders: a best-first split. Start from the folders directly below the
// focus; while fewer than `target` stand, replace the largest that has
// subfolders by those subfolders (its loose files stay behind, unshown). So
// with a target of 4 and
//
//     /a (90: /a/x 60, /a/y 30)   /b (50)   /c (10)
//
// the first round splits /a, giving /a/x 60, /b 50, /a/y 30, /c 10: the four
// biggest places, none inside another.
//
// Types: one pass over every file node, summing by kind; a package counts as
// its bundle's kind (a photo library is images) and is not entered.
//
// Search: one pass over every node with NameMatcher, the rule the Search room
// uses too. Each match is counted, offered to a bounded LargestNodes, and
// marks the folders above it as holders, climbing only until it meets a
// folder already marked, so the marking costs one step per folder in all.
// Holders are folders only: whether a file lights is asked of its name when
// it is drawn, which keeps the set as small as the tree's folders however
// many files match. With "tax" over
//
//     /r   a/ (tax.pdf, b/ (Taxes/ (x)))   c/ (notes)
//
// the matches are tax.pdf and Taxes, the holders /r, a, b and Taxes, and c is
// dimmed. Taxes is not inside tax.pdf, so both add to the bytes; had a folder
// "tax" held tax.pdf, the file's bytes would be counted once, in the folder's.

#include "TreemapLayout/MapLens.h"

#include <algorithm>
#include <array>
#include <map>
#include <queue>
#include <set>
#include <string>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/LargestNodes.h"
#include "DiskScanKit/Paths.h"

namespace tessel::MapLens {

namespace {

bool endsWith(std::string_view text, std::string_view ending) {
    return text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
}

void largestFirst(std::vector<MapItem>& items) {
    std::stable_sort(items.begin(), items.end(), [](const MapItem& a, const MapItem& b) { return a.bytes > b.bytes; });
}

} // namespace

bool isNotForApps(std::string_view name) {
    static constexpr std::array<std::string_view, 9> names{"Library", "System", "private", "usr", "opt",
                                                           "cores", ".Trash", "node_modules", "Caches"};
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isApplication(const FileNode& node, Platform platform) {
    const std::string_view name = node.name();
    if (node.isDirectory() && endsWith(name, ".app")) return true;
    if (platform != Platform::linuxOS) return false;
    if (!node.isDirectory()) return endsWith(name, ".AppImage");
    // Flatpak keeps each app in .../flatpak/app/<id>; snapd keeps each snap in /snap/<name>.
    // By path, not by the names above: a scan's root is named by its whole path,
    // so a scan of /snap itself has no folder called "snap".
    const FileNode* parent = node.parent();
    if (parent == nullptr) return false;
    const std::string_view above = Paths::lastComponent(parent->name());
    if (above != "app" && above != "snap") return false;
    const std::string folder = parent->path();
    return folder == "/snap" || endsWith(folder, "/flatpak/app");
}

std::vector<MapItem> apps(FileNode* root, Platform platform, const std::vector<KnownApp>& known) {
    std::vector<MapItem> found;
    // Known apps first: where one's home is also found by its place, it keeps its name.
    std::set<const FileNode*> taken;
    for (const KnownApp& app : known) {
        std::vector<FileNode*> homes;
        std::int64_t bytes = 0;
        for (const std::string& home : app.homes)
            if (FileNode* node = FileNode::atPath(*root, home);
                node != nullptr && node != root && node->totalBytes() > 0 && !taken.contains(node)) {
                homes.push_back(node);
                bytes += node->totalBytes();
            }
        if (homes.empty()) continue;
        taken.insert(homes.begin(), homes.end());
        MapItem item;
        if (homes.size() == 1) {
            item = MapItem::fromNode(homes.front());
        } else {
            // Spread over several places: the app stands for them all, and opening it shows them.
            item.id = "$app/" + app.name;
            item.bytes = bytes;
            item.memberNodes = std::move(homes);
        }
        item.kind = MapItem::Kind::app();
        item.name = app.name;
        found.push_back(std::move(item));
    }
    std::vector<FileNode*> stack{root};
    while (!stack.empty()) {
        FileNode* node = stack.back();
        stack.pop_back();
        for (FileNode* child : node->children()) {
            if (child->totalBytes() <= 0) continue;
            if (taken.contains(child)) continue;
            if (isApplication(*child, platform)) {
                MapItem item = MapItem::fromNode(child);
                item.kind = MapItem::Kind::app();
                found.push_back(std::move(item));
            } else if (child->isDirectory() && !isNotForApps(child->name())) {
                stack.push_back(child);
            }
        }
    }
    largestFirst(found);
    return found;
}

std::vector<MapItem> folders(FileNode* root, int target) {
    auto smaller = [](const FileNode* a, const FileNode* b) { return a->totalBytes() < b->totalBytes(); };
    std::priority_queue<FileNode*, std::vector<FileNode*>, decltype(smaller)> splittable(smaller);
    std::vector<FileNode*> standing;
    auto place = [&](FileNode* folder) {
        for (FileNode* child : folder->children()) {
            if (!child->isDirectory() || child->totalBytes() <= 0) continue;
            bool hasSubfolders = std::any_of(child->children().begin(), child->children().end(),
                                             [](const FileNode* grandchild) {
                                                 // An empty subfolder is never placed, so splitting
                                                 // for it alone would drop the folder altogether.
                                                 return grandchild->isDirectory() && grandchild->totalBytes() > 0;
                                             });
            (hasSubfolders ? splittable.push(child) : standing.push_back(child));
        }
    };
    place(root);
    while (!splittable.empty() &&
           static_cast<int>(splittable.size() + standing.size()) < target) {
        FileNode* largest = splittable.top();
        // Splitting a folder that is smaller than one already standing would hide a bigger place.
        auto biggestStanding = std::max_element(standing.begin(), standing.end(), smaller);
        if (biggestStanding != standing.end() && (*biggestStanding)->totalBytes() > largest->totalBytes()) break;
        splittable.pop();
        place(largest);
    }
    while (!splittable.empty()) {
        standing.push_back(splittable.top());
        splittable.pop();
    }
    std::vector<MapItem> items;
    items.reserve(standing.size());
    for (FileNode* folder : standing) items.push_back(MapItem::fromNode(folder));
    largestFirst(items);
    if (static_cast<int>(items.size()) > target && target > 0) {
        std::vector<MapItem> rest(std::make_move_iterator(items.begin() + target), std::make_move_iterator(items.end()));
        items.resize(static_cast<std::size_t>(target));
        items.push_back(MapItem::more(std::move(rest)));
    }
    return items;
}

std::vector<MapItem> types(FileNode* root) {
    struct Bucket {
        std::int64_t bytes = 0;
        std::vector<FileNode*> members;
    };
    std::map<FileKind, Bucket> buckets;
    std::int64_t smallBytes = root->aggregatedFileBytes();
    std::int64_t smallCount = root->aggregatedFileCount();
    std::vector<FileNode*> stack{root};
    while (!stack.empty()) {
        FileNode* node = stack.back();
        stack.pop_back();
        for (FileNode* child : node->children()) {
            if (child->totalBytes() <= 0) continue;
            std::optional<FileKind> kind;
            if (!child->isDirectory()) kind = FileKinds::of(child->name());
            else if (std::optional<FileKind> bundle = FileKinds::bundle(child->name())) kind = bundle;
            if (kind) {
                Bucket& bucket = buckets[*kind];
                bucket.bytes = checkedAdd(bucket.bytes, child->totalBytes());
                bucket.members.push_back(child);
                continue;
            }
            smallBytes = checkedAdd(smallBytes, child->aggregatedFileBytes());
            smallCount += child->aggregatedFileCount();
            stack.push_back(child);
        }
    }
    std::vector<MapItem> items;
    for (auto& [kind, bucket] : buckets) items.push_back(MapItem::group(std::move(bucket.members), kind, bucket.bytes, root));
    if (smallBytes > 0) {
        MapItem small;
        small.id = root->path() + "/$small-all";
        small.container = root;
        small.bytes = smallBytes;
        small.kind = MapItem::Kind::smallFiles(smallCount);
        small.name = smallCount == 1 ? std::string("1 smaller file") : std::to_string(smallCount) + " smaller files";
        items.push_back(std::move(small));
    }
    largestFirst(items);
    return items;
}

bool Found::lights(const FileNode& node) const {
    if (node.isDirectory()) return holders.contains(&node);
    return !node.name().empty() && node.totalBytes() > 0 && matcher.matches(node.name());
}

bool Found::lights(const MapItem& item) const {
    using Tag = MapItem::Kind::Tag;
    if (item.node != nullptr) return lights(*item.node);
    if (item.gathers())
        return std::any_of(item.memberNodes.begin(), item.memberNodes.end(),
                           [this](const FileNode* member) { return lights(*member); });
    if (item.kind.tag == Tag::more)
        return std::any_of(item.memberItems.begin(), item.memberItems.end(),
                           [this](const MapItem& member) { return lights(member); });
    return false;
}

std::optional<Found> search(FileNode* root, const NameMatcher& matcher, int limit,
                            const std::function<bool()>& isCancelled) {
    constexpr int nodesBetweenChecks = 4096;
    Found found;
    found.matcher = matcher;
    LargestNodes largest(limit);
    std::string folded;
    struct Step {
        FileNode* node;
        int depth;
        bool insideMatch;
    };
    std::vector<Step> stack;
    for (FileNode* child : root->children()) stack.push_back({child, 1, false});
    int sinceCheck = 0;
    while (!stack.empty()) {
        if (++sinceCheck == nodesBetweenChecks) {
            sinceCheck = 0;
            if (isCancelled && isCancelled()) return std::nullopt;
        }
        const Step step = stack.back();
        stack.pop_back();
        FileNode* node = step.node;
        const bool matches = !node->name().empty() && node->totalBytes() > 0 && matcher.matches(node->name(), folded);
        if (matches) {
            ++found.total;
            if (!step.insideMatch) found.bytes = checkedAdd(found.bytes, node->totalBytes());
            largest.offer(node, step.depth);
            for (const FileNode* holder = node->isDirectory() ? node : node->parent();
                 holder != nullptr && found.holders.insert(holder).second;)
                holder = holder == root ? nullptr : holder->parent();
        }
        for (FileNode* child : node->children()) stack.push_back({child, step.depth + 1, step.insideMatch || matches});
    }
    if (isCancelled && isCancelled()) return std::nullopt;
    const std::vector<FileNode*> best = largest.sorted();
    found.items.reserve(best.size());
    for (FileNode* node : best) found.items.push_back(MapItem::fromNode(node));
    return found;
}

} // namespace tessel::MapLens
