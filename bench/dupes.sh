#!/usr/bin/env bash
# dupes.sh [peers.sh options]: Tessel's duplicate finder beside the usual
# duplicate finders, on the generated 2 GiB duplicate corpus, in one
# interleaved run with every answer checked against the corpus's truth.
# Extra options go to the kit's peers.sh (--dupes-rounds N, --dupes-dir DIR).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
kit=${TESSEL_BENCH_KIT:-$top/../shared/bench}
if [ ! -x "$kit/peers.sh" ]; then
  echo "dupes.sh: the benchmark kit is not at $kit (set TESSEL_BENCH_KIT)" >&2
  exit 1
fi
cmake --preset release >/dev/null && cmake --build --preset release >/dev/null
exec "$kit/peers.sh" --no-scan "$@" --dupes-cmd "tessel=$top/build/release/bin/tessel duplicates --json {dir}"
