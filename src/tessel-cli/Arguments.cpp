#include "Arguments.h"

#include <sys/stat.h>

#include <charconv>
#include <cmath>

#include "TerminalText.h"
#include "DiskScanKit/Paths.h"

namespace tessel::cli {

std::optional<std::string> Arguments::value(const std::string& option) const {
    auto found = values.find(option);
    if (found == values.end()) return std::nullopt;
    return found->second;
}

std::optional<std::int64_t> Arguments::integer(const std::string& option, std::int64_t minimum) const {
    std::optional<std::string> text = value(option);
    if (!text) return std::nullopt;
    std::int64_t number = 0;
    auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc{} || end != text->data() + text->size() || number < minimum)
        throw UsageError("--" + option + " wants a whole number of at least " +
                         std::to_string(minimum) + ", not \"" + *text + "\"");
    return number;
}

std::optional<double> Arguments::seconds(const std::string& option) const {
    std::optional<std::string> text = value(option);
    if (!text) return std::nullopt;
    double number = 0;
    auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc{} || end != text->data() + text->size() || !(number > 0) || !std::isfinite(number))
        throw UsageError("--" + option + " wants a number of seconds above 0, not \"" + *text + "\"");
    return number;
}

std::string kernelRoot(const Arguments& arguments, const std::string& option, const std::string& standard) {
    const std::optional<std::string> given = arguments.value(option);
    if (!given) return standard;
    if (given->empty()) throw UsageError("--" + option + " wants the folder that stands for " + standard);
    const std::string folder = Paths::absolute(*given);
    struct stat info {};
    if (::stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        throw RunFailure("--" + option + " " + printable(folder) + " is not a folder");
    return folder;
}

Arguments parseArguments(const std::vector<std::string>& words, const std::vector<OptionSpec>& specs) {
    Arguments arguments;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (optionsEnded || !word.starts_with("--")) {
            arguments.positionals.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name = word.substr(2);
        std::optional<std::string> inlineValue;
        if (std::size_t equals = name.find('='); equals != std::string::npos) {
            inlineValue = name.substr(equals + 1);
            name.resize(equals);
        }
        if (name == "help") {
            arguments.flags.insert(name);
            continue;
        }
        const OptionSpec* spec = nullptr;
        for (const OptionSpec& candidate : specs)
            if (candidate.name == name) spec = &candidate;
        if (spec == nullptr) throw UsageError("unknown option --" + name);
        if (!spec->takesValue) {
            if (inlineValue) throw UsageError("--" + name + " takes no value");
            arguments.flags.insert(name);
        } else if (inlineValue) {
            arguments.values[name] = *inlineValue;
        } else if (i + 1 < words.size()) {
            arguments.values[name] = words[++i];
        } else {
            throw UsageError("--" + name + " needs a value");
        }
    }
    return arguments;
}

std::string systemRoot(const Arguments& arguments) {
    const std::optional<std::string> root = arguments.value("root");
    if (!root) return "/";
    if (root->empty()) throw UsageError("--root wants the folder that stands for \"/\"");
    const std::string folder = Paths::absolute(*root);
    struct stat info {};
    if (::stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) throw RunFailure("--root " + printable(folder) + " is not a folder");
    return folder;
}

std::string cacheFolder() { return Paths::xdgFolder("XDG_CACHE_HOME", Paths::homeFolder(), ".cache") + "/Tessel"; }

} // namespace tessel::cli
