#include "UninstallKit/StartupItem.h"

namespace tessel::StartupItemKinds {

std::string_view label(StartupItemKind kind) {
    switch (kind) {
    case StartupItemKind::userAgent: return "Launch agent (your account)";
    case StartupItemKind::globalAgent: return "Launch agent (all accounts)";
    case StartupItemKind::daemon: return "Launch daemon";
    case StartupItemKind::helperTool: return "Privileged helper tool";
    case StartupItemKind::systemExtension: return "System extension";
    case StartupItemKind::loginItem: return "Login item";
    case StartupItemKind::backgroundService: return "Background service";
    case StartupItemKind::scheduledJob: return "Scheduled job";
    case StartupItemKind::systemService: return "System service";
    }
    return "";
}

std::string_view title(StartupItemKind kind) {
    switch (kind) {
    case StartupItemKind::userAgent: return "Launch agents (your account)";
    case StartupItemKind::globalAgent: return "Launch agents (all accounts)";
    case StartupItemKind::daemon: return "Launch daemons";
    case StartupItemKind::helperTool: return "Privileged helper tools";
    case StartupItemKind::systemExtension: return "System extensions";
    case StartupItemKind::loginItem: return "Login items";
    case StartupItemKind::backgroundService: return "Background services";
    case StartupItemKind::scheduledJob: return "Scheduled jobs";
    case StartupItemKind::systemService: return "System services";
    }
    return "";
}

std::string_view rawValue(StartupItemKind kind) {
    switch (kind) {
    case StartupItemKind::userAgent: return "userAgent";
    case StartupItemKind::globalAgent: return "globalAgent";
    case StartupItemKind::daemon: return "daemon";
    case StartupItemKind::helperTool: return "helperTool";
    case StartupItemKind::systemExtension: return "systemExtension";
    case StartupItemKind::loginItem: return "loginItem";
    case StartupItemKind::backgroundService: return "backgroundService";
    case StartupItemKind::scheduledJob: return "scheduledJob";
    case StartupItemKind::systemService: return "systemService";
    }
    return "";
}

} // namespace tessel::StartupItemKinds
