#include "DiskScanKit/Packages.h"

#include <algorithm>
#include <cctype>

namespace tessel::Packages {

const NameSet& extensions() {
    static const NameSet set{
        "app", "appex", "framework", "xcframework", "bundle", "plugin", "kext", "xpc",
        "systemextension", "dext", "prefpane", "qlgenerator", "mdimporter", "saver", "component",
        "vst", "vst3", "aaxplugin", "clap", "wdgt", "dsym", "photoslibrary", "photolibrary",
        "migratedphotolibrary", "aplibrary", "musiclibrary", "tvlibrary", "imovielibrary",
        "theater", "fcpbundle", "logicx", "band", "lrdata", "lrlibrary", "cocatalog", "dtbase2",
        "sparsebundle", "vmwarevm", "pvm", "utm", "backup", "backupdb", "xcodeproj",
        "xcworkspace", "xcarchive", "playground", "xcassets", "doccarchive", "rtfd", "pages",
        "numbers", "key", "textbundle"};
    return set;
}

bool isPackage(std::string_view name) {
    std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) return false;
    std::string extension(name.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extensions().contains(extension);
}

bool isInsidePackage(std::string_view path) {
    std::size_t last = path.rfind('/');
    if (last == std::string_view::npos) return false;
    std::string_view above = path.substr(0, last);
    while (!above.empty()) {
        std::size_t slash = above.find('/');
        if (isPackage(above.substr(0, slash))) return true;
        if (slash == std::string_view::npos) break;
        above.remove_prefix(slash + 1);
    }
    return false;
}

} // namespace tessel::Packages
