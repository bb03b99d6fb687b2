#!/usr/bin/env bash
# Builds everything with the address and undefined-behaviour sanitizers and runs all unit and system tests. Arguments go
# to ctest: `scripts/test.sh -R vgpio`.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset asan >/dev/null
cmake --build --preset asan
# One more at a time than there are cores: most tests wait for a daemon most of the time.
ctest --test-dir build/asan --output-on-failure -j "$(($(nproc) + 1))" "$@"
