#!/usr/bin/env bash
# The checks that need no run: formatting, every header compiling alone, and clang-tidy's chosen list (.clang-tidy).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh clang clang-format clang-tidy libgtest-dev libgmock-dev
mapfile -t sources < <(git ls-files '*.cpp' '*.h')
clang-format --dry-run -Werror "${sources[@]}"
echo "formatting: ${#sources[@]} files"

cmake --preset release-clang >/dev/null
mapfile -t headers < <(git ls-files '*.h' ':!tests' ':!bench' ':!fuzz')
printf '%s\n' "${headers[@]}" |
  xargs -P "$(nproc)" -I{} clang++ -std=c++20 -x c++-header -fsyntax-only -Wall -Wextra -Werror -I. {}
echo "headers that compile alone: ${#headers[@]}"

mapfile -t product < <(git ls-files '*.cpp' ':!tests' ':!bench' ':!fuzz')
printf '%s\n' "${product[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p build/release-clang --quiet 2>/dev/null
echo "clang-tidy: ${#product[@]} files"
