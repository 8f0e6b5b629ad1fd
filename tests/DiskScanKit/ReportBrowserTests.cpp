// The web page in a real browser: headless Chromium opens the report of a tree
// with hostile names, and the tests check that the page reaches for nothing,
// that no name turns into markup, and leave screenshots for a person to look at.
//
// The network trap. Chromium gets a proxy that is a socket the test listens
// on, with loopback no longer exempt, so any request the page makes, to any
// host, arrives at the trap. Chromium's own services (component updates,
// account checks, the time) go out even with background networking switched
// off; their hosts are exempted from the proxy and resolved to "not found" on
// the spot, so they reach neither the trap nor the network. A page with an
// image from elsewhere and no policy shows that the trap catches what it must.
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>

#include "ChildProcess.h"
#include "DiskScanKit/ScanReport.h"
#include "Fixture.h"
#include "TreeBuilder.h"

using namespace tessel;
using namespace tessel::test;

namespace {

constexpr const char* browser = "/usr/bin/chromium";

// A listening socket that records the first line of every connection made to it.
class ConnectionTrap {
public:
    ConnectionTrap() {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (listener_ < 0 || bind(listener_, generic, length) != 0 || listen(listener_, 64) != 0 ||
            getsockname(listener_, generic, &length) != 0)
            throw std::runtime_error("the trap could not listen on 127.0.0.1");
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { watch(); });
    }
    ~ConnectionTrap() {
        stop();
        close(listener_);
    }
    ConnectionTrap(const ConnectionTrap&) = delete;
    ConnectionTrap& operator=(const ConnectionTrap&) = delete;

    int port() const { return port_; }
    // Takes what is still waiting to be accepted, then stops; returns every first line.
    std::vector<std::string> stop() {
        stopping_ = true;
        if (thread_.joinable()) thread_.join();
        std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    void watch() {
        for (;;) {
            pollfd waiting{listener_, POLLIN, 0};
            const bool last = stopping_;
            if (poll(&waiting, 1, last ? 0 : 25) > 0) {
                const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
                if (connection >= 0) record(connection);
                continue;
            }
            if (last) return;
        }
    }
    void record(int connection) {
        std::string line = "(a connection that sent nothing)";
        pollfd readable{connection, POLLIN, 0};
        char buffer[512];
        if (poll(&readable, 1, 1000) > 0) {
            const ssize_t got = read(connection, buffer, sizeof buffer);
            if (got > 0) {
                const std::string_view received(buffer, static_cast<std::size_t>(got));
                line = received.substr(0, received.find('\r'));
            }
        }
        close(connection);
        std::lock_guard lock(mutex_);
        lines_.push_back(line);
    }

    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_ = false;
    std::mutex mutex_;
    std::vector<std::string> lines_;
    std::thread thread_;
};

struct BrowserRun {
    ChildOutcome chromium;
    std::vector<std::string> connections;
};

// Hosts of Chromium's own services, kept off the network and out of the trap.
constexpr const char* ownServices[] = {"*.google.com", "*.googleapis.com", "*.gvt1.com", "*.gstatic.com",
                                       "*.googleusercontent.com"};

BrowserRun openInChromium(const std::string& folder, const std::string& page, std::vector<std::string> extra) {
    static int runs = 0;
    const std::string profile = folder + "/profile-" + std::to_string(++runs);
    ConnectionTrap trap;
    std::string bypass = "<-loopback>";
    std::string unresolved;
    for (const char* host : ownServices) {
        bypass += std::string(";") + host;
        unresolved += (unresolved.empty() ? "MAP " : ", MAP ") + std::string(host) + " ~NOTFOUND";
    }
    // No sandbox: it can't start as root or in most containers, and the page is our own.
    std::vector<std::string> words{browser, "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
        "--user-data-dir=" + profile, "--no-first-run", "--no-default-browser-check", "--disable-sync",
        "--disable-default-apps", "--disable-extensions", "--disable-background-networking",
        "--disable-component-update", "--disable-breakpad", "--disable-client-side-phishing-detection",
        "--disable-domain-reliability", "--no-pings", "--disable-features=NetworkTimeServiceQuerying,Translate,MediaRouter",
        "--proxy-server=127.0.0.1:" + std::to_string(trap.port()), "--proxy-bypass-list=" + bypass,
        "--host-resolver-rules=" + unresolved};
    words.insert(words.end(), extra.begin(), extra.end());
    words.push_back("file://" + page);
    BrowserRun run;
    run.chromium = runChild(words, std::chrono::seconds(30),
                            {"HOME=" + profile, "XDG_CONFIG_HOME=" + profile, "XDG_CACHE_HOME=" + profile});
    run.connections = trap.stop();
    return run;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += "\n  " + line;
    return text;
}

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The tag names of a serialised document: every "<" in it opens a tag, a
// comment or the doctype, since text and attributes come back escaped.
std::multiset<std::string> tagsOf(const std::string& dom) {
    std::multiset<std::string> tags;
    for (std::size_t at = dom.find('<'); at != std::string::npos; at = dom.find('<', at + 1)) {
        if (at + 1 < dom.size() && dom[at + 1] == '/') continue; // a closing tag names nothing new
        std::size_t end = at + 1;
        while (end < dom.size() && (std::isalnum(static_cast<unsigned char>(dom[end])) || dom[end] == '!' || dom[end] == '-'))
            ++end;
        tags.insert(dom.substr(at + 1, end - at - 1));
    }
    return tags;
}

// Quotes, markup, an entity, control bytes and a line break, in the root's path and in names.
struct HostileTree : TreeBuilder {
    HostileTree() : TreeBuilder("/scans/<script>alert(1)</script>") {
        folder(root, "<img src=x onerror=alert(1)>", 9000, 4);
        folder(root, "Tom's & Jerry's", 8000);
        folder(root, "say \"hi\"", 7000);
        file(root, "bell\a esc\x1b[31m del\x7f.txt", 6000);
        file(root, "line\nbreak", 5000);
        file(root, "<!-- open", 4000);
        file(root, "]]><b>bold", 3000);
        file(root, "<tr><td>a row of its own", 2000);
        file(root, "tiny", 1);
    }
    static constexpr std::size_t listedRows = 9;
};

class ReportInBrowser : public ::testing::Test {
protected:
    struct Pages {
        TempFolder folder;
        std::string report = folder / "report.html";
        std::string reportWithoutPolicy = folder / "report-without-policy.html";
        std::string reachingOut = folder / "reaching-out.html";
    };

