#pragma once
// A whole machine described in a test folder, as the disk list reads one under
// --root: its mount table, its disk devices, their labels, its folders.

#include <string>

namespace tessel::test {

class DescribedMachine {
public:
    // `root` is an existing folder that stands for "/".
    explicit DescribedMachine(std::string root) : root_(std::move(root)) {}

    const std::string& root() const { return root_; }
    // The machine's path as a path of this one.
    std::string operator/(const std::string& path) const { return root_ + path; }

    // proc/self/mountinfo holds `lines`.
    void mountTable(const std::string& lines) const;
    // dev/`name` (a name like "sdb1" or "mapper/home"), a plain file standing for the device.
    void device(const std::string& name) const;
    // dev/disk/by-label/`linkName` leads to dev/`target`, as udev makes it:
    // relative, with "\x20" where the label has a space.
    void label(const std::string& linkName, const std::string& target) const;
    // A folder of the machine, with the folders above it.
    void folder(const std::string& path) const;

private:
    std::string root_;
};

} // namespace tessel::test
