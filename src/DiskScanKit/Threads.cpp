#include "DiskScanKit/Threads.h"

#include <pthread.h>

#include <memory>
#include <system_error>

namespace tessel {

namespace {
constexpr std::size_t kernelNameLimit = 15;

struct Start {
    std::string name;
    std::function<void()> body;
};

void* runBody(void* argument) {
    std::unique_ptr<Start> start(static_cast<Start*>(argument));
    // Named from inside: a detached thread may be gone before its creator could name it.
    pthread_setname_np(pthread_self(), start->name.c_str());
    start->body();
    return nullptr;
}
} // namespace

std::string threadName(std::string_view prefix, int number) {
    return std::string(prefix) + std::to_string(number);
}

std::string kernelThreadName(std::string_view prefix, int number) {
    std::string digits = std::to_string(number);
    if (digits.size() >= kernelNameLimit) return digits.substr(digits.size() - kernelNameLimit);
    std::size_t room = kernelNameLimit - digits.size();
    return std::string(prefix.substr(0, room)) + digits;
}

void startDetachedThread(std::string_view prefix, int number, std::size_t stackBytes,
                         std::function<void()> body) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    auto* argument = new Start{kernelThreadName(prefix, number), std::move(body)};
    pthread_t thread;
    int error = pthread_create(&thread, &attributes, runBody, argument);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        delete argument;
        throw std::system_error(error, std::generic_category(), "pthread_create");
    }
}

} // namespace tessel
