#pragma once
// What the report suites share: a fixed moment, a fixed time zone, and a tree
// whose names are hostile to spreadsheets and web pages alike.

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "TreeBuilder.h"

namespace tessel::test {

// 2026-11-21 20:40:12 UTC: 21:40:12 in a zone one hour east.
inline std::chrono::system_clock::time_point reportMoment() {
    using namespace std::chrono;
    return sys_days{year{2026} / 11 / 21} + hours{20} + minutes{40} + seconds{12};
}

// Sets TZ (a POSIX rule such as "UTC-1", which needs no zone files) for the
// guard's lifetime, and puts back what was there.
class LocalZone {
public:
    explicit LocalZone(const char* rule) {
        if (const char* old = std::getenv("TZ")) previous_ = old;
        setenv("TZ", rule, 1);
        tzset();
    }
    ~LocalZone() {
        if (previous_) setenv("TZ", previous_->c_str(), 1);
        else unsetenv("TZ");
        tzset();
    }
    LocalZone(const LocalZone&) = delete;
    LocalZone& operator=(const LocalZone&) = delete;

private:
    std::optional<std::string> previous_;
};

// Names a spreadsheet would split, trim or misread, each with its own size so
// that the order of the rows is known: largest first, folders then files.
struct AwkwardNames : TreeBuilder {
    AwkwardNames() : TreeBuilder("/scans/sheet") {
        folder(root, "comma, folder", 9000, 3);
        folder(root, " leading blank", 8000);
        folder(root, "trailing blank ", 7000);
        file(root, "say \"hi\".txt", 6000);
        file(root, "line\nbreak", 5000);
        file(root, "cr\r\nlf", 4000);
        file(root, "Con 자백\ttab", 3000);
        file(root, "plain", 2000);
    }
};

} // namespace tessel::test
