// Finding an app's icon file.
//
// An entry's Icon is an absolute path, or a name without an ending that an
// icon theme resolves. Every app installs into hicolor, the theme all others
// fall back to, so that theme of each data folder is looked through, in the
// data folders' order, and then /usr/share/pixmaps, where older apps put a
// picture named like the icon. A scalable icon wins, as it draws sharp at any
// size; of the pictures, those near a list's 64 pixels come first.
//
//     Icon=org.gnome.Maps → ~/.local/share/icons/hicolor/scalable/apps/org.gnome.Maps.svg
//                           /usr/share/icons/hicolor/128x128/apps/org.gnome.Maps.png
//     Icon=vim.png        → an old entry's ending is dropped: /usr/share/pixmaps/vim.png

#include "UninstallKit/AppIcons.h"

#include <sys/stat.h>

#include "DiskScanKit/Paths.h"

namespace tessel::AppIcons {

namespace {

bool isFile(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

constexpr const char* pictureSizes[] = {"128x128", "96x96", "64x64", "256x256", "512x512", "48x48", "32x32", "24x24", "22x22", "16x16"};

} // namespace

std::optional<std::string> find(const std::string& icon, const DesktopMachine& machine) {
    if (icon.empty()) return std::nullopt;
    if (icon.front() == '/') {
        const std::string onDisk = machine.onDisk(icon);
        return isFile(onDisk) ? std::optional(onDisk) : std::nullopt;
    }
    std::string name = icon;
    for (const char* ending : {".png", ".svg", ".xpm"})
        if (name.size() > 4 && name.ends_with(ending)) name.resize(name.size() - 4);
    if (name.find('/') != std::string::npos || name == "." || name == "..") return std::nullopt;
    for (const std::string& folder : machine.dataFolders) {
        const std::string theme = machine.onDisk(Paths::join(folder, "icons/hicolor"));
        if (const std::string scalable = theme + "/scalable/apps/" + name + ".svg"; isFile(scalable)) return scalable;
        for (const char* size : pictureSizes)
            if (const std::string picture = theme + "/" + size + "/apps/" + name + ".png"; isFile(picture)) return picture;
    }
    for (const char* ending : {".svg", ".png", ".xpm"})
        if (const std::string old = machine.onDisk("/usr/share/pixmaps/" + name + ending); isFile(old)) return old;
    return std::nullopt;
}

} // namespace tessel::AppIcons
