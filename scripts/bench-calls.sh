#!/usr/bin/env bash
# Builds a release and measures its calls beside sipp, in one table: `bench-calls.sh [--calls N]`, 1000 calls whose answers
# are timed by default. bench/sip_calls/README.md tells what the rows mean. The status is 0 whatever the values are, and not
# 0 only when something could not be measured. It takes about two minutes, and needs no root, but for installing packages.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh sip-tester valgrind
cmake --preset release -DHARK_BENCH=ON >/dev/null
build_log=$(mktemp)
trap 'rm -f "$build_log"' EXIT
cmake --build --preset release --target harkd hark_bench_calls >"$build_log" || { cat "$build_log" >&2; exit 1; }
build/release/bench/sip_calls/hark_bench_calls build/release/daemon/harkd bench/sip_calls/scenarios "$@"
