#pragma once
// A systemd unit file as systemd reads it: sections of keys, a key given
// again adding a value, an empty assignment resetting the list, drop-ins
// applied on top in order. Also the names of units (templates, instances)
// and the command lines of Exec keys.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

class SystemdUnitFile {
public:
    // Larger than any real unit or drop-in.
    static constexpr long long maxFileBytes = 1 << 20;

    // The lines of a unit file, or of a drop-in that comes after it. Lines
    // systemd would pass over with a warning (no "=", before any section)
    // are passed over here too.
    void apply(std::string_view text);

    // Every value given to the key, in order, from the last empty assignment on.
    std::vector<std::string> values(std::string_view section, std::string_view key) const;
    // The last value, as systemd takes a key given once.
    std::optional<std::string> value(std::string_view section, std::string_view key) const;
    bool hasSection(std::string_view section) const { return sections_.contains(std::string(section)); }

    // An Exec line split into the program and its arguments. The prefixes
    // that change how it runs ("-", "@", ":", "+", "!", "!!") are taken off
    // the program; with "@" the second word is only the name the program is
    // told it has, and is left out. Only the first command of a line counts.
    struct Command {
        std::string program;
        std::vector<std::string> arguments;
    };
    // None when the line is empty; throws std::invalid_argument naming the fault.
    static std::optional<Command> splitCommand(std::string_view line);

    // What the specifiers of a unit stand for.
    struct Specifiers {
        std::string unit;    // %n: "getty@tty1.service"
        std::string home;    // %h
        std::string user;    // %u
        std::string userId;  // %U
        std::string runtime; // %t
    };
    // %n %N %p %P %i %I %f %h %u %U %t and %% put in; any other left as written.
    static std::string expand(std::string_view text, const Specifiers& specifiers);

private:
    std::map<std::string, std::map<std::string, std::vector<std::string>, std::less<>>, std::less<>> sections_;
};

namespace UnitNames {
// "service" of "a@b.service"; empty when there is no suffix.
std::string_view type(std::string_view name);
// "a" of "a@b.service" and of "a.service".
std::string_view prefix(std::string_view name);
// "b" of "a@b.service"; empty for a template or a plain unit.
std::string_view instance(std::string_view name);
bool isTemplate(std::string_view name);   // "a@.service"
bool isInstance(std::string_view name);   // "a@b.service"
// "a@.service" of "a@b.service".
std::string templateOf(std::string_view name);
// What systemd-escape made a path or name into, undone: "-" is "/", "\x2d" is "-".
std::string unescape(std::string_view text);
} // namespace UnitNames

} // namespace tessel
