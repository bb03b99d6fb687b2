#!/usr/bin/env bash
# Builds the fuzz targets and runs them: `fuzz.sh [SECONDS_PER_TARGET] [TARGET...]`, by default 10 seconds for each. Each
# corpus is replayed first; `--replay` in place of the seconds does no more than that. What is found is in
# build/fuzz/findings, and the status is then not 0. New inputs are kept in build/fuzz/corpus from run to run; what is
# worth keeping for good is moved to fuzz/corpus by hand, under a name that tells what it shows.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() { echo "usage: scripts/fuzz.sh [SECONDS_PER_TARGET | --replay] [TARGET...]" >&2; exit 2; }

seconds=10
if [ $# -gt 0 ]; then
  case "$1" in
    --replay) seconds=0; shift ;;
    *[!0-9]*) [ -d "fuzz/corpus/$1" ] || usage ;;
    *) seconds=$1; shift ;;
  esac
fi
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(tagtext url control routing options settings channelfile sources panel
  console harkui browser station_lines harkctl callindi txt fullname ifbvalue ifbline pttdatagram sipdatagram
  sipheader sipuri sipaddress msgaccess sdpparse sdpencode sdpnegotiate sdppayload payloadtypes trie timers
  siptransaction sipcaller sipcallee sipofferanswer sipstackua)
for target in "${targets[@]}"; do
  [ -d "fuzz/corpus/$target" ] || { echo "no such target: $target" >&2; usage; }
done

scripts/install-deps.sh clang libclang-rt-14-dev llvm
cmake --preset fuzz >/dev/null
# Of the targets too: one that crashes clears nothing up. In memory where there is such a place: some targets write
# files for every input.
[ -n "${TMPDIR:-}" ] || { [ -w /dev/shm ] && TMPDIR=/dev/shm; } || TMPDIR=/tmp
TMPDIR=$(mktemp -d "$TMPDIR/harkd-fuzz.XXXXXX")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
cmake --build --preset fuzz --target "${targets[@]/#/fuzz_}" >"$TMPDIR/build.log" ||
  { cat "$TMPDIR/build.log" >&2; exit 1; }

# The longest input by target: some lines of a dialogue, a file, two URLs.
declare -A max_len=([tagtext]=1024 [url]=512 [control]=2600 [routing]=2600 [options]=1024 [settings]=2600
  [channelfile]=4200 [sources]=1500 [panel]=2600 [console]=1000 [harkui]=1500 [browser]=1500 [station_lines]=2600
  [harkctl]=3000 [callindi]=2600 [txt]=700 [fullname]=1300 [ifbvalue]=250 [ifbline]=4200 [pttdatagram]=800
  [sipdatagram]=1600 [sipheader]=1000 [sipuri]=700 [sipaddress]=200 [msgaccess]=1000 [sdpparse]=1100 [sdpencode]=1500
  [sdpnegotiate]=2300 [sdppayload]=1100 [payloadtypes]=500 [trie]=600 [timers]=800 [siptransaction]=100
  [sipcaller]=700 [sipcallee]=700 [sipofferanswer]=300 [sipstackua]=700)
findings=build/fuzz/findings
mkdir -p "$findings"
export ASAN_OPTIONS=${ASAN_OPTIONS:-allocator_may_return_null=1:detect_stack_use_after_return=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

# Runs the program, its output in a file; shows the report when it ends badly.
run() {
  local target=$1 log=build/fuzz/$1.log
  shift
  if ! "build/fuzz/fuzz/fuzz_$target" -artifact_prefix="$findings/$target-" -timeout=10 -rss_limit_mb=1024 "$@" \
    >"$log" 2>&1; then
    echo "fuzz $target: FAILED, the whole of it in $log" >&2
    grep -vE '^#[0-9]+[[:space:]]+(NEW|REDUCE|pulse|RELOAD)|NEW_FUNC|^0x' "$log" | tail -n 40 >&2
    return 1
  fi
}

failed=0
for target in "${targets[@]}"; do
  seeds=(fuzz/corpus/"$target"/*)
  if ! run "$target" "${seeds[@]}"; then failed=1; continue; fi
  echo "fuzz $target: ${#seeds[@]} inputs replayed"
  [ "$seconds" -gt 0 ] || continue
  work=build/fuzz/corpus/$target
  mkdir -p "$work"
  if ! run "$target" -dict="fuzz/$target.dict" -max_len="${max_len[$target]}" -max_total_time="$seconds" \
    "$work" "fuzz/corpus/$target"; then
    failed=1
    continue
  fi
  echo "fuzz $target: $(grep -oE 'Done [0-9]+ runs in [0-9]+ second' "build/fuzz/$target.log" | tail -n 1)s," \
    "$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "build/fuzz/$target.log" | tail -n 1)"
done
[ "$failed" -eq 0 ] || echo "fuzz: inputs that failed are in $findings" >&2
exit "$failed"
