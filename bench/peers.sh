#!/usr/bin/env bash
# peers.sh [peers.sh options]: Tessel's scan beside the reference walker and
# the usual disk-usage tools, on the generated benchmark tree, in one
# interleaved run. Extra options go to the kit's peers.sh (--small, --rounds N).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
kit=${TESSEL_BENCH_KIT:-$top/../shared/bench}
if [ ! -x "$kit/peers.sh" ]; then
  echo "peers.sh: the benchmark kit is not at $kit (set TESSEL_BENCH_KIT)" >&2
  exit 1
fi
cmake --preset release >/dev/null && cmake --build --preset release >/dev/null
exec "$kit/peers.sh" --no-dupes "$@" "tessel=$top/build/release/bin/tessel scan --json {dir}"
