#pragma once
// A desktop entry: the small key file a Linux app leaves in an applications
// folder (and autostart leaves in ~/.config/autostart) to say what it is
// called, what it runs and whether it shows. Read once into groups of raw
// keys; the typed keys are read from those on demand, values unescaped.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessel {

// The user's language for messages, as LC_ALL, LC_MESSAGES or LANG give it
// ("sr_RS.UTF-8@latin"): the keys a localised value is looked up under.
struct MessagesLocale {
    std::string language, country, modifier;

    static MessagesLocale parse(std::string_view name);
    // The first of LC_ALL, LC_MESSAGES and LANG that is set and not empty.
    static MessagesLocale fromEnvironment();
    // Most specific first: sr_RS@latin, sr_RS, sr@latin, sr. None for C and POSIX.
    std::vector<std::string> candidates() const;
};

class DesktopEntry {
public:
    using Keys = std::vector<std::pair<std::string, std::string>>; // key as written, value raw

    static constexpr std::string_view mainGroup = "Desktop Entry";
    // Larger than any real entry: the biggest carry a few hundred translations.
    static constexpr long long maxFileBytes = 1 << 20;

    // The whole text, or what is wrong with it: a line that is neither a
    // group, a key nor a comment; a key before the first group; a first group
    // other than [Desktop Entry]; a group or a key given twice.
    struct Parse;
    static Parse parse(std::string_view text);
    // The same for a file, refused when it is not a regular file or is huge.
    static Parse read(const std::string& path);

    const std::vector<std::pair<std::string, Keys>>& groups() const { return groups_; }
    bool hasGroup(std::string_view group) const;

    // The value of `key` in [Desktop Entry] as written, escapes and all.
    std::optional<std::string> raw(std::string_view key, std::string_view group = mainGroup) const;
    // Unescaped: \s \n \t \r \\ are a space, a newline, a tab, a carriage return, a backslash.
    std::optional<std::string> string(std::string_view key) const;
    // The value under the locale's most specific key there is, else the plain key.
    std::optional<std::string> localeString(std::string_view key, const MessagesLocale& locale) const;
    // "true" is true; anything else, or no key, is false.
    bool boolean(std::string_view key) const;

    std::string type() const { return string("Type").value_or(""); }
    bool isHidden() const { return boolean("Hidden"); }
    bool isNotShown() const { return boolean("NoDisplay"); }
    std::optional<std::string> name(const MessagesLocale& locale) const { return localeString("Name", locale); }
    std::optional<std::string> genericName(const MessagesLocale& locale) const {
        return localeString("GenericName", locale);
    }
    std::optional<std::string> icon() const { return string("Icon"); }
    std::optional<std::string> tryExec() const { return string("TryExec"); }
    std::optional<std::string> startupWmClass() const { return string("StartupWMClass"); }
    // Exec as arguments, field codes taken out; none without Exec, a failure when it can't be split.
    struct Command {
        std::vector<std::string> arguments;
        std::string failure;
    };
    std::optional<Command> exec() const;
    // The keys that begin with "X-" (X-Flatpak, X-SnapInstanceName, ...), unescaped.
    std::map<std::string, std::string> extras() const;

    static std::string unescape(std::string_view value);
    // A command line split as Exec is: arguments at spaces, double quotes
    // around an argument, field codes (%f %F %u %U %i %c %k and the old ones)
    // removed and %% made %. Throws std::invalid_argument naming the fault.
    static std::vector<std::string> splitCommand(std::string_view unescaped);

private:
    std::vector<std::pair<std::string, Keys>> groups_;
};

struct DesktopEntry::Parse {
    std::optional<DesktopEntry> entry;
    std::string failure;
};

} // namespace tessel
