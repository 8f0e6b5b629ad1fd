#include "SystemStatsKit/AppLaunchUnit.h"

#include "Base/Lines.h"

namespace tessel::AppLaunchUnits {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// systemd's escaping: "\x2d" is "-".
std::string unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] == 'x' && hexDigit(text[i + 2]) >= 0 && hexDigit(text[i + 3]) >= 0) {
            plain += static_cast<char>(hexDigit(text[i + 2]) * 16 + hexDigit(text[i + 3]));
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

std::string readableName(const std::string& appID) {
    std::size_t dots = 0;
    for (char c : appID) dots += c == '.';
    return dots >= 2 ? appID.substr(appID.rfind('.') + 1) : appID;
}

} // namespace

std::optional<AppLaunchUnit> fromUnitName(std::string_view unit) {
    if (!unit.starts_with("app-")) return std::nullopt;
    std::string_view rest = unit.substr(4);
    if (rest.ends_with(".scope")) {
        rest.remove_suffix(6);
        const std::size_t tail = rest.rfind('-');
        if (tail == std::string_view::npos) return std::nullopt; // a scope always has its random tail
        rest = rest.substr(0, tail);
    } else if (rest.ends_with(".service")) {
        rest.remove_suffix(8);
        rest = rest.substr(0, rest.find('@'));
    } else if (rest.ends_with(".slice")) {
        rest.remove_suffix(6);
    } else {
        return std::nullopt;
    }
    AppLaunchUnit found{std::string(unit), {}, {}, {}};
    if (const std::size_t dash = rest.find('-'); dash != std::string_view::npos) {
        found.launcher = unescaped(rest.substr(0, dash));
        rest = rest.substr(dash + 1);
    }
    found.appID = unescaped(rest);
    if (found.appID.empty()) return std::nullopt;
    found.name = readableName(found.appID);
    return found;
}

std::optional<AppLaunchUnit> fromCgroup(std::string_view cgroup) {
    std::optional<AppLaunchUnit> found;
    forEachLine(cgroup, [&](std::string_view line) {
        // "0::/path" or "1:name=systemd:/path".
        const std::size_t first = line.find(':');
        const std::size_t second = first == std::string_view::npos ? first : line.find(':', first + 1);
        if (second == std::string_view::npos) return;
        const std::string_view controllers = line.substr(first + 1, second - first - 1);
        if (!controllers.empty() && controllers != "name=systemd") return;
        const std::string_view path = line.substr(second + 1);
        std::optional<AppLaunchUnit> deepest;
        std::size_t at = 0;
        while (at < path.size()) {
            std::size_t end = path.find('/', at);
            if (end == std::string_view::npos) end = path.size();
            if (std::optional<AppLaunchUnit> unit = fromUnitName(path.substr(at, end - at))) deepest = std::move(unit);
            at = end + 1;
        }
        if (deepest && (!found || controllers.empty())) found = std::move(deepest);
    });
    return found;
}

} // namespace tessel::AppLaunchUnits
