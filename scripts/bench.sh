#!/usr/bin/env bash
# Builds a release and prints one table of its speed and size: `bench.sh [--calls N] [--idle SECONDS]`, by default 2000
# calls in each part and 30 seconds. bench/README.md tells what the rows mean. The status is 0 whatever the values are,
# and not 0 only when something could not be measured. It needs no root, but for installing packages.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh g++ cmake ninja-build git
cmake --preset release -DHARK_BENCH=ON >/dev/null
build_log=$(mktemp)
trap 'rm -f "$build_log"' EXIT
cmake --build --preset release --target harkd hark_bench >"$build_log" || { cat "$build_log" >&2; exit 1; }
build/release/bench/hark_bench build/release/daemon/harkd "$@"
