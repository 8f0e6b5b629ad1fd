#pragma once
// What Docker's own commands answer about the space it keeps, read from
// their output. Docker prints sizes for people ("2.4GB", "260.86MiB"), so a
// size here is as exact as the text that gave it.

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessel::DockerAnswers {

// The bytes a size as Docker prints it stands for: decimal units (kB, MB,
// GB…) and binary ones (KiB, MiB…), anything after a blank ignored
// ("1.2GB (50%)"). None for text that is not a size.
std::optional<std::int64_t> sizeOf(std::string_view text);

} // namespace tessel::DockerAnswers
