// junk-bench [FOLDER] [ROUNDS]
//
// Times a whole junk search on a fixture home made once in FOLDER (default
// /tmp/junk-bench-home): 50 projects with their node_modules and 200,000
// small files of caches in 20 apps' folders. Three figures, each the median
// of ROUNDS (default 7) interleaved rounds on a warm page cache:
// - the whole search, the home scanned once and everything found;
// - the same with one folder of the home that never answers, as a dead
//   network share does (the scan's watchdog seam holds its reading), with a
//   stall timeout of 1 s: it must end within that second and one more;
// - the walk for projects (the home's scan and the walk of its tree, which
//   finds the outputs and measures them) beside `find HOME -name node_modules
//   -prune`, which finds the folders only, and beside the same find with
//   `du -s` on what it found, which measures them too; and the walk of an
//   already scanned tree alone, as a whole search runs it. The whole search
//   stands beside what a shell does for the same answer: that find and du,
//   and du -s on each folder of the cache.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "UninstallKit/JunkSearch.h"

using namespace tessel;
namespace fs = std::filesystem;

namespace {

double secondsOf(auto&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void report(const char* what, std::vector<double> times) {
    std::sort(times.begin(), times.end());
    std::printf("%-34s median %6.3f s   min %6.3f   max %6.3f   (%zu rounds)\n", what, times[times.size() / 2], times.front(),
                times.back(), times.size());
}

// "app7": written out so that GCC 12 raises no false alarm over a concatenation.
std::string numbered(const char* prefix, int number) {
    std::string name(prefix);
    name += std::to_string(number);
    return name;
}

void write(const fs::path& path, std::size_t bytes) {
    std::ofstream(path) << std::string(bytes, 'x');
}

void makeHome(const fs::path& home) {
    if (fs::exists(home / ".made")) return;
    std::printf("making the fixture home in %s...\n", home.c_str());
    for (int p = 0; p < 50; ++p) {
        const fs::path project = home / "code" / numbered("project", p);
        fs::create_directories(project / "src");
        write(project / "package.json", 40);
        write(project / "package-lock.json", 400);
        for (int f = 0; f < 20; ++f) write(project / "src" / (numbered("file", f) + ".js"), 800);
        for (int m = 0; m < 10; ++m) {
            const fs::path module = project / "node_modules" / numbered("module", m);
            fs::create_directories(module);
            for (int f = 0; f < 40; ++f) write(module / (numbered("part", f) + ".js"), 2000);
        }
    }
    for (int a = 0; a < 20; ++a)
        for (int d = 0; d < 100; ++d) {
            const fs::path folder = home / ".cache" / numbered("app", a) / numbered("d", d);
            fs::create_directories(folder);
            for (int f = 0; f < 100; ++f) write(folder / numbered("f", f), 100);
        }
    fs::create_directories(home / "net/share/projects");
    write(home / ".made", 0);
}

} // namespace

int main(int argc, char** argv) {
    const fs::path home = argc > 1 ? fs::path(argv[1]) : fs::path("/tmp/junk-bench-home");
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 7;
    makeHome(home);
    const JunkPlaces places = JunkPlaces::forHome(home.string());
    JunkFinder::Settings settings;
    settings.now = static_cast<std::int64_t>(std::time(nullptr));

    std::size_t found = 0;
    std::atomic<bool> released{false};
    JunkSearchOptions hung;
    hung.stallTimeout = 1.0;
    hung.beforeReading = [&](const std::string& path) {
        if (path.ends_with("/net/share"))
            while (!released) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    };
    const std::string find = "find '" + home.string() + "' -name node_modules -prune > /dev/null";
    const std::string findAndMeasure = "find '" + home.string() + "' -name node_modules -prune -exec du -s {} + > /dev/null";
    const std::string shellSearch = findAndMeasure + " && du -s '" + home.string() + "'/.cache/* > /dev/null";
    const JunkFinder::Disk scanned = JunkSearch::scannedHome(home.string(), {});
    (void)JunkSearch::run(places, settings); // warms the page cache
    std::vector<double> whole, withHung, walk, byFind, byFindAndDu, treeWalk, byShell;
    std::size_t projects = 0;
    for (int i = 0; i < rounds; ++i) {
        whole.push_back(secondsOf([&] { found = JunkSearch::run(places, settings).size(); }));
        released = false;
        withHung.push_back(secondsOf([&] { (void)JunkSearch::run(places, settings, hung); }));
        released = true;
        // The stalled reader gives up its folder once released; let it go before the next round.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        walk.push_back(secondsOf([&] {
            projects = JunkFinder(places, JunkSearch::scannedHome(home.string(), {}), settings).projectCandidates().size();
        }));
        byFind.push_back(secondsOf([&] {
            if (std::system(find.c_str()) != 0) std::fprintf(stderr, "junk-bench: find failed\n");
        }));
        byFindAndDu.push_back(secondsOf([&] {
            if (std::system(findAndMeasure.c_str()) != 0) std::fprintf(stderr, "junk-bench: find failed\n");
        }));
        byShell.push_back(secondsOf([&] {
            if (std::system(shellSearch.c_str()) != 0) std::fprintf(stderr, "junk-bench: du failed\n");
        }));
        treeWalk.push_back(secondsOf([&] { (void)JunkFinder(places, scanned, settings).projectCandidates(); }));
    }
    std::printf("%zu items found, %zu projects' outputs\n", found, projects);
    report("whole search", whole);
    report("find, du of outputs and caches", byShell);
    report("whole search, a folder hung (1 s)", withHung);
    report("project walk", walk);
    report("find -name node_modules -prune", byFind);
    report("the same find, then du -s", byFindAndDu);
    report("project walk of a scanned tree", treeWalk);
    return 0;
}
