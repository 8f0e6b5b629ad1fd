#pragma once
// Reading the small files of /proc and /sys. They are the kernel's, but the
// roots come from outside (a test's fixture, --proc-root), so every file goes
// through the safe small-file reader: a FIFO, a device or a huge file in their
// place is refused, never waited on.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/SmallFile.h"

namespace tessel::KernelFiles {

// The whole file; none when it can't be read, and why in `failure` where one
// is given ("lstat(/proc/stat): No such file or directory"). /proc/stat of a
// machine with thousands of processors is the largest the samplers read, and
// far below the limit.
std::optional<std::string> text(const std::string& path, std::string* failure = nullptr);
// The file's text without the newline at its end; none when it can't be read.
std::optional<std::string> line(const std::string& path);
// A file that holds one whole number, as a sysfs attribute does.
std::optional<std::int64_t> integer(const std::string& path);
// A whole number of the form the kernel writes: digits, an optional minus sign.
std::optional<std::int64_t> parseInteger(std::string_view word);
std::optional<std::uint64_t> parseUnsigned(std::string_view word);
// "0100A8C0", as the routing tables write their numbers.
std::optional<std::uint32_t> parseHex(std::string_view word);
// "12.50", "-56.": a decimal with a point whatever the locale says.
std::optional<double> parseDecimal(std::string_view word);
// The names in `folder`, without "." and "..", in natural order ("hwmon2"
// before "hwmon10"); none when it can't be listed.
std::optional<std::vector<std::string>> entries(const std::string& folder);
// Whether there is an entry at `path`; a link counts without being followed.
bool exists(const std::string& path);
// `text` split at runs of spaces and tabs.
std::vector<std::string_view> words(std::string_view text);

} // namespace tessel::KernelFiles
