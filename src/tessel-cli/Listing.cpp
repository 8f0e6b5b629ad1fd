#include "Listing.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <limits>

#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/NameBytes.h"

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

void putName(nlohmann::ordered_json& object, const std::string& key, std::string_view name) {
    if (Utf8::isValid(name)) {
        object[key] = name;
        return;
    }
    object[key] = Utf8::repaired(name);
    object[key + "Bytes"] = Base64::encode(name);
}

void putNameOrNull(nlohmann::ordered_json& object, const std::string& key, const std::optional<std::string>& name) {
    if (name) putName(object, key, *name);
    else object[key] = nullptr;
}

void printUnreadable(const char* title, const std::vector<std::pair<std::string, std::string>>& files) {
    if (files.empty()) return;
    std::printf("%s\n", title);
    for (const auto& [file, reason] : files) std::printf("  %s: %s\n", printable(file).c_str(), printable(reason).c_str());
}

nlohmann::ordered_json unreadableFiles(const std::vector<std::pair<std::string, std::string>>& files) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& [file, reason] : files) {
        nlohmann::ordered_json item;
        putName(item, "file", file);
        putName(item, "reason", reason);
        list.push_back(std::move(item));
    }
    return list;
}

void putNames(nlohmann::ordered_json& object, const std::string& key, const std::vector<std::string>& names) {
    nlohmann::ordered_json shown = nlohmann::ordered_json::array();
    nlohmann::ordered_json bytes = nlohmann::ordered_json::array();
    bool exact = true;
    for (const std::string& name : names) {
        exact = exact && Utf8::isValid(name);
        shown.push_back(Utf8::repaired(name));
        bytes.push_back(Base64::encode(name));
    }
    object[key] = std::move(shown);
    if (!exact) object[key + "Bytes"] = std::move(bytes);
}

nlohmann::ordered_json nodeItems(const std::vector<FileNode*>& nodes) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const FileNode* node : nodes) {
        nlohmann::ordered_json item;
        putName(item, "path", node->path());
        item["bytes"] = node->totalBytes();
        item["isDirectory"] = node->isDirectory();
        list.push_back(std::move(item));
    }
    return list;
}

void printJson(const nlohmann::ordered_json& report) {
    // Names arrive repaired, with their bytes beside them (putName); the
    // replacement here only guards a field that forgot to.
    std::cout << report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

} // namespace tessel::cli
