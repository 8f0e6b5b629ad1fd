#include "UninstallKit/SessionAnswers.h"

#include <memory>

#include "UninstallKit/CommandRunner.h"

namespace tessel::SessionAnswers {

namespace {

// The session's daemons answer at once or not at all.
CommandRunner::Limits shortLimits() {
    CommandRunner::Limits limits;
    limits.timeout = std::chrono::milliseconds(2000);
    limits.outputBytes = std::size_t{4} << 20;
    return limits;
}

} // namespace

ActivitySignals signals(const std::string& programFolder, DesktopWindows::Settings windows) {
    ActivitySignals answers;
    answers.assertionHolders = [busctl = programFolder + "/busctl"]() -> std::optional<PidSet> {
        const std::optional<std::string> said =
            CommandRunner::output(busctl, {"--json=short", "call", "org.freedesktop.login1", "/org/freedesktop/login1",
                                           "org.freedesktop.login1.Manager", "ListInhibitors"},
                                  shortLimits());
        return said ? ActivityAnswers::inhibitorHolders(*said) : std::nullopt;
    };
    answers.audioProcesses = [pactl = programFolder + "/pactl"]() -> std::optional<PidSet> {
        std::optional<PidSet> clients;
        for (const char* streams : {"sink-inputs", "source-outputs"}) {
            const std::optional<std::string> said = CommandRunner::output(pactl, {"--format=json", "list", streams}, shortLimits());
            const std::optional<PidSet> found = said ? ActivityAnswers::soundClients(*said) : std::nullopt;
            if (!found) continue;
            if (!clients) clients.emplace();
            clients->insert(found->begin(), found->end());
        }
        return clients;
    };
    answers.windows = [desktop = std::make_shared<DesktopWindows>(std::move(windows))] { return desktop->read().byPid; };
    return answers;
}

} // namespace tessel::SessionAnswers
