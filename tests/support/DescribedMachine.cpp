#include "DescribedMachine.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tessel::test {

namespace {

void write(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file) throw std::runtime_error("could not write " + path);
}

} // namespace

void DescribedMachine::mountTable(const std::string& lines) const { write(root_ + "/proc/self/mountinfo", lines); }

void DescribedMachine::device(const std::string& name) const { write(root_ + "/dev/" + name, ""); }

void DescribedMachine::label(const std::string& linkName, const std::string& target) const {
    folder("/dev/disk/by-label");
    const std::string link = root_ + "/dev/disk/by-label/" + linkName;
    if (symlink(("../../" + target).c_str(), link.c_str()) != 0)
        throw std::runtime_error("symlink(" + link + "): " + std::strerror(errno));
}

void DescribedMachine::folder(const std::string& path) const { std::filesystem::create_directories(root_ + path); }

} // namespace tessel::test
