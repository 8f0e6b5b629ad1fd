#include "UninstallKit/StartupItem.h"

#include <array>

namespace tessel::StartupItemKinds {

namespace {

struct Words {
    std::string_view label, title, rawValue;
};

// In the order of the cases.
constexpr std::array<Words, 9> words{{
    {"Launch agent (your account)", "Launch agents (your account)", "userAgent"},
    {"Launch agent (all accounts)", "Launch agents (all accounts)", "globalAgent"},
    {"Launch daemon", "Launch daemons", "daemon"},
    {"Privileged helper tool", "Privileged helper tools", "helperTool"},
    {"System extension", "System extensions", "systemExtension"},
    {"Login item", "Login items", "loginItem"},
    {"Background service", "Background services", "backgroundService"},
    {"Scheduled job", "Scheduled jobs", "scheduledJob"},
    {"System service", "System services", "systemService"},
}};

const Words& of(StartupItemKind kind) { return words.at(static_cast<std::size_t>(kind)); }

} // namespace

std::string_view label(StartupItemKind kind) { return of(kind).label; }
std::string_view title(StartupItemKind kind) { return of(kind).title; }
std::string_view rawValue(StartupItemKind kind) { return of(kind).rawValue; }

} // namespace tessel::StartupItemKinds
