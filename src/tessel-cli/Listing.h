#pragma once
// Lists of nodes as the commands print them: one row per node for a person,
// one object per node for a script.

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
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

// Sets `key` to `name` as valid UTF-8 and, where the name is not UTF-8, adds
// `key` + "Bytes": its exact bytes in base64, so a script can still act on it.
void putName(nlohmann::ordered_json& object, const std::string& key, std::string_view name);
// The same for a name that may be absent: null then.
void putNameOrNull(nlohmann::ordered_json& object, const std::string& key, const std::optional<std::string>& name);
// The same for a list of names: `key` + "Bytes" holds every name's bytes, in
// order, when any of them is not UTF-8.
void putNames(nlohmann::ordered_json& object, const std::string& key, const std::vector<std::string>& names);

// [{"file", "reason"}, ...]: the files a command passed over as unreadable, and why.
nlohmann::ordered_json unreadableFiles(const std::vector<std::pair<std::string, std::string>>& files);
// The same for a person: `title`, then "  file: reason" a line; nothing when there are none.
void printUnreadable(const char* title, const std::vector<std::pair<std::string, std::string>>& files);

// [{"path", "bytes", "isDirectory"}, ...]
nlohmann::ordered_json nodeItems(const std::vector<FileNode*>& nodes);

// The whole report on standard output, indented, with its newline.
void printJson(const nlohmann::ordered_json& report);

} // namespace tessel::cli
