#pragma once
// A Linux machine described under a root and a home, with the places that
// say what starts by itself: the user's configuration, runtime folder and
// account. The startup tests build on it.

#include <filesystem>
#include <string>

#include "DescribedLinux.h"
#include "UninstallKit/StartupMachine.h"

namespace tessel {

struct DescribedStartup : DescribedLinux {
    void SetUp() override {
        DescribedLinux::SetUp();
        static_cast<DesktopMachine&>(startup) = machine;
        startup.configHome = machine.home + "/.config";
        startup.configDirs = {"/etc/xdg"};
        startup.runtimeDir = "/run/user/1000";
        startup.userName = "ann";
        startup.userId = 1000;
    }
    // A link at `path` to `target`, as written: an absolute target is the machine's.
    void link(const std::string& target, const std::string& path) const {
        std::filesystem::create_directories(std::filesystem::path(local(path)).parent_path());
        std::filesystem::create_symlink(target, local(path));
    }
    StartupMachine startup;
};

} // namespace tessel
