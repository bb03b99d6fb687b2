#!/usr/bin/env bash
# Builds a release and prints one table of its speed and size:
#   bench.sh [--calls N] [--idle SECONDS] [--announcements N] [--stations N]
# by default 2000 calls in each part, 30 seconds, 10 announcements and up to 500 stations. bench/README.md tells what the
# rows mean. The status is 0 whatever the values are, and not 0 only when something could not be measured. It needs no
# root, but for installing packages, and for the rows of several stations, which say so where they are not measured.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh libgtest-dev libgmock-dev avahi-daemon avahi-utils dbus iproute2
cmake --preset release -DHARK_BENCH=ON >/dev/null
build_log=$(mktemp)
trap 'rm -f "$build_log"' EXIT
cmake --build --preset release --target harkd harkpanel hark_bench >"$build_log" || { cat "$build_log" >&2; exit 1; }
build/release/bench/hark_bench build/release/daemon/harkd build/release/tools/harkpanel/harkpanel "$@"
