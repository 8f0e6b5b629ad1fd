#pragma once
// Lists of nodes as the commands print them: one row per node for a person,
// one object per node for a script.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Arguments.h"

namespace tessel {
class FileNode;
}

namespace tessel::cli {

// --limit, or `byDefault` when it is not given; 0 lists nothing.
int listLimit(const Arguments& arguments, int byDefault);

// "  1.2 MB  /path", the size padded so that the paths line up, after `indent`.
void printRows(const std::vector<FileNode*>& nodes, const char* indent);

// [{"path", "bytes", "isDirectory"}, ...]
nlohmann::ordered_json nodeItems(const std::vector<FileNode*>& nodes);

// The whole report on standard output, indented, with its newline.
void printJson(const nlohmann::ordered_json& report);

} // namespace tessel::cli
