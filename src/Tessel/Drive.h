#pragma once
// Runs of the app that drive it instead of a person: the self-test, which
// loads every room and fails on the first QML or model error; the screenshots
// of every room in both themes; and the stall probe, which measures the
// longest time the main thread was busy while a scan ran.

#include <QString>

#include <functional>

namespace tessel {

class TesselApp;

namespace Drive {

// Waits until the scan is ready or failed; false on time-out.
bool waitForScan(TesselApp& app, int seconds);
// Lets the window lay out and paint.
void settle(int milliseconds);
// Runs the event loop until `done` holds or `milliseconds` pass; whether it holds.
bool waitUntil(const std::function<bool()>& done, int milliseconds);

int selfTest(TesselApp& app);
// With `inFixture`, the scan is of the app's own fixture, whose Trash is its own too, so a
// move is confirmed, pictured and undone; otherwise the confirmation is only shown.
int screenshots(TesselApp& app, const QString& folder, bool inFixture);
int reportStalls(TesselApp& app);

// Collects QML warnings and errors from the moment it is installed.
void watchMessages();
QString firstProblem();

} // namespace Drive
} // namespace tessel
