#pragma once
// The user's systemd manager, asked over the session bus
// (org.freedesktop.systemd1, /org/freedesktop/systemd1, its Manager
// interface): it takes a unit's links away or makes them, as
// `systemctl --user disable` and `enable` would, and reloads. Where no
// manager answers, each call says why, and StartupSwitch changes the files
// itself.

#include "UninstallKit/StartupSwitch.h"

namespace tessel {

class SystemdUserManager final : public UserUnitManager {
public:
    std::optional<std::string> disableUnitFiles(const std::vector<std::string>& units) override;
    std::optional<std::string> enableUnitFiles(const std::vector<std::string>& units) override;
    std::optional<std::string> reload() override;
};

} // namespace tessel
