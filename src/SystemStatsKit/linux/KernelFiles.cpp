#include "KernelFiles.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>

#include "Base/Lines.h"

namespace tessel::KernelFiles {

namespace {

constexpr std::int64_t kernelFileLimit = 4 << 20;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "hwmon2" < "hwmon10": the digits at the end compare as a number.
bool naturalLess(const std::string& a, const std::string& b) {
    auto stem = [](const std::string& name) {
        std::size_t end = name.size();
        while (end > 0 && isDigit(name[end - 1])) --end;
        return end;
    };
    const std::size_t stemA = stem(a), stemB = stem(b);
    const int byStem = a.compare(0, stemA, b, 0, stemB);
    if (byStem != 0) return byStem < 0;
    if (a.size() - stemA != b.size() - stemB) return a.size() - stemA < b.size() - stemB;
    return a < b;
}

// The number `word` holds, all of it.
template <class Number, class... Format>
std::optional<Number> parseWhole(std::string_view word, Format... format) {
    Number number{};
    auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, format...);
    if (word.empty() || error != std::errc{} || end != word.data() + word.size()) return std::nullopt;
    return number;
}

} // namespace

std::optional<std::string> text(const std::string& path, std::string* failure) {
    SmallFileRead file = readSmallFile(path, kernelFileLimit);
    if (!file.text && failure != nullptr) *failure = std::move(file.failure);
    return std::move(file.text);
}

std::optional<std::string> line(const std::string& path) {
    const std::optional<std::string> whole = text(path);
    if (!whole) return std::nullopt;
    return std::string(trimmed(*whole, " \t\n"));
}

std::optional<std::int64_t> parseInteger(std::string_view word) { return parseWhole<std::int64_t>(word); }

std::optional<std::uint64_t> parseUnsigned(std::string_view word) { return parseWhole<std::uint64_t>(word); }

std::optional<std::uint32_t> parseHex(std::string_view word) { return parseWhole<std::uint32_t>(word, 16); }

std::optional<double> parseDecimal(std::string_view word) {
    if (word.ends_with('.')) word.remove_suffix(1);
    return parseWhole<double>(word, std::chars_format::fixed);
}

std::optional<std::int64_t> integer(const std::string& path) {
    const std::optional<std::string> text = line(path);
    if (!text) return std::nullopt;
    return parseInteger(*text);
}

std::optional<std::vector<std::string>> entries(const std::string& folder) {
    DIR* listing = opendir(folder.c_str());
    if (listing == nullptr) return std::nullopt;
    std::vector<std::string> names;
    while (const dirent* entry = readdir(listing)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    closedir(listing);
    std::sort(names.begin(), names.end(), naturalLess);
    return names;
}

bool exists(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> found;
    std::size_t at = 0;
    while (at < text.size()) {
        at = text.find_first_not_of(" \t", at);
        if (at == std::string_view::npos) break;
        std::size_t end = text.find_first_of(" \t", at);
        if (end == std::string_view::npos) end = text.size();
        found.push_back(text.substr(at, end - at));
        at = end;
    }
    return found;
}

} // namespace tessel::KernelFiles
