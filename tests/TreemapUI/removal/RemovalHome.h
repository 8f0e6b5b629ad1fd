#pragma once
// A fixture home of the test's own, whose Trash is the freedesktop one under
// it, with a scan of it in a scanned tree and everything the removal road
// needs to move things there and back.

#include <gtest/gtest.h>

#include <unistd.h>

#include <QSignalSpy>

#include <map>
#include <string>
#include <vector>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"
#include "linux/FreedesktopTrash.h"
#include "removal/RemovalRoad.h"
#include "scan/ScannedTree.h"

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
    ScannedTree tree;
    RemovalEnvironment environment{{home, std::nullopt, Platform::linuxOS, {}}, &files, &bin, &worker, &notices, "", {}, {}};

    // Scans the home into the tree.
    void scanHome() { tree.replace(DiskScanner::scan(home)); }
    FileNode* node(const std::string& relative) const { return tree.nodeAt(home + "/" + relative); }

    // The road judges off the main thread: until its plan stands.
    static void waitForPlan(RemovalRoad& road) {
        if (road.hasPlan()) return;
        QSignalSpy planned(&road, &RemovalRoad::planChanged);
        ASSERT_TRUE(planned.wait(5000));
    }
    static void prepare(RemovalRoad& road, std::vector<DeletionCandidate> candidates,
                        std::map<std::string, std::string> labels = {}) {
        road.prepare(std::move(candidates), std::move(labels));
        waitForPlan(road);
    }

    // Until the road's move or undo is done.
    static void waitFor(RemovalRoad& road) {
        QSignalSpy done(&road, &RemovalRoad::finished);
        ASSERT_TRUE(done.wait(5000));
    }
};

} // namespace tessel::test
