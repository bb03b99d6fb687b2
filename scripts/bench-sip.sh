#!/usr/bin/env bash
# Builds a release and measures SIP messages beside three libraries of Debian, on the files of bench/sip/inputs:
# `bench-sip.sh`. bench/sip/README.md tells what the rows mean. The status is 0 whatever the values are, and not 0 only when
# a value that was read is not that of the file or something could not be measured. It needs no root, but for installing
# packages. With HARK_BENCH_PROFILE=FOLDER callgrind's files are left there.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh libosip2-dev libsofia-sip-ua-dev libre-dev valgrind
cmake -S . -B build/bench-sip -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
  -DCMAKE_CXX_COMPILER=g++ -DHARK_TESTS=OFF -DHARK_BENCH=ON -DHARK_BENCH_SIP=ON >/dev/null
build_log=$(mktemp)
trap 'rm -f "$build_log"' EXIT
cmake --build build/bench-sip --target hark_bench_sip >"$build_log" || { cat "$build_log" >&2; exit 1; }
build/bench-sip/bench/sip/hark_bench_sip bench/sip/inputs
