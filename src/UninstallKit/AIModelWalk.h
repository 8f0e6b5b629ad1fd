#pragma once
// The bounded walk the AI model finder reads its places with: down an
// explicit stack to a fixed depth, never through a link, names beginning
// with "." left out, and no more than a budget of entries below one place.

#include <sys/stat.h>

#include <functional>
#include <string>
#include <vector>

namespace tessel::AIModelWalk {

constexpr std::size_t entryBudget = 20'000;

struct Entry {
    std::string path;
    std::vector<std::string> components; // below the walk's root
    struct stat info {};
    const std::string& name() const { return components.back(); }
};

// The entries below `root` down to `depth` levels, sorted by path; a folder
// is entered only when `enter` says so.
std::vector<Entry> below(const std::string& root, int depth, const std::function<bool(const Entry&)>& enter = {});

std::string lowerExtension(const std::string& name);
std::string joined(const std::vector<std::string>& words, const char* between);
// A folder, not a link to one.
bool isFolder(const std::string& path);

} // namespace tessel::AIModelWalk
