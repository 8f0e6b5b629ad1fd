// The path index's copy on disk. It is named for the root it describes, so
// a test machine's index never stands for this machine's, and it is
// written to a temporary name and renamed over the old one, so a reader
// sees either copy whole. Any failure here only costs a rebuild.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "Base/MakeFolders.h"
#include "Base/ReplaceFile.h"
#include "Base/SmallFile.h"
#include "UninstallKit/DpkgDatabase.h"
#include "UninstallKit/PathOwners.h"

namespace tessel {

PathOwners PathOwners::cached(const std::string& root, const std::string& cacheFolder) {
    // A database in a layout this code can't read is refused, copy or not.
    DpkgDatabase::checkFormat(dpkgAdminFolder(root));
    const std::string stampNow = stamp(root);
    const std::string path = cacheFolder + "/package-paths-" + std::to_string(std::hash<std::string>{}(stampNow.substr(0, stampNow.find('\n')))) + ".index";
    SmallFileRead read = readSmallFile(path, std::int64_t{1} << 31);
    if (read.text)
        if (std::optional<PathOwners> index = deserialized(*read.text, stampNow)) return std::move(*index);
    PathOwners index = build(root);
    // The database may have changed while it was read; then the copy would
    // carry a stamp it doesn't match, so it is not written.
    if (stamp(root) == stampNow) {
        makeFolders(cacheFolder);
        (void)replaceFileWhole(path, index.serialized(stampNow), 0600);
    }
    return index;
}

} // namespace tessel
