#include "DiskScanKit/Paths.h"

#include <cctype>
#include <optional>

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace tessel::Paths {

std::string standardized(std::string_view path, std::string_view home) {
    std::string expanded;
    if (path == "~" || path.starts_with("~/")) {
        expanded.assign(home);
        expanded.append(path.substr(1));
    } else {
        expanded.assign(path);
    }
    const bool absolute = !expanded.empty() && expanded.front() == '/';
    std::vector<std::string_view> parts;
    std::string_view rest = expanded;
    while (!rest.empty()) {
        std::size_t slash = rest.find('/');
        std::string_view part = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
        if (part.empty() || part == ".") continue;
        if (part == ".." && !parts.empty() && parts.back() != "..") {
            parts.pop_back();
            continue;
        }
        if (part == ".." && absolute) continue; // "/.." is "/"
        parts.push_back(part);
    }
    std::string normal = absolute ? "/" : "";
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) normal += '/';
        normal += parts[i];
    }
    if (normal.empty()) return std::string(1, '.');
    return normal;
}

std::string standardized(std::string_view path) { return standardized(path, homeFolder()); }

std::string absolute(std::string_view path) {
    if (path.starts_with('/') || path.starts_with('~')) return standardized(path);
    std::string working = "/";
    if (char* folder = getcwd(nullptr, 0); folder != nullptr) {
        working = folder;
        std::free(folder);
    }
    return standardized(join(working, path));
}

std::string absoluteAsTyped(std::string_view path) {
    if (path.starts_with('/')) return std::string(path);
    if (path == "~") return homeFolder();
    if (path.starts_with("~/")) return join(homeFolder(), path.substr(2));
    std::string working = "/";
    if (char* folder = getcwd(nullptr, 0); folder != nullptr) {
        working = folder;
        std::free(folder);
    }
    return join(working, path);
}

bool isWithin(std::string_view path, std::string_view ancestor) {
    if (ancestor == "/") return path.starts_with('/');
    if (!path.starts_with(ancestor)) return false;
    return path.size() == ancestor.size() || path[ancestor.size()] == '/';
}

std::string join(std::string_view folder, std::string_view name) {
    std::string joined(folder);
    if (joined.empty() || joined.back() != '/') joined += '/';
    joined += name;
    return joined;
}

std::string_view lastComponent(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos || path == "/" ? path : path.substr(slash + 1);
}

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0') return home;
    if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr)
        return entry->pw_dir;
    return "/";
}

std::string xdgFolder(const char* variable, std::string_view home, std::string_view fallback) {
    if (const char* value = std::getenv(variable); value != nullptr && value[0] == '/') return value;
    return join(home, fallback);
}

namespace {

std::string lowered(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    const auto hex = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    };
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? hex(text[i + 1]) : -1;
        const int low = high >= 0 ? hex(text[i + 2]) : -1;
        if (low < 0 || (high == 0 && low == 0)) return std::nullopt; // malformed, or a NUL no path holds
        decoded += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return decoded;
}

} // namespace

std::string fromFileUrl(std::string_view url) {
    if (!lowered(url.substr(0, 7)).starts_with("file://")) return {};
    std::string_view rest = url.substr(7);
    const std::size_t slash = rest.find('/');
    if (slash == std::string_view::npos) return {};
    const std::string host = lowered(rest.substr(0, slash));
    if (!host.empty() && host != "localhost") return {};
    rest = rest.substr(slash);
    rest = rest.substr(0, rest.find_first_of("?#"));
    return percentDecoded(rest).value_or(std::string());
}

std::string percentEncoded(std::string_view path) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(path.size());
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool keep = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') ||
                          byte == '-' || byte == '_' || byte == '.' || byte == '~' || byte == '/';
        if (keep) {
            encoded += c;
        } else {
            encoded += '%';
            encoded += hex[byte >> 4];
            encoded += hex[byte & 0x0f];
        }
    }
    return encoded;
}


} // namespace tessel::Paths
