#include "AIModelWalk.h"

#include <algorithm>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"

namespace tessel::AIModelWalk {

std::vector<Entry> below(const std::string& root, int depth, const std::function<bool(const Entry&)>& enter) {
    std::vector<Entry> found;
    std::vector<Entry> stack{{root, {}, {}}};
    while (!stack.empty() && found.size() < entryBudget) {
        const Entry folder = std::move(stack.back());
        stack.pop_back();
        if (static_cast<int>(folder.components.size()) >= depth) continue;
        for (const std::string& name : folderNames(folder.path)) {
            if (name.front() == '.' || found.size() >= entryBudget) continue;
            Entry entry{folder.path + "/" + name, folder.components, {}};
            entry.components.push_back(name);
            if (::lstat(entry.path.c_str(), &entry.info) != 0) continue;
            if (S_ISDIR(entry.info.st_mode) && (!enter || enter(entry))) stack.push_back(entry);
            found.push_back(std::move(entry));
        }
    }
    std::ranges::sort(found, {}, &Entry::path);
    return found;
}

std::string lowerExtension(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return {};
    return asciiLower(name.substr(dot + 1));
}

std::string joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

bool isFolder(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace tessel::AIModelWalk
