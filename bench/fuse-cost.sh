#!/usr/bin/env bash
# fuse-cost.sh [--uncached] TREE [ROUNDS]: what reading through the reader process costs on
# a FUSE mount that answers. Mounts TREE through fuse_passthrough.py (root and
# python3-fusepy needed) and times, in interleaved rounds, tessel scan and
# tessel duplicates on it as built (folders and files read by tessel-reader)
# and from a copy of the tool with no reader beside it (read in its own
# process, as before). Prints min, median and max wall seconds of each, and
# the ratio of the medians. With --uncached the kernel caches nothing of the
# mount, so every look-up and read goes to the daemon. The mount is undone
# however the script ends.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
uncached=()
if [ "${1:-}" = --uncached ]; then uncached=(--uncached); shift; fi
tree=${1:?usage: fuse-cost.sh [--uncached] TREE [ROUNDS]}
rounds=${2:-5}
tool=$top/build/release/bin/tessel
[ -x "$tool" ] && [ -x "$top/build/release/bin/tessel-reader" ] || { echo "fuse-cost.sh: build the release preset first" >&2; exit 1; }

work=$(mktemp -d)
mkdir "$work/mnt" "$work/alone"
cp "$tool" "$work/alone/tessel"
/usr/bin/python3 "$here/fuse_passthrough.py" "${uncached[@]}" "$tree" "$work/mnt" > "$work/daemon.log" 2>&1 &
daemon=$!
cleanup() {
  kill -9 "$daemon" 2>/dev/null || true
  umount -l "$work/mnt" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
for _ in $(seq 100); do grep -q " $work/mnt " /proc/self/mountinfo && break; sleep 0.05; done
grep -q " $work/mnt " /proc/self/mountinfo || { cat "$work/daemon.log" >&2; exit 1; }

declare -A times
measure() { # name command...
  local name=$1; shift
  local start end
  start=$(date +%s.%N)
  "$@" > /dev/null
  end=$(date +%s.%N)
  times[$name]+="$(echo "$end - $start" | bc) "
}
# Both ways must give the same answer, or the times compare nothing.
for way in "$tool" "$work/alone/tessel"; do
  "$way" scan --json "$work/mnt" | python3 -c 'import json,sys; d=json.load(sys.stdin); print("scan:", d["files"], "files,", d["bytes"], "bytes")'
  "$way" duplicates --json --min-size 100000 "$work/mnt" |
    python3 -c 'import json,sys; d=json.load(sys.stdin); print("duplicates:", len(d["groups"]), "groups,", d["totalReclaimableBytes"], "bytes")'
done
# The order alternates from round to round: the first to read a folder warms the kernel's caches for the second.
for round in $(seq "$rounds"); do
  if [ $((round % 2)) = 1 ]; then ways=(reader alone); else ways=(alone reader); fi
  for way in "${ways[@]}"; do
    if [ "$way" = reader ]; then
      measure "scan, reader process" "$tool" scan --json "$work/mnt"
      measure "duplicates, reader process" "$tool" duplicates --json --min-size 100000 "$work/mnt"
    else
      measure "scan, in-process" "$work/alone/tessel" scan --json "$work/mnt"
      measure "duplicates, in-process" "$work/alone/tessel" duplicates --json --min-size 100000 "$work/mnt"
    fi
  done
done
for name in "scan, reader process" "scan, in-process" "duplicates, reader process" "duplicates, in-process"; do
  echo "$name: ${times[$name]}"
done | python3 -c '
import statistics, sys
medians = {}
for line in sys.stdin:
    name, values = line.split(":")
    values = sorted(float(v) for v in values.split())
    medians[name] = statistics.median(values)
    print(f"{name:28} min {values[0]:.3f}  median {medians[name]:.3f}  max {values[-1]:.3f}  ({len(values)} rounds)")
for job in ("scan", "duplicates"):
    reader, alone = medians[job + ", reader process"], medians[job + ", in-process"]
    print(f"{job}: reader process / in-process = {reader / alone:.2f}")'
