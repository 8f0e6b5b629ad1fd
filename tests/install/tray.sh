#!/usr/bin/env bash
# The tray as an X11 desktop has it: on Xvfb with a system tray of the
# XEmbed kind, the app's icon docks into the tray when the settings ask for
# it, a click on the icon opens the panel of readings, a second click closes
# it, and Escape closes it too.
source "$(dirname "$0")/lib.sh"
need Xvfb
need trayer
need xdotool
need xwininfo

work=$(mktemp -d)
started=()
cleanup() {
    for pid in "${started[@]}"; do kill "$pid" 2>/dev/null; done
    wait 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

# Wider than the window, so that the tray at the top right stays uncovered:
# with no window manager, nothing keeps the window off it.
exec 3>"$work/display"
Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
started+=($!)
wait_for 20 "Xvfb naming its display" test -s "$work/display" || exit 1
export DISPLAY=:$(head -n 1 "$work/display")

trayer --edge top --align right --widthtype request --height 32 >"$work/trayer.log" 2>&1 &
started+=($!)

export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
export XDG_CACHE_HOME=$work/home/.cache XDG_STATE_HOME=$work/home/.local/state XDG_RUNTIME_DIR=$work/run
export QT_QPA_PLATFORM=xcb QT_QUICK_BACKEND=software ASAN_OPTIONS=detect_leaks=0
export DBUS_SESSION_BUS_ADDRESS=unix:path=$work/no-bus
mkdir -p "$XDG_CONFIG_HOME/Tessel" "$work/folder" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
printf '[General]\ntessel.menuBarExtra=true\ntessel.menuBar.cpu=true\n' >"$XDG_CONFIG_HOME/Tessel/Tessel.conf"

# The icon: the app's window inside the tray's panel.
icon() { xwininfo -root -tree | awk '/"panel" "trayer"/ { inside = 1 } inside && /"tessel-app"/ { print $1; exit }'; }
# The panel of readings: a window of the app's own, at the top, on screen.
panel_shown() {
    local window
    for window in $(xwininfo -root -children | awk '$2 == "\"Tessel\":" { print $1 }'); do
        xwininfo -id "$window" | grep -q IsViewable && return 0
    done
    return 1
}
panel_hidden() { ! panel_shown; }
docked() { [ -n "$(icon)" ]; }

"$bin/tessel-app" "$work/folder" >"$work/app.log" 2>&1 &
started+=($!)
wait_for 60 "the icon docking into the tray" docked || { cat "$work/app.log"; exit 1; }
panel_hidden || fail "the panel was open before anybody clicked"

xdotool mousemove --window "$(icon)" 5 5 click 1
wait_for 20 "the panel opening on a click on the icon" panel_shown
xdotool mousemove --window "$(icon)" 5 5 click 1
wait_for 20 "the panel closing on a second click" panel_hidden
xdotool mousemove --window "$(icon)" 5 5 click 1
wait_for 20 "the panel opening again" panel_shown
xdotool key Escape
wait_for 20 "the panel closing on Escape" panel_hidden
exit $failed
