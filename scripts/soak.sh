#!/usr/bin/env bash
# Builds a release and makes N calls with it, a hundred thousand by default: `soak.sh [N] [--loss PERCENT] [--at-once N]`.
# Calls of all kinds, 64 at a time, with two of a hundred datagrams lost in each direction and with what is no good SIP in
# between; in ten batches, with a rest behind each that is longer than what a station remembers of a call (32 s). It prints
# memory, descriptors and lines over time, and fails when a call did not end, when a line or a descriptor is left, or when
# memory at rest has grown by more than 64 KiB from the first full batch to the last. 100,000 calls take about 12 minutes.
# Needs no root, but for installing packages.
set -euo pipefail
cd "$(dirname "$0")/.."

calls=${1:-100000}
[ $# -eq 0 ] || shift
[[ $calls =~ ^[1-9][0-9]*$ ]] || { echo "usage: scripts/soak.sh [N] [--loss PERCENT] [--at-once N]" >&2; exit 2; }

scripts/install-deps.sh g++ cmake ninja-build git
cmake --preset release >/dev/null
build_log=$(mktemp)
trap 'rm -f "$build_log"' EXIT
cmake --build --preset release --target harkd callsoak >"$build_log" || { cat "$build_log" >&2; exit 1; }
build/release/tools/callsoak/callsoak build/release/daemon/harkd "$calls" --rest 35 --memory 64 "$@"
