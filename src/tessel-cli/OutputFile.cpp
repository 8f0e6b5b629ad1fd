#include "OutputFile.h"

#include <cstring>

#include "TerminalText.h"
#include "Base/ReplaceFile.h"

namespace tessel::cli {

std::optional<std::string> writeWholeFile(const std::string& path, const std::string& text) {
    if (const int error = replaceFileWhole(path, text); error != 0)
        return "could not write " + printable(path) + ": " + std::strerror(error);
    return std::nullopt;
}

} // namespace tessel::cli
