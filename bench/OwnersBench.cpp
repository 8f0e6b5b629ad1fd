// owners-bench [ROOT] [ROUNDS]
//
// Times the package path index on a real package database (this machine's,
// or the one under ROOT): built from cold, that is from status, every file
// list and the diversions; then loaded from its copy on disk, as every run
// of `tessel owner` after the first does. The copy lives in a temporary
// folder made for the run. Each is run ROUNDS times (default 15) and the
// median, the fastest and the slowest are printed, with the number of paths
// and the size of the copy. The lists are read from the page cache after
// the first round: "cold" means no index, not an empty cache.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "UninstallKit/DpkgDatabase.h"
#include "UninstallKit/PathOwners.h"

using namespace tessel;

namespace {

double millisecondsOf(auto&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void report(const char* what, std::vector<double> times) {
    std::sort(times.begin(), times.end());
    std::printf("%-22s median %7.2f ms   min %7.2f   max %7.2f   (%zu rounds)\n", what, times[times.size() / 2],
                times.front(), times.back(), times.size());
}

} // namespace

int main(int argc, char** argv) {
    const std::string root = argc > 1 ? argv[1] : "/";
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 15;
    char folder[] = "/tmp/owners-bench-XXXXXX";
    if (!mkdtemp(folder)) {
        std::perror("mkdtemp");
        return 1;
    }
    try {
        std::size_t paths = 0;
        std::vector<double> built;
        for (int i = 0; i < rounds; ++i) built.push_back(millisecondsOf([&] { paths = PathOwners::build(root).pathCount(); }));
        (void)PathOwners::cached(root, folder); // writes the copy
        std::vector<double> loaded;
        bool fromCache = true;
        for (int i = 0; i < rounds; ++i)
            loaded.push_back(millisecondsOf([&] { fromCache = fromCache && PathOwners::cached(root, folder).cameFromCache(); }));
        std::printf("%zu paths in the index of %s\n", paths, dpkgAdminFolder(root).c_str());
        report("built from the lists", built);
        report("loaded from its copy", loaded);
        if (!fromCache) std::printf("warning: the copy was not used every time; the database changed during the run\n");
    } catch (const DpkgError& error) {
        std::fprintf(stderr, "owners-bench: %s\n", error.what());
        return 1;
    }
    std::system(("rm -rf '" + std::string(folder) + "'").c_str());
    return 0;
}
