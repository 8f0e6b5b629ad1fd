// tessel map: the layout of a folder written as a standalone SVG picture,
// cards by default or a treemap, in the light or the dark theme.

#include "Arguments.h"
#include "Command.h"
#include "OutputFile.h"
#include "ScanStep.h"
#include "TerminalText.h"
#include "TreemapLayout/SvgMap.h"
#include "TreemapLayout/TreemapTheme.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> mapOptions = withScanOptions(
    {{"svg", true}, {"width", true}, {"height", true}, {"style", true}, {"theme", true}});

double dimension(const Arguments& arguments, const char* option, double byDefault) {
    std::optional<std::int64_t> value = arguments.integer(option, 64);
    if (value && *value > 20000) throw UsageError(std::string("--") + option + " can be at most 20000");
    return value ? static_cast<double>(*value) : byDefault;
}

} // namespace

int runMap(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, mapOptions);
    if (arguments.positionals.size() != 1) throw UsageError("map wants one folder");
    const std::optional<std::string> file = arguments.value("svg");
    if (!file || file->empty()) throw UsageError("map wants --svg FILE");
    const std::string style = arguments.value("style").value_or("cards");
    if (style != "cards" && style != "treemap") throw UsageError("--style is cards or treemap, not \"" + style + "\"");
    const std::string themeId = arguments.value("theme").value_or("light");
    if (themeId != "light" && themeId != "dark") throw UsageError("--theme is light or dark, not \"" + themeId + "\"");
    const double width = dimension(arguments, "width", 1200);
    const double height = dimension(arguments, "height", 800);

    std::optional<ScanResult> result = scanWithProgress(arguments.positionals.front(), scanOptionsFrom(arguments));
    if (!result) return exitFailure;

    const TreemapTheme& theme = TreemapTheme::theme(themeId);
    const std::string picture = style == "treemap" ? SvgMap::treemap(*result->root, width, height, theme)
                                                   : SvgMap::cards(*result->root, width, height, theme);
    if (const std::optional<std::string> failure = writeWholeFile(*file, picture)) {
        printError(*failure);
        return exitFailure;
    }
    return exitSuccess;
}

} // namespace tessel::cli
