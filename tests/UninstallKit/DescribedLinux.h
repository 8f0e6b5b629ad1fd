#pragma once
// A Linux machine described in a folder: a home with its own entries, system
// folders under a root, programs on a PATH. The apps' tests build on it.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Fixture.h"
#include "UninstallKit/DesktopApps.h"

namespace tessel {

struct DescribedLinux : ::testing::Test {
    void SetUp() override {
        machine.root = folder / "root";
        machine.home = folder / "home";
        machine.dataHome = machine.home + "/.local/share";
        machine.dataFolders = {machine.dataHome, "/usr/local/share", "/usr/share"};
        machine.programFolders = {machine.home + "/.local/bin", "/usr/bin"};
        program("/usr/bin/viewer");
        program("/usr/bin/flatpak");
    }
    // A system path is written under the root, a home path as it is.
    std::string local(const std::string& path) const {
        return path.starts_with(machine.home) ? path : machine.root + path;
    }
    void write(const std::string& path, const std::string& text) const {
        const std::string file = local(path);
        std::filesystem::create_directories(file.substr(0, file.rfind('/')));
        std::ofstream(file) << text;
    }
    void program(const std::string& path) const {
        write(path, "#!/bin/sh\n");
        chmod(local(path).c_str(), 0755);
    }
    void app(const std::string& path, const std::string& name, const std::string& more = "Exec=viewer\n") const {
        write(path, "[Desktop Entry]\nType=Application\nName=" + name + "\n" + more);
    }
    DesktopAppListing listing() const { return AppCatalog::installedApps(machine); }
    static std::vector<std::string> names(const DesktopAppListing& listing) {
        std::vector<std::string> found;
        for (const InstalledApp& app : listing.apps) found.push_back(app.name);
        return found;
    }

    test::TempFolder folder;
    DesktopMachine machine;
};

} // namespace tessel
