#include "X11Stage.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace tessel::test {

namespace {

bool waitFor(pid_t pid, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
        if (waitpid(pid, nullptr, WNOHANG) == pid) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

} // namespace

std::optional<std::string> XvfbServer::program() {
    const char* path = std::getenv("PATH");
    std::string folders = path != nullptr ? path : "/usr/bin:/bin";
    std::size_t at = 0;
    while (at <= folders.size()) {
        std::size_t end = folders.find(':', at);
        if (end == std::string::npos) end = folders.size();
        const std::string candidate = folders.substr(at, end - at) + "/Xvfb";
        if (end > at && access(candidate.c_str(), X_OK) == 0) return candidate;
        at = end + 1;
    }
    return std::nullopt;
}

std::unique_ptr<XvfbServer> XvfbServer::start(const std::string& authority) {
    const std::optional<std::string> xvfb = program();
    if (!xvfb) return nullptr;
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) return nullptr;
    // The server writes its display number to descriptor 3 once it listens.
    std::vector<std::string> words{*xvfb, "-displayfd", "3", "-nolisten", "tcp", "-screen", "0", "1280x900x24"};
    if (!authority.empty()) words.insert(words.end(), {"-auth", authority});
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ready[1], 3);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int spawned = posix_spawn(&pid, xvfb->c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ready[1]);
    if (spawned != 0) {
        close(ready[0]);
        return nullptr;
    }
    std::string said;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (said.find('\n') == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        pollfd readable{ready[0], POLLIN, 0};
        if (left <= 0 || poll(&readable, 1, static_cast<int>(left)) <= 0) break;
        char buffer[32];
        const ssize_t got = ::read(ready[0], buffer, sizeof buffer);
        if (got <= 0) break;
        said.append(buffer, static_cast<std::size_t>(got));
    }
    close(ready[0]);
    if (said.find('\n') == std::string::npos) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        return nullptr;
    }
    return std::unique_ptr<XvfbServer>(new XvfbServer(pid, std::stoi(said)));
}

XvfbServer::~XvfbServer() { stop(); }

void XvfbServer::pause() {
    if (pid_ > 0 && kill(pid_, SIGSTOP) == 0) paused_ = true;
}

void XvfbServer::resume() {
    if (pid_ > 0 && kill(pid_, SIGCONT) == 0) paused_ = false;
}

void XvfbServer::stop() {
    if (pid_ <= 0) return;
    if (paused_) resume();
    kill(pid_, SIGTERM);
    if (!waitFor(pid_, std::chrono::seconds(5))) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    pid_ = -1;
}

std::optional<ManagedDisplay> ManagedDisplay::start() {
    if (!XvfbServer::program()) return std::nullopt;
    ManagedDisplay display;
    display.server = XvfbServer::start();
    if (!display.server) throw std::runtime_error("Xvfb is installed but did not start");
    display.wm = std::make_unique<FakeWindowManager>(display.server->display());
    display.wm->manage();
    return display;
}

void writeAuthority(const std::string& path, int number, const std::string& cookie) {
    std::ofstream file(path, std::ios::binary);
    auto counted = [&](const std::string& bytes) {
        file.put(static_cast<char>((bytes.size() >> 8) & 0xff)).put(static_cast<char>(bytes.size() & 0xff));
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    };
    file.put('\xff').put('\xff'); // FamilyWild: any host
    counted("");
    counted(std::to_string(number));
    counted("MIT-MAGIC-COOKIE-1");
    counted(cookie);
}

FakeWindowManager::FakeWindowManager(const std::string& display) {
    connection_ = xcb_connect(display.c_str(), nullptr);
    if (xcb_connection_has_error(connection_) != 0) {
        xcb_disconnect(connection_);
        throw std::runtime_error("FakeWindowManager: can't connect to " + display);
    }
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
}

FakeWindowManager::~FakeWindowManager() { xcb_disconnect(connection_); }

std::uint32_t FakeWindowManager::atom(const char* name) {
    xcb_intern_atom_reply_t* reply =
        xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr);
    if (reply == nullptr) throw std::runtime_error(std::string("FakeWindowManager: no atom ") + name);
    const std::uint32_t found = reply->atom;
    std::free(reply);
    return found;
}

void FakeWindowManager::setWindows(Window window, std::uint32_t property, std::uint32_t type, const std::vector<std::uint32_t>& values) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, property, type, 32, static_cast<std::uint32_t>(values.size()),
                        values.data());
}

void FakeWindowManager::manage() {
    check_ = xcb_generate_id(connection_);
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, check_, root_, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    const std::uint32_t supporting = atom("_NET_SUPPORTING_WM_CHECK");
    setWindows(check_, supporting, XCB_ATOM_WINDOW, {check_});
    setWindows(root_, supporting, XCB_ATOM_WINDOW, {check_});
}

void FakeWindowManager::vanish() {
    if (check_ != 0) xcb_destroy_window(connection_, check_);
    check_ = 0;
}

FakeWindowManager::Window FakeWindowManager::window(std::optional<std::uint32_t> pid, bool hidden, bool dock) {
    const Window made = xcb_generate_id(connection_);
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, made, root_, 10, 10, 200, 120, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    if (pid) setWindows(made, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, {*pid});
    if (hidden) setWindows(made, atom("_NET_WM_STATE"), XCB_ATOM_ATOM, {atom("_NET_WM_STATE_HIDDEN")});
    if (dock) setWindows(made, atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, {atom("_NET_WM_WINDOW_TYPE_DOCK")});
    if (!hidden) xcb_map_window(connection_, made);
    return made;
}

void FakeWindowManager::destroy(Window window) { xcb_destroy_window(connection_, window); }

void FakeWindowManager::list(const std::vector<Window>& clients) {
    setWindows(root_, atom("_NET_CLIENT_LIST"), XCB_ATOM_WINDOW, clients);
}

void FakeWindowManager::activate(Window window) { setWindows(root_, atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, {window}); }

std::vector<FakeWindowManager::Window> FakeWindowManager::othersWindows() {
    std::vector<Window> found;
    xcb_query_tree_reply_t* tree = xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr);
    if (tree == nullptr) return found;
    const xcb_window_t* children = xcb_query_tree_children(tree);
    const std::uint32_t pid = atom("_NET_WM_PID");
    const std::uint32_t mine = xcb_get_setup(connection_)->resource_id_base;
    const std::uint32_t mask = xcb_get_setup(connection_)->resource_id_mask;
    for (int i = 0; i < xcb_query_tree_children_length(tree); ++i) {
        const xcb_window_t child = children[i];
        if ((child & ~mask) == mine) continue;
        xcb_get_window_attributes_reply_t* attributes =
            xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, child), nullptr);
        const bool mapped = attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        std::free(attributes);
        xcb_get_property_reply_t* property =
            xcb_get_property_reply(connection_, xcb_get_property(connection_, 0, child, pid, XCB_ATOM_CARDINAL, 0, 1), nullptr);
        const bool hasPid = property != nullptr && xcb_get_property_value_length(property) == 4;
        std::free(property);
        if (mapped && hasPid) found.push_back(child);
    }
    std::free(tree);
    return found;
}

void FakeWindowManager::sync() {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

} // namespace tessel::test
