#pragma once
// A fixture home of the test's own, whose Trash is the freedesktop one under
// it, with everything a removal model needs to move things there and back.

#include <gtest/gtest.h>

#include <unistd.h>

#include <QSignalSpy>

#include "removal/DeletionModel.h"
#include "Fixture.h"
#include "linux/FreedesktopTrash.h"

namespace tessel::test {

class RemovalHome : public testing::Test {
protected:
    RemovalHome() { worker.setMaxThreadCount(1); }

    TempFolder folder;
    std::string home = folder / "home";
    FreedesktopTrash bin{{home, home + "/.local/share", geteuid(), {}}};
    LocalFileManager files;
    QThreadPool worker;
    AppNotifications notices;
    RemovalEnvironment environment{{home, std::nullopt, Platform::linuxOS, {}}, &files, &bin, &worker, &notices, "", {}};

    // Until the model's move or undo is done.
    static void waitFor(RemovalModel& model) {
        QSignalSpy done(&model, &RemovalModel::finished);
        ASSERT_TRUE(done.wait(5000));
    }
};

} // namespace tessel::test
