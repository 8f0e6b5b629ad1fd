#!/usr/bin/env bash
# owners.sh [COUNT] [ROUNDS]: the whole `tessel owner` process beside
# `dpkg -S`, both asked for the same COUNT (default 1000) packaged files of
# this machine, picked at random once, in ROUNDS (default 11) interleaved
# rounds. Tessel's index is cached before the first round, as it is after
# any first run. Prints each tool's median, fastest and slowest wall time,
# and checks that both name the same packages for every path.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
count=${1:-1000}
rounds=${2:-11}
cmake --preset release >/dev/null && cmake --build --preset release -j2 --target tessel owners-bench >/dev/null
tessel=$top/build/release/bin/tessel
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CACHE_HOME=$work/cache

# Regular files that no diversion touches and that need no quoting, picked
# with a fixed seed so that every run asks the same paths.
dpkg-query -W -f='${db:Status-Abbrev}|${binary:Package}\n' >"$work/packages"
python3 - "$work/packages" "$count" >"$work/paths" <<'PY'
import os, random, stat, sys
diverted = set(open("/var/lib/dpkg/diversions").read().split("\n")) if os.path.exists("/var/lib/dpkg/diversions") else set()
files = []
for line in open(sys.argv[1]):
    state, _, package = line.rstrip("\n").partition("|")
    if not state.startswith("ii"): continue
    try: listed = open(f"/var/lib/dpkg/info/{package}.list", errors="surrogateescape").read().split("\n")
    except OSError: continue
    for path in listed:
        if not path.startswith("/") or path in diverted or any(c in path for c in "[]*?\\' "): continue
        try:
            if stat.S_ISREG(os.lstat(path).st_mode): files.append(path)
        except OSError: pass
random.Random(13).shuffle(files)
print("\n".join(files[: int(sys.argv[2])]))
PY
mapfile -t paths <"$work/paths"
echo "${#paths[@]} packaged files"

"$tessel" owner --json "${paths[@]}" >"$work/ours.json"
dpkg -S "${paths[@]}" 2>/dev/null >"$work/theirs.txt" || true
python3 - "$work/ours.json" "$work/theirs.txt" <<'PY'
import json, sys
ours = {o["path"]: set(o["packages"]) for o in json.load(open(sys.argv[1]))["owners"]}
theirs = {}
for line in open(sys.argv[2]):
    names, _, path = line.rstrip("\n").partition(": /")
    if line.startswith("diversion by"): continue
    theirs["/" + path] = {n.strip() for n in names.split(",")}
wrong = [p for p in ours if ours[p] != theirs.get(p, set())]
print(f"answers compared: {len(ours)}, disagreeing: {len(wrong)}")
for p in wrong[:10]: print("  ", p, sorted(ours[p]), sorted(theirs.get(p, set())))
PY

now() { date +%s.%N; }
: >"$work/tessel.times"; : >"$work/dpkg.times"
for _ in $(seq "$rounds"); do
  start=$(now); "$tessel" owner --json "${paths[@]}" >/dev/null; end=$(now)
  echo "$end - $start" | bc >>"$work/tessel.times"
  start=$(now); dpkg -S "${paths[@]}" >/dev/null 2>&1 || true; end=$(now)
  echo "$end - $start" | bc >>"$work/dpkg.times"
done
for tool in tessel dpkg; do
  sort -n "$work/$tool.times" | awk -v tool="$tool" '{t[NR]=$1} END {printf "%-7s median %.3f s   min %.3f   max %.3f   (%d rounds)\n", tool, t[int((NR+1)/2)], t[1], t[NR], NR}'
done
"$top/build/release/bin/owners-bench" / 9
