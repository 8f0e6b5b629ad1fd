#include "Listing.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <limits>

#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"

namespace tessel::cli {

int listLimit(const Arguments& arguments, int byDefault) {
    std::optional<std::int64_t> limit = arguments.integer("limit", 0);
    if (!limit) return byDefault;
    return static_cast<int>(std::min<std::int64_t>(*limit, std::numeric_limits<int>::max()));
}

void printRows(const std::vector<FileNode*>& nodes, const char* indent) {
    for (const FileNode* node : nodes)
        std::printf("%s%s  %s\n", indent, ByteFormat::padded(node->totalBytes(), 9).c_str(),
                    printable(node->path()).c_str());
}

nlohmann::ordered_json nodeItems(const std::vector<FileNode*>& nodes) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const FileNode* node : nodes)
        list.push_back({{"path", node->path()}, {"bytes", node->totalBytes()}, {"isDirectory", node->isDirectory()}});
    return list;
}

void printJson(const nlohmann::ordered_json& report) {
    // Names that are not UTF-8 can't travel in JSON as they are; their bad bytes become U+FFFD.
    std::cout << report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

} // namespace tessel::cli
