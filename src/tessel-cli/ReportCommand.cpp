// tessel report: a scan as a spreadsheet, a web page, or the few lines the app
// copies to the clipboard. The same writers as the app's report room.

#include <chrono>
#include <cstdio>

#include "Arguments.h"
#include "Command.h"
#include "OutputFile.h"
#include "ScanStep.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/ScanReport.h"

namespace tessel::cli {

namespace {

// As many rows as the app puts in each.
constexpr int spreadsheetRows = 2000;
constexpr int pageRows = 200;

const std::vector<OptionSpec> reportOptions = withScanOptions({{"csv", true}, {"html", true}, {"summary", false}});

} // namespace

int runReport(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, reportOptions);
    if (arguments.positionals.size() != 1) throw UsageError("report wants one folder");
    const std::optional<std::string> csv = arguments.value("csv");
    const std::optional<std::string> html = arguments.value("html");
    if ((csv && csv->empty()) || (html && html->empty())) throw UsageError("--csv and --html want a file name");
    if (!csv && !html && !arguments.has("summary")) throw UsageError("report wants --csv FILE, --html FILE or --summary");

    std::optional<ScanResult> result = scanWithProgress(arguments.positionals.front(), scanOptionsFrom(arguments));
    if (!result) return exitFailure;
    const auto scannedAt = std::chrono::system_clock::now();

    int status = exitSuccess;
    const auto write = [&](const std::optional<std::string>& file, const std::string& text) {
        if (!file) return;
        if (const std::optional<std::string> failure = writeWholeFile(*file, text)) {
            printError(*failure);
            status = exitFailure;
        }
    };
    if (csv) write(csv, ScanReport::csv(*result->root, scannedAt, spreadsheetRows));
    if (html) write(html, ScanReport::html(*result->root, scannedAt, pageRows));
    if (arguments.has("summary")) {
        std::string summary = ScanReport::summaryText(*result->root, scannedAt);
        if (!summary.ends_with('\n')) summary += '\n';
        std::fputs(summary.c_str(), stdout);
    }
    return status;
}

} // namespace tessel::cli
