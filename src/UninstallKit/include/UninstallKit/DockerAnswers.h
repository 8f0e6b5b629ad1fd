#pragma once
// What Docker's own commands answer about the space it keeps, read from
// their output. Docker prints sizes for people ("2.4GB", "260.86MiB"), so a
// size here is as exact as the text that gave it.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel::DockerAnswers {

// The bytes a size as Docker prints it stands for: decimal units (kB, MB,
// GB…) and binary ones (KiB, MiB…), anything after a blank ignored
// ("1.2GB (50%)"). None for text that is not a size.
std::optional<std::int64_t> sizeOf(std::string_view text);

// What the user's docker prints for `arguments`: the first executable
// "docker" in `programFolders` ($PATH), run through CommandRunner with a
// short time limit. None where there is no docker, or it does not answer (no
// daemon, no leave to reach it, a command it doesn't know). Nothing it runs
// can ask for a password: its standard input is /dev/null.
std::optional<std::string> ask(const std::vector<std::string>& programFolders, const std::vector<std::string>& arguments);

} // namespace tessel::DockerAnswers
