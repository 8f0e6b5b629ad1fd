#include "UninstallKit/DockerAnswers.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <charconv>
#include <cmath>
#include <map>
#include <string>

#include "UninstallKit/CommandRunner.h"

namespace tessel::DockerAnswers {

std::optional<std::int64_t> sizeOf(std::string_view text) {
    static const std::map<std::string, double, std::less<>> units{
        {"B", 1},     {"kB", 1e3},  {"KB", 1e3},  {"MB", 1e6},          {"GB", 1e9},          {"TB", 1e12},
        {"PB", 1e15}, {"KiB", 1024}, {"MiB", 1048576}, {"GiB", 1073741824.0}, {"TiB", 1099511627776.0}};
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number < 0) return std::nullopt;
    std::string_view rest(end, static_cast<std::size_t>(text.data() + text.size() - end));
    while (!rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
    std::size_t letters = 0;
    while (letters < rest.size() && std::isalpha(static_cast<unsigned char>(rest[letters])) != 0) ++letters;
    const auto unit = units.find(rest.substr(0, letters));
    if (unit == units.end()) return std::nullopt;
    const double bytes = std::round(number * unit->second);
    if (!(bytes < 9e18)) return std::nullopt;
    return static_cast<std::int64_t>(bytes);
}

std::optional<std::string> ask(const std::vector<std::string>& programFolders, const std::vector<std::string>& arguments) {
    for (const std::string& folder : programFolders) {
        const std::string program = folder + "/docker";
        struct stat info {};
        if (::stat(program.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || ::access(program.c_str(), X_OK) != 0) continue;
        return CommandRunner::output(program, arguments, {std::chrono::milliseconds(15'000), std::size_t{16} << 20});
    }
    return std::nullopt;
}

} // namespace tessel::DockerAnswers
