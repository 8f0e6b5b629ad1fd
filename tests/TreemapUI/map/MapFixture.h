#pragma once
// A map over a tree built in memory, published as a completed scan, with the
// waits its background work asks for.

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "map/SpaceMapModel.h"
#include "scan/ScannedTree.h"
#include "TreeBuilder.h"

namespace tessel::test {

struct MapFixture : testing::Test, test::TreeBuilder {
    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    ScannedTree tree;
    SpaceMapModel model{tree, &settings};

    void start() {
        ScanResult result;
        result.root = shared();
        tree.replace(std::move(result));
    }
    // Waits for the lens and the search at work, and for any older answer still on its way back.
    void settle() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isWorking() && !model.isSearching(); }, 5000));
        tree.waitForJobs();
        QCoreApplication::processEvents();
    }
    void remove(FileNode* node) { tree.detach({node->path()}); }
    const MapItem& shown(const std::string& name) const {
        for (const MapItem& item : model.items())
            if (item.name == name) return item;
        throw std::runtime_error("not shown: " + name);
    }
    static QString id(const MapItem& item) { return QString::fromStdString(item.id); }
};

} // namespace tessel::test
