// ewmh-stand-in [--windows N] [--hidden M] [--front mine|others] [--seconds S]
//
// Plays the window manager on $DISPLAY (an Xvfb, say) for as long as it
// runs, or S seconds: it announces itself, makes N windows of its own
// (M of them minimised), and four times a second lists them with every
// mapped top-level window that another program made and marked with its
// pid, and puts in front the first of those (others, the default) or its own
// first window (mine). So the app under test, run on the same display, sees
// a desktop whose windows are known.
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "X11Stage.h"

namespace {

volatile sig_atomic_t stopping = 0;

void stop(int) { stopping = 1; }

} // namespace

int main(int argc, char** argv) {
    int windows = 2, hidden = 1;
    double seconds = -1;
    bool frontMine = false;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i], value = argv[i + 1];
        if (option == "--windows") windows = std::stoi(value);
        else if (option == "--hidden") hidden = std::stoi(value);
        else if (option == "--seconds") seconds = std::stod(value);
        else if (option == "--front") frontMine = value == "mine";
        else {
            std::fprintf(stderr, "usage: ewmh-stand-in [--windows N] [--hidden M] [--front mine|others] [--seconds S]\n");
            return 2;
        }
    }
    const char* display = std::getenv("DISPLAY");
    if (display == nullptr) {
        std::fprintf(stderr, "ewmh-stand-in: no DISPLAY\n");
        return 1;
    }
    signal(SIGTERM, stop);
    signal(SIGINT, stop);
    tessel::test::FakeWindowManager manager(display);
    manager.manage();
    std::vector<tessel::test::FakeWindowManager::Window> mine;
    for (int i = 0; i < windows; ++i) mine.push_back(manager.window(static_cast<std::uint32_t>(getpid()), i < hidden));
    std::fprintf(stderr, "ewmh-stand-in: managing %s as pid %d with %d windows, %d hidden\n", display, getpid(), windows, hidden);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (stopping == 0 && (seconds < 0 || std::chrono::steady_clock::now() < end)) {
        const std::vector<tessel::test::FakeWindowManager::Window> others = manager.othersWindows();
        std::vector<tessel::test::FakeWindowManager::Window> clients = mine;
        clients.insert(clients.end(), others.begin(), others.end());
        manager.list(clients);
        tessel::test::FakeWindowManager::Window front = 0;
        if (!frontMine && !others.empty()) front = others.front();
        else if (windows > hidden) front = mine[static_cast<std::size_t>(hidden)];
        manager.activate(front);
        manager.sync();
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
    }
    return 0;
}
