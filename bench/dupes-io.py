#!/usr/bin/env python3
"""dupes-io.py [--cold] [--rounds N] [--dir DIR]: what each duplicate finder
costs on the duplicate corpus beyond its wall time: the bytes it reads through
read calls and from the disk, its CPU time and its peak memory, with the page
cache warm or dropped before every run.

The finders and their command lines are the benchmark kit's (its bench.py,
in $TESSEL_BENCH_KIT or ../shared/bench), with Tessel's beside them. The kit's
peers.sh judges their answers and warm times; this adds what it can't see.
The counters come from /proc/PID/io of the /usr/bin/time that runs the
finder, read once it has reaped the finder and exited itself, but before it
is reaped in turn: then they hold every thread's reads of the finder (and the
few kilobytes time reads itself): `read` is rchar (bytes that read calls
returned, from the cache or not), `disk` is read_bytes (bytes the kernel
fetched from the device for it, readahead included). Mapped reads count only
in `disk`.

--cold drops the page cache (sync, then 3 into /proc/sys/vm/drop_caches)
before every run, which needs root; without the right it says so and stops.
Warm runs read the whole corpus first in every round, since a cache that was
warm a while ago may have lost pages since. Runs are interleaved, the finders
in the same order every round, and Tessel's groups are checked against the
corpus's truth on every run (a cold run takes another road through the
engine than a warm one).
"""
import argparse
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(HERE)
DATA = os.environ.get("TESSEL_BENCH_DATA", os.path.expanduser("~/.cache/tessel-bench"))


def kit_finders(kit):
    """The kit's duplicate finders, as (name, argv with {dir} and {tmp} to fill in)."""
    sys.dont_write_bytecode = True
    sys.path.insert(0, kit)
    try:
        import bench
    finally:
        sys.path.pop(0)
    return [(tool["name"], tool["argv"]) for tool in bench.dupes_tools()]


def finders(kit, corpus, scratch, tessel):
    fill = lambda argv: [word.replace("{dir}", corpus).replace("{tmp}", scratch) for word in argv]
    return [(name, fill(argv)) for name, argv in kit_finders(kit)] + \
        [("tessel", [tessel, "duplicates", "--json", corpus])]


def drop_caches():
    os.sync()
    with open("/proc/sys/vm/drop_caches", "w") as control:
        control.write("3\n")


def read_everything(corpus):
    for folder, _, names in os.walk(corpus):
        for name in names:
            path = os.path.join(folder, name)
            if os.path.islink(path) or not os.path.isfile(path):
                continue
            with open(path, "rb", buffering=0) as source:
                while source.read(1 << 20):
                    pass


def io_counters(pid):
    counters = {}
    with open(f"/proc/{pid}/io") as io:
        for line in io:
            key, value = line.split(":")
            counters[key] = int(value)
    return counters


def run(argv, scratch):
    # Under /usr/bin/time, whose peak memory is the finder's own (a child of
    # this script would count the script's memory from before its exec), and
    # whose counters hold the finder's once it has reaped it.
    measured = os.path.join(scratch, "time")
    with open(os.path.join(scratch, "stdout"), "wb") as out:
        start = time.monotonic()
        child = subprocess.Popen(["/usr/bin/time", "-f", "%x %M", "-o", measured] + argv,
                                 stdout=out, stderr=subprocess.DEVNULL, cwd=scratch)
        # Exited but not reaped: its counters are still there to read.
        os.waitid(os.P_PID, child.pid, os.WEXITED | os.WNOWAIT)
        wall = time.monotonic() - start
        io = io_counters(child.pid)
        _, _, usage = os.wait4(child.pid, 0)
    with open(os.path.join(scratch, "stdout"), "rb") as out:
        stdout = out.read()
    with open(measured) as source:
        status, peak_kib = source.read().split()[-2:]
    return dict(wall=wall, cpu=usage.ru_utime + usage.ru_stime, rss_mib=int(peak_kib) / 1024,
                read=io["rchar"], disk=io["read_bytes"], status=int(status), stdout=stdout)


def truth_groups(corpus):
    with open(corpus.rstrip("/") + ".truth.json") as source:
        truth = json.load(source)
    return sorted(sorted(name for names in group["inodes"] for name in names) for group in truth["group_list"])


def tessel_groups(stdout, corpus):
    prefix = corpus.rstrip("/") + "/"
    groups = []
    for group in json.loads(stdout)["groups"]:
        names = []
        for entry in group["files"]:
            names += [entry["path"]] + entry.get("otherNames", [])
        groups.append(sorted(name[len(prefix):] if name.startswith(prefix) else name for name in names))
    return sorted(groups)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--cold", action="store_true", help="drop the page cache before every run (root)")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--dir", default=os.path.join(DATA, "dupes"))
    parser.add_argument("--tessel", default=os.path.join(TOP, "build", "release", "bin", "tessel"))
    parser.add_argument("--kit", default=os.environ.get("TESSEL_BENCH_KIT", os.path.join(TOP, "..", "shared", "bench")))
    options = parser.parse_args()
    if not os.path.isfile(os.path.join(options.kit, "bench.py")):
        sys.exit(f"dupes-io.py: the benchmark kit is not at {options.kit} (set TESSEL_BENCH_KIT)")

    corpus = os.path.abspath(options.dir)
    if not os.path.isfile(corpus.rstrip("/") + ".truth.json"):
        sys.exit(f"dupes-io.py: no corpus with its truth at {corpus} (the kit's peers.sh makes it)")
    if options.cold:
        try:
            drop_caches()
        except OSError as error:
            sys.exit(f"dupes-io.py: can't drop the page cache ({error.strerror}): cold runs need root")
    expected = truth_groups(corpus)

    with tempfile.TemporaryDirectory(prefix="dupes-io.") as scratch:
        tools = finders(options.kit, corpus, scratch, options.tessel)
        runs = {name: [] for name, _ in tools}
        for round_number in range(1, options.rounds + 1):
            if not options.cold:
                read_everything(corpus)
            line = []
            for name, argv in tools:
                if options.cold:
                    drop_caches()
                result = run(argv, scratch)
                if name == "tessel":
                    exact = result["status"] == 0 and tessel_groups(result["stdout"], corpus) == expected
                    if not exact:
                        sys.exit(f"dupes-io.py: tessel's groups differ from the truth in round {round_number}")
                runs[name].append(result)
                line.append(f"{name}={result['wall']:.3f}s")
            print(f"  round {round_number}/{options.rounds}: " + "  ".join(line), file=sys.stderr)

    base = statistics.median(r["wall"] for r in runs[tools[0][0]])
    state = "cold (page cache dropped before every run)" if options.cold else "warm"
    print(f"\n{corpus}, {state}, medians of {options.rounds} interleaved rounds\n")
    print(f"| tool | wall s (min-max) | × {tools[0][0]} | CPU s | peak RSS MiB | read MiB | from disk MiB |")
    print("|---|---|---|---|---|---|---|")
    for name, _ in tools:
        done = runs[name]
        walls = [r["wall"] for r in done]
        wall = statistics.median(walls)
        median = lambda key: statistics.median(r[key] for r in done)
        print(f"| {name} | {wall:.3f} ({min(walls):.3f}-{max(walls):.3f}) | {wall / base:.2f} | {median('cpu'):.2f} "
              f"| {median('rss_mib'):.1f} | {median('read') / 2**20:.0f} | {median('disk') / 2**20:.0f} |")
    print(f"\nload average at the end: {' '.join(f'{x:.2f}' for x in os.getloadavg())}; "
          f"Tessel's groups matched the truth on every run")


if __name__ == "__main__":
    main()