    static void SetUpTestSuite() {
        if (access(browser, X_OK) != 0) return;
        pages_ = new Pages;
        HostileTree tree;
        const std::string page = ScanReport::html(*tree.root, std::chrono::system_clock::now(), 200);
        std::ofstream(pages_->report, std::ios::binary) << page;
        std::string withoutPolicy = page;
        const std::size_t policy = withoutPolicy.find("<meta http-equiv=\"Content-Security-Policy\"");
        if (policy != std::string::npos) withoutPolicy.erase(policy, withoutPolicy.find('\n', policy) + 1 - policy);
        std::ofstream(pages_->reportWithoutPolicy, std::ios::binary) << withoutPolicy;
        std::ofstream(pages_->reachingOut, std::ios::binary)
            << "<!DOCTYPE html>\n<title>x</title><p>An image from elsewhere: <img src=\"http://example.invalid/x\"></p>\n";
    }
    static void TearDownTestSuite() {
        delete pages_;
        pages_ = nullptr;
    }
    void SetUp() override {
        if (pages_ == nullptr) GTEST_SKIP() << browser << " is not installed, so the page can't be opened in a browser";
    }
    // The report's DOM, opened once for the tests that read it.
    static const BrowserRun& reportDom() {
        static const BrowserRun run = openInChromium(pages_->folder.path(), pages_->report, {"--dump-dom"});
        return run;
    }

    static Pages* pages_;
};

ReportInBrowser::Pages* ReportInBrowser::pages_ = nullptr;

} // namespace

TEST_F(ReportInBrowser, TrapCatchesAPageThatReachesOut) {
    const BrowserRun run = openInChromium(pages_->folder.path(), pages_->reachingOut, {"--dump-dom"});
    ASSERT_EQ(run.chromium.status, 0) << run.chromium.err;
    ASSERT_FALSE(run.connections.empty()) << "the trap saw nothing, so it proves nothing";
    EXPECT_NE(joined(run.connections).find("example.invalid"), std::string::npos) << joined(run.connections);
}

