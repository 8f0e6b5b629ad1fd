#pragma once
// Opening the app at login, through the desktop's autostart folder: a
// .desktop file in $XDG_CONFIG_HOME/autostart (default ~/.config/autostart).
// Switching it off marks our own entry hidden rather than removing the file.

#include <QString>

#include <functional>

namespace tessel::OpenAtLogin {

QString entryPath();
bool read();
// Calls `then` with whether the change was written.
void set(bool on, const std::function<void(bool written)>& then = {});

} // namespace tessel::OpenAtLogin
