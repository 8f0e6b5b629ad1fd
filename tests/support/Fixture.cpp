#include "Fixture.h"

#include <dirent.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tessel::test {

namespace {

void check(bool ok, const std::string& what) {
    if (!ok) throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string shellQuoted(const std::string& path) {
    std::string text = "'";
    for (char c : path) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

} // namespace

TempFolder::TempFolder() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && base[0] != '\0' ? base : "/tmp") + "/tessel-test-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    check(mkdtemp(buffer.data()) != nullptr, "mkdtemp(" + pattern + ")");
    path_ = buffer.data();
}

TempFolder::~TempFolder() {
    // rm walks relative to descriptors, so chains deeper than PATH_MAX go too.
    std::string command = "chmod -R u+rwx " + shellQuoted(path_) + " 2>/dev/null; rm -rf " + shellQuoted(path_);
    if (std::system(command.c_str()) != 0) std::fprintf(stderr, "could not clean up %s\n", path_.c_str());
}

void makeFolder(const std::string& path) { check(mkdir(path.c_str(), 0755) == 0, "mkdir(" + path + ")"); }

void writeText(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    check(static_cast<bool>(file), "write " + path);
}

std::string readText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    check(static_cast<bool>(file), "open " + path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void setModificationTime(const std::string& path, long seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    check(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) == 0, "utimensat(" + path + ")");
}

void writeFile(const std::string& path, std::int64_t bytes) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    check(fd >= 0, "open(" + path + ")");
    std::vector<char> block(65536, 'x');
    for (std::int64_t left = bytes; left > 0;) {
        auto chunk = static_cast<std::size_t>(std::min<std::int64_t>(left, static_cast<std::int64_t>(block.size())));
        ssize_t written = write(fd, block.data(), chunk);
        check(written > 0, "write(" + path + ")");
        left -= written;
    }
    check(fsync(fd) == 0, "fsync(" + path + ")");
    close(fd);
}

void writeSparseFile(const std::string& path, std::int64_t logicalBytes) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    check(fd >= 0, "open(" + path + ")");
    check(pwrite(fd, "x", 1, logicalBytes - 1) == 1, "pwrite(" + path + ")");
    check(fsync(fd) == 0, "fsync(" + path + ")");
    close(fd);
}

void makeHardLink(const std::string& existing, const std::string& link) {
    check(::link(existing.c_str(), link.c_str()) == 0, "link(" + link + ")");
}

void makeSymlink(const std::string& target, const std::string& link) {
    check(symlink(target.c_str(), link.c_str()) == 0, "symlink(" + link + ")");
}

int makeDeepChain(const std::string& base, const std::string& name, int levels) {
    int fd = open(base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    check(fd >= 0, "open(" + base + ")");
    int made = 0;
    for (; made < levels; ++made) {
        if (mkdirat(fd, name.c_str(), 0755) != 0) break;
        int next = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(fd);
        fd = next;
        if (fd < 0) break;
    }
    if (fd >= 0) {
        // One file at the bottom, so the depth carries bytes.
        int file = openat(fd, "bottom", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (file >= 0) {
            std::vector<char> bytes(10000, 'b');
            if (write(file, bytes.data(), bytes.size()) < 0) made = -1;
            fsync(file);
            close(file);
        }
        close(fd);
    }
    return made;
}

std::int64_t allocatedOf(const std::string& path) {
    struct stat info {};
    check(lstat(path.c_str(), &info) == 0, "lstat(" + path + ")");
    return static_cast<std::int64_t>(info.st_blocks) * 512;
}

IndependentCount independentCount(const std::string& root) {
    std::string command = "find " + shellQuoted(root) + " -xdev -printf '%y %D %i %n %b\\n'";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    check(pipe != nullptr, "popen(find)");
    IndependentCount count;
    std::set<std::pair<unsigned long long, unsigned long long>> seen;
    char type = 0;
    unsigned long long device = 0, inode = 0, links = 0, blocks = 0;
    while (std::fscanf(pipe.get(), " %c %llu %llu %llu %llu", &type, &device, &inode, &links, &blocks) == 5) {
        if (type == 'd') {
            ++count.folders;
            continue;
        }
        ++count.entries;
        if (links > 1 && !seen.insert({device, inode}).second) continue;
        count.bytes += static_cast<std::int64_t>(blocks) * 512;
    }
    return count;
}

FileNode* findNode(FileNode& root, const std::string& relative) {
    if (relative.empty()) return nullptr;
    return root.descendant(relative);
}

bool totalsAddUp(const FileNode& root) {
    std::vector<const FileNode*> stack{&root};
    while (!stack.empty()) {
        const FileNode* node = stack.back();
        stack.pop_back();
        if (!node->isDirectory()) continue;
        std::int64_t sum = node->aggregatedFileBytes();
        for (const FileNode* child : node->children()) {
            sum += child->totalBytes();
            stack.push_back(child);
        }
        if (sum != node->totalBytes()) return false;
    }
    return true;
}

std::vector<std::string> entryNames(const std::string& folder) {
    std::vector<std::string> names;
    DIR* listing = opendir(folder.c_str());
    if (listing == nullptr) return names;
    while (const dirent* entry = readdir(listing))
        if (std::string_view name = entry->d_name; name != "." && name != "..") names.emplace_back(name);
    closedir(listing);
    return names;
}

} // namespace tessel::test
