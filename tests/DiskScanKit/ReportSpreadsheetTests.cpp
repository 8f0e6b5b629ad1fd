// The spreadsheet read back by another program: Python's csv module parses
// the file, and every field must come back exactly as the tree holds it.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "ChildProcess.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/ScanReport.h"
#include "Fixture.h"
#include "ReportFixtures.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// Each row on a line, each field as the hex of its UTF-8 bytes, so nothing
// in a name can disturb the way back.
constexpr const char* readBack = R"(import csv, sys
with open(sys.argv[1], newline='', encoding='utf-8') as f:
    for row in csv.reader(f):
        print(' '.join(field.encode('utf-8').hex() for field in row))
)";

std::vector<std::vector<std::string>> decodeRows(const std::string& text) {
    std::vector<std::vector<std::string>> rows;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        std::vector<std::string> fields(1);
        for (std::size_t i = start; i < end; ++i) {
            if (text[i] == ' ') fields.emplace_back();
            else if (i + 1 < end) fields.back() += static_cast<char>(std::stoi(text.substr(i++, 2), nullptr, 16));
        }
        rows.push_back(fields);
    }
    return rows;
}

std::vector<std::string> expectedRow(const std::string& path, const char* kind, std::int64_t bytes, std::int64_t total) {
    char share[32];
    std::snprintf(share, sizeof share, "%.2f%%", static_cast<double>(bytes) * 100 / static_cast<double>(total));
    return {path, kind, std::to_string(bytes), ByteFormat::string(bytes), share, "2026-11-21T21:40:12+01:00"};
}

} // namespace

TEST(ReportSpreadsheet, AwkwardNamesSurviveARoundTripThroughPythonsCsvReader) {
    if (findProgram("python3").empty()) GTEST_SKIP() << "python3 is not installed, so the spreadsheet can't be read back";
    LocalZone zone("UTC-1");
    AwkwardNames tree;
    TempFolder folder;
    const std::string file = folder / "report.csv";
    std::ofstream(file, std::ios::binary) << ScanReport::csv(*tree.root, reportMoment(), 2000);

    ChildOutcome python = runChild({"python3", "-c", readBack, file}, std::chrono::seconds(20));
    ASSERT_EQ(python.status, 0) << python.err;
    const std::string root = "/scans/sheet/";
    const std::int64_t total = 44000;
    const std::vector<std::vector<std::string>> expected{
        {"Path", "Kind", "Allocated bytes", "Size", "Share of scan", "Scanned"},
        expectedRow("/scans/sheet", "Folder", total, total),
        expectedRow(root + "comma, folder", "Folder", 9000, total),
        expectedRow(root + " leading blank", "Folder", 8000, total),
        expectedRow(root + "trailing blank ", "Folder", 7000, total),
        expectedRow(root + "say \"hi\".txt", "File", 6000, total),
        expectedRow(root + "line\nbreak", "File", 5000, total),
        expectedRow(root + "cr\r\nlf", "File", 4000, total),
        expectedRow(root + "Con 자백\ttab", "File", 3000, total),
        expectedRow(root + "plain", "File", 2000, total),
    };
    EXPECT_EQ(decodeRows(python.out), expected);
}
