#pragma once
// The jobs cron runs: the lines of /etc/crontab and of the files in
// /etc/cron.d, the scripts of /etc/cron.hourly, .daily, .weekly and
// .monthly, and the user's own crontab where this account may read it.

#include <string>
#include <utility>
#include <vector>

#include "UninstallKit/StartupItem.h"
#include "UninstallKit/StartupMachine.h"

namespace tessel::CronJobs {

// Where cron keeps the user's own table: /var/spool/cron/crontabs/USER.
std::string userTable(const StartupMachine& machine);

// One item per job line and per script; files that could not be read are added to `unreadable`.
std::vector<StartupItem> read(const StartupMachine& machine, std::vector<std::pair<std::string, std::string>>& unreadable);

// The command of one job split into words: none when the shell must read it
// (pipes, redirections, variables, quotes, several commands).
std::optional<std::vector<std::string>> simpleCommand(std::string_view command);

} // namespace tessel::CronJobs
