#!/usr/bin/env bash
# One window: on a private session bus, a second tessel-app hands its folder
# (given relative to where it ran) and its room to the window already open and
# exits at once, and that window scans the folder. Without a session bus the
# app runs alone. A scan shows as the snapshot the window keeps after it.
source "$(dirname "$0")/lib.sh"
need dbus-run-session
need dbus-send

if [ -z "${TESSEL_PRIVATE_BUS:-}" ]; then
    TESSEL_PRIVATE_BUS=1 exec dbus-run-session -- bash "$0" "$@"
fi

work=$(mktemp -d)
started=()
cleanup() {
    for pid in "${started[@]}"; do kill "$pid" 2>/dev/null; done
    wait
    rm -rf "$work"
}
trap cleanup EXIT

export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
export XDG_CACHE_HOME=$work/home/.cache XDG_STATE_HOME=$work/home/.local/state
export QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software
for folder in home first second alone; do
    mkdir -p "$work/$folder/inside"
    head -c 2000000 /dev/zero >"$work/$folder/inside/data"
done
id=$(app_id) || exit 1

owns_name() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner "string:$id" |
        grep -q 'boolean true'
}
scanned() { "$bin/tessel" snapshots --json "$1" | grep -q '"date"'; }

"$bin/tessel-app" "$work/first" >"$work/first.log" 2>&1 &
first=$!
started+=("$first")
wait_for 120 "the first window owning $id on the session bus" owns_name || { cat "$work/first.log"; exit 1; }
wait_for 120 "the first window's own scan" scanned "$work/first"

(cd "$work" && timeout 60 "$bin/tessel-app" --room duplicates second) >"$work/second.log" 2>&1
status=$?
[ $status -eq 0 ] || { fail "the second launch ended with status $status"; cat "$work/second.log"; }
kill -0 "$first" 2>/dev/null || fail "the first window ended when the second launch came"
wait_for 60 "the first window scanning the folder handed to it" scanned "$work/second"

# No session bus: nobody to hand to, so the app runs, and scans, alone.
DBUS_SESSION_BUS_ADDRESS=unix:path=$work/no-bus "$bin/tessel-app" "$work/alone" >"$work/alone.log" 2>&1 &
alone=$!
started+=("$alone")
wait_for 120 "a window without a session bus scanning its folder" scanned "$work/alone" || cat "$work/alone.log"
kill -0 "$alone" 2>/dev/null || fail "without a session bus the app did not keep running"
exit $failed
