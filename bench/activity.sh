#!/usr/bin/env bash
# activity.sh [ROUNDS] [CHILDREN]: the whole `tessel activity` process beside
# `ps -eo pid,pcpu,rss`, and beside `ps -eo pid,pcpu,pss`, which reads the
# same smaps_rollup for the same memory figure, in ROUNDS (default 21)
# interleaved rounds, with
# CHILDREN (default 300) sleeping processes of this user started first and
# ended after. The cost is the processor time each process used, user and
# system (what /proc costs is mostly the kernel's); tessel walks /proc twice,
# 0.05 s apart, as its CPU share needs, ps once. Prints each tool's median,
# fastest and slowest in milliseconds, and the ratios of the medians.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
rounds=${1:-21}
children=${2:-300}
cmake --preset release >/dev/null
cmake --build --preset release -j2 --target tessel activity-bench >/dev/null
tessel=$top/build/release/bin/tessel

sleepers=()
for ((i = 0; i < children; i++)); do
    sleep 100000 &
    sleepers+=($!)
done
trap 'kill "${sleepers[@]}" 2>/dev/null; wait 2>/dev/null || true' EXIT
uptime

python3 - "$rounds" "$tessel" <<'PY'
import resource, subprocess, sys, statistics
rounds, tessel = int(sys.argv[1]), sys.argv[2]
commands = {"tessel activity": [tessel, "activity", "--interval", "0.05"], "ps -eo pid,pcpu,rss": ["ps", "-eo", "pid,pcpu,rss"],
            "ps -eo pid,pcpu,pss": ["ps", "-eo", "pid,pcpu,pss"]}
costs = {name: [] for name in commands}
for _ in range(rounds):
    for name, command in commands.items():
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        costs[name].append((after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime) * 1e3)
for name, values in costs.items():
    print(f"{name:22} median {statistics.median(values):7.2f} ms   min {min(values):7.2f}   max {max(values):7.2f}   ({rounds} rounds)")
for peer in ("ps -eo pid,pcpu,rss", "ps -eo pid,pcpu,pss"):
    print(f"ratio tessel activity / {peer} (medians) {statistics.median(costs['tessel activity']) / statistics.median(costs[peer]):.2f}")
PY
