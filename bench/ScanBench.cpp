// scan-bench DIR [--runs N] [--workers N] [--threshold BYTES]
//
// Scans DIR several times in one process and prints the wall time (min,
// median, max), the size of the tree it keeps (nodes, arena bytes, bytes per
// node) and the peak resident memory. The tree is what grows with the disk,
// so bytes per node is the figure to watch; compare runs, not machines.

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "DiskScanKit/DiskScanner.h"

using namespace tessel;

namespace {

struct TreeSize {
    std::int64_t nodes = 0;
    std::int64_t nameBytes = 0;
};

TreeSize measure(const FileNode& root) {
    TreeSize size;
    std::vector<const FileNode*> stack{&root};
    while (!stack.empty()) {
        const FileNode* node = stack.back();
        stack.pop_back();
        ++size.nodes;
        size.nameBytes += static_cast<std::int64_t>(node->name().size()) + 1;
        for (const FileNode* child : node->children()) stack.push_back(child);
    }
    return size;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: scan-bench DIR [--runs N] [--workers N] [--threshold BYTES]\n");
        return 2;
    }
    std::string root = argv[1];
    int runs = 5;
    ScanOptions options;
    for (int i = 2; i + 1 < argc; i += 2) {
        std::string option = argv[i];
        long long value = std::atoll(argv[i + 1]);
        if (option == "--runs") runs = static_cast<int>(value);
        else if (option == "--workers") options.workerCount = static_cast<int>(value);
        else if (option == "--threshold") options.fileNodeThreshold = value;
    }
    std::vector<double> seconds;
    ScanResult last;

    for (int run = 0; run < runs; ++run) {
        auto start = std::chrono::steady_clock::now();
        last = DiskScanner::scan(root, options);
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (run + 1 < runs) last = {};
    }
    std::sort(seconds.begin(), seconds.end());
    TreeSize size = measure(*last.root);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("wall s      min %.3f  median %.3f  max %.3f  (%d runs, %d workers)\n", seconds.front(),
                seconds[seconds.size() / 2], seconds.back(), runs, std::max(1, options.workerCount));
    std::printf("entries     %lld files, %lld folders, %lld bytes\n", static_cast<long long>(last.files),
                static_cast<long long>(last.directories), static_cast<long long>(last.bytes));
    std::printf("tree        %lld nodes, %zu bytes per node object, %.1f bytes of name per node\n",
                static_cast<long long>(size.nodes), sizeof(FileNode),
                static_cast<double>(size.nameBytes) / static_cast<double>(size.nodes));
    // What the arena holds: the node objects, their names and one slot in the parent's child array.
    const double treeBytes = static_cast<double>(size.nodes) * static_cast<double>(sizeof(FileNode) + sizeof(FileNode*)) +
                             static_cast<double>(size.nameBytes);
    std::printf("tree bytes  %.2f MiB, %.1f bytes per node in all\n", treeBytes / 1048576.0,
                treeBytes / static_cast<double>(size.nodes));
    std::printf("peak RSS    %.1f MiB\n", static_cast<double>(usage.ru_maxrss) / 1024.0);
    return 0;
}