TEST_F(ReportInBrowser, PageMakesNoRequest) {
    const BrowserRun& run = reportDom();
    ASSERT_EQ(run.chromium.status, 0) << run.chromium.err;
    ASSERT_NE(run.chromium.out.find("</html>"), std::string::npos) << "the page did not load";
    EXPECT_TRUE(run.connections.empty()) << "requests made:" << joined(run.connections);
}

TEST_F(ReportInBrowser, PageReachesForNothingEvenWithoutItsPolicy) {
    const BrowserRun run = openInChromium(pages_->folder.path(), pages_->reportWithoutPolicy, {"--dump-dom"});
    ASSERT_EQ(run.chromium.status, 0) << run.chromium.err;
    EXPECT_TRUE(run.connections.empty()) << "requests made:" << joined(run.connections);
}

TEST_F(ReportInBrowser, HostileNamesStayText) {
    const std::string& dom = reportDom().chromium.out;
    const std::set<std::string> pageTags{"!DOCTYPE", "html", "head", "meta", "title", "style", "body", "main",
        "header", "p", "h1", "time", "dl", "div", "dt", "dd", "section", "h2", "table", "colgroup", "col", "thead",
        "tbody", "tr", "th", "td", "span", "wbr", "footer"};
    std::set<std::string> foreign;
    for (const std::string& tag : tagsOf(dom))
        if (!pageTags.contains(tag)) foreign.insert("<" + tag);
    EXPECT_TRUE(foreign.empty()) << "markup the page does not write: " << joined({foreign.begin(), foreign.end()});
    std::string lower = dom;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    EXPECT_EQ(lower.find("<script"), std::string::npos);
    EXPECT_TRUE(std::none_of(dom.begin(), dom.end(), [](char c) { return (c >= 0 && c < 0x20 && c != '\n') || c == 0x7F; }))
        << "a raw control byte reached the page";
    for (const char* text : {"<title>Disk report: /scans/&lt;script&gt;alert(1)&lt;/script&gt;</title>",
                             "&lt;img src=x onerror=alert(1)&gt;</td>", "Tom's &amp; Jerry's</td>", "say \"hi\"</td>",
                             "bell␇ esc␛[31m del␡.txt</td>", "line␊break</td>", "&lt;!-- open</td>", "]]&gt;&lt;b&gt;bold</td>",
                             "&lt;tr&gt;&lt;td&gt;a row of its own</td>"})
        EXPECT_NE(dom.find(text), std::string::npos) << text;
}

TEST_F(ReportInBrowser, TableHoldsOneRowPerListedNode) {
    const std::multiset<std::string> tags = tagsOf(reportDom().chromium.out);
    EXPECT_EQ(tags.count("tr"), HostileTree::listedRows + 2) << "a head row in each of the two tables";
    EXPECT_EQ(tags.count("td"), HostileTree::listedRows * 3);
    EXPECT_EQ(tags.count("section"), 2u);
}

TEST_F(ReportInBrowser, ScreenshotsInLightAndDark) {
    const char* wanted = std::getenv("TESSEL_REPORT_SHOTS");
    const std::string folder = wanted != nullptr && wanted[0] != '\0' ? wanted : pages_->folder.path();
    std::filesystem::create_directories(folder);
    const std::string light = folder + "/report-light.png";
    const std::string dark = folder + "/report-dark.png";
    std::filesystem::remove(light);
    std::filesystem::remove(dark);
    const std::string size = "--window-size=1100,1000";
    for (const auto& [shot, scheme] : {std::pair{light, "--blink-settings=preferredColorScheme=1"},
                                       std::pair{dark, "--force-dark-mode"}}) {
        const BrowserRun run = openInChromium(pages_->folder.path(), pages_->report, {size, scheme, "--screenshot=" + shot});
        EXPECT_EQ(run.chromium.status, 0) << run.chromium.err;
        EXPECT_TRUE(run.connections.empty()) << "requests made:" << joined(run.connections);
        EXPECT_TRUE(contents(shot).starts_with("\x89PNG\r\n\x1a\n")) << shot << " is not a PNG";
    }
    EXPECT_NE(contents(light), contents(dark)) << "the dark scheme changed nothing";
    std::cout << "Screenshots of the report: " << light << " and " << dark << std::endl;
}
