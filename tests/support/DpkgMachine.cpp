#include "DpkgMachine.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <fstream>
#include <stdexcept>

namespace tessel::test {

DpkgMachine::DpkgMachine(bool mergedUsr) {
    for (const char* folder : {"var", "var/lib", "var/lib/dpkg", "var/lib/dpkg/info", "usr", "usr/bin", "usr/lib", "usr/sbin", "etc"})
        makeFolder(folder_ / folder);
    if (mergedUsr) {
        makeSymlink("usr/bin", folder_ / "bin");
        makeSymlink("usr/lib", folder_ / "lib");
        makeSymlink("/usr/sbin", folder_ / "sbin");
    } else {
        makeFolder(folder_ / "bin");
    }
}

void DpkgMachine::install(const std::vector<FixturePackage>& packages) {
    std::string status;
    for (const FixturePackage& package : packages) {
        status += package.stanza + "\n\n";
        if (package.listName.empty()) continue;
        std::string list;
        for (const std::string& path : package.listed) list += path + "\n";
        writeText(admin() + "/info/" + package.listName + ".list", list);
    }
    writeText(admin() + "/status", status);
    writeText(admin() + "/info/format", "1\n");
}

void DpkgMachine::writeDiversions(const std::string& text) { writeText(admin() + "/diversions", text); }

void DpkgMachine::create(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        if (path.ends_with('/')) makeFolder(folder_ / path);
        else writeText(folder_ / path, "bytes");
    }
}

void installSampleSystem(DpkgMachine& machine) {
    machine.install({
        {"Package: bash\nEssential: yes\nStatus: install ok installed\nPriority: required\nVersion: 5.2.15-2+b2", "bash",
         {"/.", "/bin", "/bin/bash", "/usr", "/usr/share", "/usr/share/doc", "/usr/share/doc/bash", "/usr/share/doc/bash/README"}},
        {"Package: libfoo1\nStatus: install ok installed\nPriority: optional\nArchitecture: amd64\nMulti-Arch: same\nVersion: 1.0-1",
         "libfoo1:amd64", {"/.", "/usr", "/usr/lib", "/usr/lib/x86_64-linux-gnu", "/usr/lib/x86_64-linux-gnu/libfoo.so.1"}},
        {"Package: libfoo1\nStatus: install ok installed\nPriority: optional\nArchitecture: i386\nMulti-Arch: same\nVersion: 1.0-1",
         "libfoo1:i386", {"/.", "/usr", "/lib", "/lib/i386-linux-gnu", "/lib/i386-linux-gnu/libfoo.so.1"}},
        {"Package: tool\nStatus: install ok installed\nPriority: important\nVersion: 2:3.1~rc1", "tool", {"/usr", "/usr/bin", "/usr/bin/tool"}},
        {"Package: wrapper\nStatus: install ok installed\nPriority: optional\nVersion: 1", "wrapper", {"/usr", "/usr/bin", "/usr/bin/tool"}},
        {"Package: oldpkg\nStatus: deinstall ok config-files\nPriority: optional\nVersion: 0.9\nConffiles:\n"
         " /etc/oldpkg.conf 0123456789abcdef0123456789abcdef\n /etc/oldpkg gone.conf 0123456789abcdef0123456789abcdef obsolete",
         "", {}},
        {"Package: ghost\nStatus: purge ok not-installed\nPriority: optional", "", {}},
    });
    machine.writeDiversions("/usr/bin/tool\n/usr/bin/tool.real\nwrapper\n");
    machine.create({"usr/bin/bash", "usr/lib/x86_64-linux-gnu/", "usr/lib/x86_64-linux-gnu/libfoo.so.1",
                    "usr/lib/i386-linux-gnu/", "usr/lib/i386-linux-gnu/libfoo.so.1", "usr/bin/tool",
                    "usr/bin/tool.real", "usr/share/", "usr/share/doc/", "usr/share/doc/bash/", "etc/oldpkg.conf"});
}

} // namespace tessel::test
