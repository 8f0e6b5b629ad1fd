// Reading the package manager's records. "status" is a list of stanzas
// separated by blank lines; each stanza holds "Field: value" lines, a line
// that starts with a space or a tab continuing the field before it. Field
// names are matched without regard to case, as the package manager does.
// Only the fields this system uses are kept. "Conffiles" holds one
// configuration file a line, " PATH CHECKSUM", with a word such as
// "obsolete" after it at times; a path may hold spaces, so the line is
// taken apart from its end.
//
// "diversions" holds three lines per diversion: the path as packages list
// it, where the file is really put, and the package that diverted it.

#include "UninstallKit/DpkgDatabase.h"

#include <sys/stat.h>

#include <algorithm>

#include "Base/AsciiCase.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"

namespace tessel {

namespace {

constexpr std::int64_t statusLimit = std::int64_t{1} << 30;
constexpr std::int64_t listLimit = std::int64_t{256} << 20;
constexpr std::int64_t diversionsLimit = std::int64_t{64} << 20;

std::vector<std::string_view> words(std::string_view text, std::string_view separators = " \t") {
    std::vector<std::string_view> found;
    std::size_t at = 0;
    while (at < text.size()) {
        while (at < text.size() && separators.find(text[at]) != std::string_view::npos) ++at;
        const std::size_t start = at;
        while (at < text.size() && separators.find(text[at]) == std::string_view::npos) ++at;
        if (at > start) found.push_back(text.substr(start, at - start));
    }
    return found;
}

// " /etc/foo.conf 0123abcd [obsolete]" → "/etc/foo.conf".
std::optional<std::string> conffilePath(std::string_view line) {
    line = trimmed(line, " \t\r");
    for (std::string_view flag : {"obsolete", "remove-on-upgrade"}) {
        if (line.size() > flag.size() && line.ends_with(flag) && line[line.size() - flag.size() - 1] == ' ')
            line = trimmed(line.substr(0, line.size() - flag.size()), " \t\r");
    }
    const std::size_t space = line.rfind(' ');
    if (space == std::string_view::npos) return std::nullopt;
    const std::string_view path = trimmed(line.substr(0, space), " \t\r");
    if (path.empty() || path.front() != '/') return std::nullopt;
    return std::string(path);
}

void keepField(DpkgPackage& package, std::string_view name, std::string_view value,
               const std::vector<std::string_view>& continuation) {
    if (equalsIgnoringAsciiCase(name, "Package")) package.name = std::string(value);
    else if (equalsIgnoringAsciiCase(name, "Version")) package.version = std::string(value);
    else if (equalsIgnoringAsciiCase(name, "Architecture")) package.architecture = std::string(value);
    else if (equalsIgnoringAsciiCase(name, "Multi-Arch")) package.multiArch = std::string(value);
    else if (equalsIgnoringAsciiCase(name, "Priority")) package.priority = std::string(value);
    // "Source: chromium" or "Source: chromium (120.0-1)": the name alone.
    else if (equalsIgnoringAsciiCase(name, "Source")) package.source = std::string(value.substr(0, value.find(' ')));
    else if (equalsIgnoringAsciiCase(name, "Essential")) package.essential = equalsIgnoringAsciiCase(value, "yes");
    else if (equalsIgnoringAsciiCase(name, "Status")) {
        const std::vector<std::string_view> parts = words(value);
        if (parts.size() == 3) {
            package.want = std::string(parts[0]);
            package.flag = std::string(parts[1]);
            package.state = std::string(parts[2]);
        }
    } else if (equalsIgnoringAsciiCase(name, "Depends")) {
        // "a (>= 1), b:any | c" gives a, b and c.
        for (std::string_view each : words(value, ",|")) {
            each = trimmed(each, " \t\r");
            each = each.substr(0, each.find_first_of(" (:["));
            if (!each.empty()) package.depends.emplace_back(each);
        }
    } else if (equalsIgnoringAsciiCase(name, "Conffiles")) {
        for (std::string_view line : continuation)
            if (std::optional<std::string> path = conffilePath(line)) package.conffiles.push_back(std::move(*path));
    }
}

std::string readWhole(const std::string& path, std::int64_t limit) {
    SmallFileRead read = readSmallFile(path, limit);
    if (!read.text) throw DpkgError(read.failure);
    return std::move(*read.text);
}

bool exists(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

} // namespace

std::string DpkgPackage::listName() const {
    if (multiArch == "same" && !architecture.empty()) return name + ":" + architecture;
    return name;
}

std::string DpkgPackage::stateLetters() const {
    auto letter = [](const std::string& word, std::initializer_list<std::pair<const char*, char>> table) {
        for (const auto& [spelling, code] : table)
            if (word == spelling) return code;
        return '?';
    };
    std::string letters;
    letters += letter(want, {{"unknown", 'u'}, {"install", 'i'}, {"hold", 'h'}, {"deinstall", 'r'}, {"purge", 'p'}});
    letters += letter(state, {{"not-installed", 'n'}, {"config-files", 'c'}, {"half-installed", 'H'},
                              {"unpacked", 'U'}, {"half-configured", 'F'}, {"triggers-awaited", 'W'},
                              {"triggers-pending", 't'}, {"installed", 'i'}});
    if (flag == "reinstreq") letters += 'R';
    return letters;
}

bool DpkgPackage::isSystem() const { return essential || priority == "required" || priority == "important"; }

std::string dpkgAdminFolder(std::string_view root) {
    std::string folder(root);
    while (!folder.empty() && folder.back() == '/') folder.pop_back();
    return folder + "/var/lib/dpkg";
}

namespace DpkgDatabase {

std::vector<DpkgPackage> parseStatus(std::string_view text) {
    std::vector<DpkgPackage> packages;
    DpkgPackage current;
    std::string_view fieldName;
    std::string_view fieldValue;
    std::vector<std::string_view> continuation;
    auto endField = [&] {
        if (!fieldName.empty()) keepField(current, fieldName, fieldValue, continuation);
        fieldName = {};
        continuation.clear();
    };
    auto endStanza = [&] {
        endField();
        if (!current.name.empty()) packages.push_back(std::move(current));
        current = DpkgPackage{};
    };
    std::size_t at = 0;
    while (at <= text.size()) {
        std::size_t end = text.find('\n', at);
        if (end == std::string_view::npos) end = text.size();
        const std::string_view line = text.substr(at, end - at);
        at = end + 1;
        if (trimmed(line, " \t\r").empty()) {
            endStanza();
            continue;
        }
        if (line.front() == ' ' || line.front() == '\t') {
            if (!fieldName.empty()) continuation.push_back(line);
            continue;
        }
        endField();
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || colon == 0) continue;
        fieldName = line.substr(0, colon);
        fieldValue = trimmed(line.substr(colon + 1), " \t\r");
    }
    endStanza();
    return packages;
}

std::vector<DpkgPackage> readStatus(const std::string& adminFolder) {
    return parseStatus(readWhole(adminFolder + "/status", statusLimit));
}

void checkFormat(const std::string& adminFolder) {
    const std::string path = adminFolder + "/info/format";
    if (!exists(path)) return;
    const std::string text(trimmed(readWhole(path, 4096), " \t\r"));
    std::string_view first = text;
    if (const std::size_t newline = first.find('\n'); newline != std::string_view::npos) first = first.substr(0, newline);
    if (trimmed(first, " \t\r") != "1")
        throw DpkgError(path + " says the database is in format \"" + std::string(trimmed(first, " \t\r").substr(0, 40)) +
                        "\"; only format 1 can be read");
}

std::vector<DpkgDiversion> parseDiversions(std::string_view text) {
    const std::vector<std::string_view> lines = linesOf(text);
    std::vector<DpkgDiversion> diversions;
    for (std::size_t i = 0; i + 2 < lines.size(); i += 3) {
        if (lines[i].empty() || lines[i + 1].empty() || lines[i + 2].empty()) continue;
        diversions.push_back({std::string(lines[i]), std::string(lines[i + 1]), std::string(lines[i + 2])});
    }
    return diversions;
}

std::vector<DpkgDiversion> readDiversions(const std::string& adminFolder) {
    const std::string path = adminFolder + "/diversions";
    if (!exists(path)) return {};
    return parseDiversions(readWhole(path, diversionsLimit));
}

std::optional<std::string> readFileList(const std::string& adminFolder, const DpkgPackage& package,
                                        std::string* failure) {
    // A name from a damaged or crafted status file must not lead out of info/.
    if (package.listName().find('/') != std::string::npos || package.name.starts_with('.')) {
        if (failure) *failure = "the package name \"" + package.name + "\" cannot name a file list";
        return std::nullopt;
    }
    SmallFileRead read = readSmallFile(adminFolder + "/info/" + package.listName() + ".list", listLimit);
    if (!read.text && failure) *failure = read.failure;
    return std::move(read.text);
}

std::set<std::string> desktopPackages(const std::vector<DpkgPackage>& packages) {
    // The metapackages that stand for a desktop's core, as the distributions name them.
    auto isDesktopCore = [](std::string_view name) {
        static constexpr std::string_view cores[] = {"gnome-core", "kde-plasma-desktop", "xfce4", "mate-desktop-environment-core",
                                                     "cinnamon-core", "lxde-core", "lxqt-core", "budgie-desktop",
                                                     "ubuntu-desktop-minimal"};
        return std::ranges::find(cores, name) != std::end(cores) || (name.starts_with("task-") && name.ends_with("-desktop"));
    };
    std::map<std::string_view, const DpkgPackage*> installed;
    for (const DpkgPackage& package : packages)
        if (package.hasFiles()) installed.emplace(package.name, &package);
    std::set<std::string> desktop;
    for (const auto& [name, package] : installed) {
        if (!isDesktopCore(name)) continue;
        desktop.emplace(name);
        for (const std::string& dependency : package->depends)
            if (installed.contains(dependency)) desktop.insert(dependency);
    }
    return desktop;
}

std::optional<std::int64_t> fileListTime(const std::string& adminFolder, const DpkgPackage& package) {
    if (package.listName().find('/') != std::string::npos || package.name.starts_with('.')) return std::nullopt;
    struct stat info {};
    if (lstat((adminFolder + "/info/" + package.listName() + ".list").c_str(), &info) != 0) return std::nullopt;
    return std::int64_t{info.st_mtim.tv_sec} * 1'000'000'000 + info.st_mtim.tv_nsec;
}

std::vector<std::string> listedPaths(std::string_view listText) {
    std::vector<std::string> paths;
    forEachLine(listText, [&](std::string_view line) {
        if (!line.empty() && line.front() == '/' && line != "/.") paths.emplace_back(line);
    });
    return paths;
}

std::map<std::string, DpkgPackage> packagesOf(const std::string& root) {
    try {
        return byListName(readStatus(dpkgAdminFolder(root)));
    } catch (const DpkgError&) {
        return {};
    }
}

std::map<std::string, DpkgPackage> byListName(std::vector<DpkgPackage> packages) {
    std::map<std::string, DpkgPackage> named;
    for (DpkgPackage& package : packages) named.try_emplace(package.listName(), std::move(package));
    return named;
}

} // namespace DpkgDatabase

} // namespace tessel
