// XcbBounded: libxcb with deadlines.
//
// libxcb waits without a limit in two places: xcb_connect() reads the
// server's greeting, and xcb_wait_for_reply() (and the *_reply() functions
// built on it) a reply. A server that accepted the connection and then
// stopped answering would hold either forever. So this file does both waits
// itself:
//
// - Connecting: the socket is opened here, without blocking (a server whose
//   queue of new connections is full refuses at once), and handed to
//   xcb_connect_to_fd() on a thread of its own. When the greeting has not
//   come by the deadline, the socket is shut down under it: libxcb's read
//   then ends, xcb_connect_to_fd() returns a failed connection, and the
//   thread is joined. libxcb is handed a duplicate of the socket, so that
//   the one shut down here is still ours, whatever libxcb closed meanwhile.
// - Replies: requests go out as cookies (libxcb's asynchronous requests),
//   one flush sends them all, and xcb_poll_for_reply() collects each reply
//   without blocking, with poll() on the socket up to the deadline between
//   tries. A reader of 50 windows makes two round trips, not 150.
//
//     DISPLAY=:1, a server stopped with SIGSTOP:
//       connect(1, now + 300 ms)   the socket connects (the kernel queues
//                                  it), the greeting never comes; after
//                                  300 ms: shutdown, join, null
//
// The cookie is found as libxcb finds it for a local socket: the
// MIT-MAGIC-COOKIE-1 that the authority file keeps for this host's name and
// the display's number. A server that refuses the connection says why, and
// libxcb writes that reason to standard error itself.

#include "linux/XcbBounded.h"

#include <X11/Xauth.h>
#include <xcb/xcbext.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <thread>

namespace tessel::XcbBounded {

namespace {

// A socket connected to the display's: the abstract name first, as libxcb
// tries on Linux, then the file in /tmp/.X11-unix.
int openSocket(int number) {
    const std::string path = "/tmp/.X11-unix/X" + std::to_string(number);
    for (bool abstract : {true, false}) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::size_t offset = abstract ? 1 : 0; // an abstract name starts with a NUL
        if (offset + path.size() + 1 > sizeof(address.sun_path)) return -1;
        std::memcpy(address.sun_path + offset, path.data(), path.size());
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + offset + path.size() + (abstract ? 0 : 1));
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (fd < 0) return -1;
        if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0) return fd;
        close(fd);
    }
    return -1;
}

struct Cookie {
    Xauth* entry = nullptr;
    ~Cookie() {
        if (entry != nullptr) XauDisposeAuth(entry);
    }
};

void findCookie(int number, Cookie& cookie) {
    char host[256] = {};
    if (gethostname(host, sizeof(host) - 1) != 0) return;
    const std::string display = std::to_string(number);
    char name[] = "MIT-MAGIC-COOKIE-1";
    char* names[] = {name};
    const int lengths[] = {static_cast<int>(sizeof(name) - 1)};
    cookie.entry = XauGetBestAuthByAddr(FamilyLocal, static_cast<unsigned short>(std::strlen(host)), host,
                                        static_cast<unsigned short>(display.size()), display.c_str(), 1, names, lengths);
}

} // namespace

std::optional<Display> localDisplay(const std::string& display) {
    char* host = nullptr;
    Display found;
    if (display.empty() || xcb_parse_display(display.c_str(), &host, &found.number, &found.screen) == 0) return std::nullopt;
    const bool local = host == nullptr || host[0] == '\0' || std::strcmp(host, "unix") == 0;
    std::free(host);
    if (!local || found.number < 0 || found.screen < 0) return std::nullopt;
    return found;
}

Connection connect(int number, Clock::time_point deadline) {
    const int fd = openSocket(number);
    if (fd < 0) return nullptr;
    const int handed = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (handed < 0) {
        close(fd);
        return nullptr;
    }
    Cookie cookie;
    findCookie(number, cookie);
    xcb_auth_info_t auth{};
    if (cookie.entry != nullptr) {
        auth.namelen = cookie.entry->name_length;
        auth.name = cookie.entry->name;
        auth.datalen = cookie.entry->data_length;
        auth.data = cookie.entry->data;
    }

    std::mutex lock;
    std::condition_variable greeted;
    bool done = false;
    xcb_connection_t* made = nullptr;
    std::thread greeter([&] {
        xcb_connection_t* connection = xcb_connect_to_fd(handed, cookie.entry != nullptr ? &auth : nullptr);
        const std::lock_guard<std::mutex> held(lock);
        made = connection;
        done = true;
        greeted.notify_one();
    });
    bool late = false;
    {
        std::unique_lock<std::mutex> held(lock);
        if (!greeted.wait_until(held, deadline, [&] { return done; })) {
            late = true;
            shutdown(fd, SHUT_RDWR);
        }
    }
    greeter.join();
    close(fd);
    Connection connection(made);
    if (late || xcb_connection_has_error(connection.get()) != 0) return nullptr;
    return connection;
}

std::optional<std::vector<Reply>> await(xcb_connection_t* connection, const std::vector<unsigned>& requests,
                                        Clock::time_point deadline) {
    // The few requests of a reader fit in the socket's buffer, so the flush
    // does not wait on the server.
    if (xcb_flush(connection) <= 0) return std::nullopt;
    const int fd = xcb_get_file_descriptor(connection);
    std::vector<Reply> replies;
    replies.reserve(requests.size());
    for (unsigned request : requests) {
        for (;;) {
            void* reply = nullptr;
            xcb_generic_error_t* error = nullptr;
            if (xcb_poll_for_reply(connection, request, &reply, &error) != 0) {
                std::free(error);
                if (xcb_connection_has_error(connection) != 0) {
                    std::free(reply);
                    return std::nullopt;
                }
                replies.emplace_back(reply);
                break;
            }
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            if (left <= 0) return std::nullopt;
            pollfd readable{fd, POLLIN, 0};
            if (poll(&readable, 1, static_cast<int>(std::min<long long>(left, 60'000))) < 0 && errno != EINTR)
                return std::nullopt;
        }
    }
    return replies;
}

} // namespace tessel::XcbBounded
