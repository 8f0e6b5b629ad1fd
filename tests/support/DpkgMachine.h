#pragma once
// A small machine with a package database, written under a temporary folder
// that stands for its "/": packages, their file lists, the files themselves,
// diversions and, when asked, a merged /usr.

#include <string>
#include <vector>

#include "Fixture.h"

namespace tessel::test {

struct FixturePackage {
    std::string stanza;              // the package's lines of "status", without the blank line
    std::string listName;            // "" for none, else the NAME or NAME:ARCH of info/*.list
    std::vector<std::string> listed; // its file list
};

class DpkgMachine {
public:
    explicit DpkgMachine(bool mergedUsr);
    const std::string& root() const { return folder_.path(); }
    std::string admin() const { return folder_ / "var/lib/dpkg"; }
    std::string operator/(const std::string& relative) const { return folder_ / relative; }

    // Writes status, the lists and info/format "1".
    void install(const std::vector<FixturePackage>& packages);
    void writeDiversions(const std::string& text);
    // Makes each path under the root: folders for "dir/", else files of a few bytes.
    void create(const std::vector<std::string>& paths);

private:
    TempFolder folder_;
};

// A few packages of every kind: bash (essential, lists /bin/bash), two
// architectures of libfoo1 (Multi-Arch same), "tool" whose /usr/bin/tool the
// package "wrapper" diverts to /usr/bin/tool.real, and "oldpkg", removed with
// its configuration files left. Their files are made on disk, but for
// bash's README.
void installSampleSystem(DpkgMachine& machine);


} // namespace tessel::test
