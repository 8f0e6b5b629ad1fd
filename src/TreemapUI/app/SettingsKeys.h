#pragma once
// The keys under which the app remembers its settings. Each is read with its
// default where it is used; a missing or odd value is never a reason to fail.

namespace tessel::SettingsKey {

inline constexpr const char* theme = "tessel.theme";
inline constexpr const char* translucent = "tessel.translucent";
inline constexpr const char* menuBarExtra = "tessel.menuBarExtra";
inline constexpr const char* menuBarFreeSpace = "tessel.menuBarFreeSpace";
inline constexpr const char* menuBarCpu = "tessel.menuBar.cpu";
inline constexpr const char* menuBarMemory = "tessel.menuBar.memory";
inline constexpr const char* menuBarNetwork = "tessel.menuBar.network";
inline constexpr const char* menuBarBattery = "tessel.menuBar.battery";
inline constexpr const char* panelStyle = "tessel.panel.style";
inline constexpr const char* guideSeen = "tessel.guideSeen";
inline constexpr const char* lastRunVersion = "tessel.lastRunVersion";
inline constexpr const char* lastScan = "tessel.lastScan";
inline constexpr const char* countsVolumeTrash = "tessel.countsVolumeTrash";
inline constexpr const char* reportTab = "tessel.report.tab";
inline constexpr const char* sortDuplicates = "tessel.sort.duplicates";
inline constexpr const char* sortLargeFiles = "tessel.sort.largeFiles";
inline constexpr const char* sortHiddenFiles = "tessel.sort.hiddenFiles";
inline constexpr const char* sortUninstaller = "tessel.sort.uninstaller";
inline constexpr const char* searchRecent = "tessel.search.recent";
inline constexpr const char* searchSaved = "tessel.search.saved";
inline constexpr const char* mapListOrder = "tessel.map.listOrder";
inline constexpr const char* quietRelaunch = "tessel.update.quietRelaunch";
inline constexpr const char* alertsLowDisk = "tessel.alerts.lowDisk";
inline constexpr const char* alertsLowDiskPercent = "tessel.alerts.lowDiskPercent";
inline constexpr const char* alertsWeeklyJunk = "tessel.alerts.weeklyJunk";
// What the last junk search found, and when: the overview shows it at the next launch.
inline constexpr const char* junkLastFound = "tessel.junk.lastFound";

} // namespace tessel::SettingsKey
