#!/usr/bin/env bash
# Makes the pictures of the documents in docs/pictures, from stations that run: each layout of the panel's page, idle and
# in a call, and what harkctl says.
# Arguments go to cmake's first step: `scripts/screenshots.sh -DCMAKE_CXX_COMPILER_LAUNCHER=ccache`.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset release -DHARK_BENCH=OFF "$@" >/dev/null
cmake --build --preset release --target harkd quillsim harkpanel harkctl | tail -n 1
HARKD=build/release/daemon/harkd QUILLSIM=build/release/tools/quillsim/quillsim \
  HARKPANEL=build/release/tools/harkpanel/harkpanel HARKCTL=build/release/tools/harkctl/harkctl \
  node tests/browser/screenshots.mjs docs/pictures
