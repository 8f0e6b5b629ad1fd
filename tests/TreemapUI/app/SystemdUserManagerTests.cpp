// The user's systemd manager over the session bus: where it can't be
// reached, every call says why rather than passing for done, so that the
// switch changes the files itself.
#include <gtest/gtest.h>

#include <QDBusConnection>

#include "linux/SystemdUserManager.h"

using namespace tessel;

namespace {

TEST(SystemdUserManager, WithoutAManagerToAskEveryCallSaysWhy) {
    if (QDBusConnection::sessionBus().isConnected())
        GTEST_SKIP() << "a session bus is here, and the user's real manager must not be asked to change anything";
    SystemdUserManager manager;
    const std::vector<std::string> units{"tessel-absent.service"};
    for (const std::optional<std::string>& answer : {manager.disableUnitFiles(units), manager.enableUnitFiles(units), manager.reload()})
        EXPECT_EQ(answer, "There is no session bus to reach your systemd manager on.");
}

} // namespace
