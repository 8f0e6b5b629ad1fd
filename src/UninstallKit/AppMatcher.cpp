// Which app a file belongs to, by name.
//
// An installer or a download is named after its app, with a version, often
// a platform, and an extension or two: "Firefox Setup 120.0.exe",
// "viewer-2.4.1-x86_64.AppImage", "VisualStudioCode-1.85.dmg". The known
// extensions come off first, then the name is cut into words at anything
// that is not a letter or a digit, and words that are version numbers (all
// digits, or "v" and digits) are dropped; app names are cut the same way.
//
// The app whose words, run together, equal the file's run together is the
// answer ("VisualStudioCode" is "Visual Studio Code"). Failing that, the app
// with the most words that the file's words begin with ("Firefox Setup" begins
// with "Firefox"). A match must hold three letters at least, so that a file
// called "a-1.zip" is nobody's.

#include "UninstallKit/AppMatcher.h"

#include <algorithm>
#include <array>

#include "Base/AsciiCase.h"

namespace tessel {

namespace {

constexpr std::array<std::string_view, 22> fileExtensions{
    "dmg", "pkg", "mpkg", "zip", "appimage", "deb", "rpm", "tar", "gz", "tgz", "bz2",
    "xz", "zst", "7z", "exe", "msi", "snap", "flatpak", "flatpakref", "run", "iso", "sh"};
constexpr std::size_t shortestMatch = 3;

bool isAlphanumeric(char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || static_cast<unsigned char>(c) >= 0x80;
}

bool isVersion(std::string_view word) {
    if (word.starts_with('v')) word.remove_prefix(1);
    return !word.empty() && std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += word;
    return text;
}

std::string stem(std::string_view fileName) {
    std::string name;
    for (char c : fileName) name += asciiLower(c);
    for (bool stripped = true; stripped;) {
        stripped = false;
        for (std::string_view extension : fileExtensions) {
            const std::size_t dot = name.size() - std::min(name.size(), extension.size() + 1);
            if (name.size() > extension.size() + 1 && name[dot] == '.' && std::string_view(name).substr(dot + 1) == extension) {
                name.resize(dot);
                stripped = true;
            }
        }
    }
    return name;
}

} // namespace

std::vector<std::string> AppMatcher::words(std::string_view name) {
    std::vector<std::string> found;
    std::string word;
    const auto finish = [&] {
        if (!word.empty() && !isVersion(word)) found.push_back(word);
        word.clear();
    };
    for (char c : name) {
        c = asciiLower(c);
        if (isAlphanumeric(c)) word += c;
        else finish();
    }
    finish();
    return found;
}

AppMatcher AppMatcher::apps(const std::vector<InstalledApp>& apps) {
    AppMatcher matcher;
    for (const InstalledApp& app : apps) {
        std::vector<std::string> nameWords = words(app.name);
        if (joined(nameWords).size() >= shortestMatch) matcher.named_.emplace_back(std::move(nameWords), app);
    }
    return matcher;
}

std::optional<InstalledApp> AppMatcher::app(std::string_view fileName) const {
    const std::vector<std::string> fileWords = words(stem(fileName));
    const std::string whole = joined(fileWords);
    for (const auto& [nameWords, app] : named_)
        if (joined(nameWords) == whole) return app;
    const std::pair<std::vector<std::string>, InstalledApp>* best = nullptr;
    for (const auto& named : named_) {
        const std::vector<std::string>& nameWords = named.first;
        if (nameWords.size() > fileWords.size() || !std::equal(nameWords.begin(), nameWords.end(), fileWords.begin()))
            continue;
        if (best == nullptr || nameWords.size() > best->first.size()) best = &named;
    }
    if (best == nullptr) return std::nullopt;
    return best->second;
}

} // namespace tessel
