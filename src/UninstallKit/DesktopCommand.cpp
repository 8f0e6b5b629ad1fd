// Splitting a desktop entry's Exec line into the program and its arguments.
//
// The line has been unescaped as any string value first. Then arguments are
// separated by spaces, and an argument that holds a space or another special
// character is written in double quotes, inside which a backslash makes the
// next `"`, `` ` ``, `$` or `\` plain. Single quotes quote nothing: they are
// characters of the argument like any other.
//
// Field codes stand for what a launcher would fill in: the files or URLs
// opened (%f %F %u %U), the icon (%i), the name (%c), the entry's own path
// (%k), and older codes now to be dropped (%d %D %n %N %v %m). Nothing is
// launched here, so each is taken out; an argument that was nothing but field
// codes goes with them. "%%" is a plain "%". Any other code makes the line
// invalid, as it would be for a launcher, rather than guessed at.
//
// Worked example, as written in the file:
//   Exec=env "A=1 2" app --name=%c "C:\\\\x" 100%% %U
// unescaped:   env "A=1 2" app --name=%c "C:\\x" 100%% %U
// arguments:   env | A=1 2 | app | --name= | C:\x | 100%

#include <stdexcept>
#include <string_view>

#include "UninstallKit/DesktopEntry.h"

namespace tessel {

namespace {

constexpr std::string_view droppedFieldCodes = "fFuUickdDnNvm";
constexpr std::string_view escapedInQuotes = "\"`$\\";

} // namespace

std::vector<std::string> DesktopEntry::splitCommand(std::string_view line) {
    std::vector<std::string> arguments;
    std::string argument;
    bool quoted = false, wasQuoted = false, hadFieldCode = false;
    const auto finish = [&] {
        if (!argument.empty() || (wasQuoted && !hadFieldCode)) arguments.push_back(argument);
        argument.clear();
        wasQuoted = hadFieldCode = false;
    };
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        if (c == '%') {
            if (at + 1 == line.size()) throw std::invalid_argument("the command ends with a lone %");
            const char code = line[++at];
            if (code == '%') argument += '%';
            else if (droppedFieldCodes.find(code) != std::string_view::npos) hadFieldCode = true;
            else throw std::invalid_argument(std::string("the command holds %") + code + ", which is no field code");
        } else if (quoted) {
            if (c == '"') quoted = false;
            else if (c == '\\' && at + 1 < line.size() && escapedInQuotes.find(line[at + 1]) != std::string_view::npos)
                argument += line[++at];
            else argument += c;
        } else if (c == '"') {
            quoted = wasQuoted = true;
        } else if (c == ' ' || c == '\t') {
            finish();
        } else {
            argument += c;
        }
    }
    if (quoted) throw std::invalid_argument("a double quote in the command is never closed");
    finish();
    if (arguments.empty()) throw std::invalid_argument("the command names no program");
    return arguments;
}

std::optional<DesktopEntry::Command> DesktopEntry::exec() const {
    const std::optional<std::string> line = string("Exec");
    if (!line) return std::nullopt;
    try {
        return Command{splitCommand(*line), {}};
    } catch (const std::invalid_argument& fault) {
        return Command{{}, std::string("Exec: ") + fault.what()};
    }
}

} // namespace tessel
