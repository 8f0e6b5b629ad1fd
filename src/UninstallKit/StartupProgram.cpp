// What a command runs, read from its words.
//
// A startup item often runs an interpreter: /bin/sh, python3, node. What it
// runs is then the script named among the interpreter's arguments, and that
// script is the program worth showing and matching to an app. The arguments
// are walked after the interpreter: an option that carries code inline ends
// the walk with no script, other options are stepped over, and the first
// plain word is the script.
//   /usr/bin/python3 -u /opt/tool/run.py --fast  → /opt/tool/run.py
//   /bin/sh -c "sleep 5; tool"                   → none: the code is inline
//   /usr/bin/perl -w script.pl                   → script.pl
//   open -a Mail                                 → Mail, what -a names
//   /usr/bin/python3 -m http.server              → none: a module, no file

#include "UninstallKit/StartupProgram.h"

#include <algorithm>
#include <array>

#include "Base/AsciiCase.h"
#include "DiskScanKit/Paths.h"

namespace tessel::StartupProgram {

namespace {

constexpr std::array<std::string_view, 16> interpreters{"sh",      "bash",    "zsh",     "dash", "ksh",  "csh",
                                                        "tcsh",    "open",    "osascript", "python", "python2",
                                                        "python3", "perl",    "ruby",    "node", "php"};
constexpr std::array<std::string_view, 3> inlineLongOptions{"--eval", "--command", "--print"};
// Letters of a short option that put code or a module right on the command line.
constexpr std::string_view inlineLetters = "cemEp";

} // namespace

bool isInterpreter(std::string_view path) {
    return std::ranges::find(interpreters, asciiLower(Paths::lastComponent(path))) != interpreters.end();
}

std::optional<std::string> target(const std::vector<std::string>& arguments) {
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (argument == "-a") return at + 1 < arguments.size() ? std::optional(arguments[at + 1]) : std::nullopt;
        if (argument == "-b" || argument == "--args") return std::nullopt;
        if (argument.starts_with("--")) {
            const std::string_view name = std::string_view(argument).substr(0, argument.find('='));
            if (std::ranges::find(inlineLongOptions, name) != inlineLongOptions.end()) return std::nullopt;
            continue;
        }
        if (argument.starts_with('-') && argument.size() > 1) {
            if (argument.find_first_of(inlineLetters, 1) != std::string::npos) return std::nullopt;
            continue;
        }
        if (!argument.empty()) return argument;
    }
    return std::nullopt;
}

std::vector<std::string> withoutEnv(const std::vector<std::string>& words) {
    if (words.empty() || Paths::lastComponent(words.front()) != "env") return words;
    for (std::size_t at = 1; at < words.size(); ++at) {
        if (words[at].starts_with('-')) return words;
        if (words[at].find('=') == std::string::npos) return {words.begin() + static_cast<std::ptrdiff_t>(at), words.end()};
    }
    return words;
}

std::optional<std::string> flatpakApp(const std::vector<std::string>& words) {
    if (words.size() < 3 || Paths::lastComponent(words[0]) != "flatpak" || words[1] != "run") return std::nullopt;
    // The options of `flatpak run` that take their value as the next word when not written with "=".
    static constexpr std::array<std::string_view, 7> valued{"--arch", "--branch", "--command", "--runtime",
                                                            "--runtime-version", "--cwd", "--commit"};
    for (std::size_t at = 2; at < words.size(); ++at) {
        const std::string& word = words[at];
        if (!word.starts_with('-')) return word;
        if (word.find('=') == std::string::npos && std::ranges::find(valued, word) != valued.end()) ++at;
    }
    return std::nullopt;
}

} // namespace tessel::StartupProgram
