#pragma once
// The command line of one command: options by name, the rest in order.

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessel::cli {

// A mistake in how the tool was called: exit status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A command that cannot do its work with what it was given: one line, status 1.
class RunFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct OptionSpec {
    std::string name; // without the leading "--"
    bool takesValue = false;
};

struct Arguments {
    std::vector<std::string> positionals;
    std::map<std::string, std::string> values;
    std::set<std::string> flags;

    bool has(const std::string& flag) const { return flags.contains(flag); }
    std::optional<std::string> value(const std::string& option) const;
    std::optional<std::int64_t> integer(const std::string& option, std::int64_t minimum) const;
    std::optional<double> seconds(const std::string& option) const;
};

// "--name value", "--name=value" and "--" are understood; "--help" is always a flag.
Arguments parseArguments(const std::vector<std::string>& words, const std::vector<OptionSpec>& specs);

// The folder that stands for "/" (--root DIR, made absolute), else "/".
std::string systemRoot(const Arguments& arguments);
// The folder --proc-root or --sys-root names (`option`), made absolute, in
// place of `standard`; a usage error when empty, a failure when no folder.
std::string kernelRoot(const Arguments& arguments, const std::string& option, const std::string& standard);
// Where the tool keeps what it can work out again: $XDG_CACHE_HOME/Tessel.
std::string cacheFolder();

} // namespace tessel::cli
