#!/usr/bin/env bash
# One station beside a simulated routing daemon and a simulated mixing console, from a clean clone: installs what is
# missing, builds, starts them, makes a listen and a talk call on the control port, shows what the mixer does, drops the
# calls; then the same from the keys of the console's key module. `--keep` leaves the station running and tells how to
# talk to it. Needs no root, but for installing packages.
set -euo pipefail
cd "$(dirname "$0")/.."

keep=false
case "${1:-}" in
  "") ;;
  --keep) keep=true ;;
  *) echo "usage: scripts/demo.sh [--keep]" >&2; exit 2 ;;
esac

build=build/release
root=$(mktemp -d "${TMPDIR:-/tmp}/harkd-demo.XXXXXX")
ctrl_port=${HARK_DEMO_PORT:-14013}
station_pid=
sim_pid=

# Waits up to 10 seconds for the end of a process, then ends it; the status is the process's own.
ended() {
  for _ in $(seq 200); do
    kill -0 "$1" 2>/dev/null || break
    sleep 0.05
  done
  kill -KILL "$1" 2>/dev/null || true
  wait "$1"
}

stop() {
  [ -z "$station_pid" ] || kill "$station_pid" 2>/dev/null || true
  [ -z "$sim_pid" ] || kill "$sim_pid" 2>/dev/null || true
  for pid in $station_pid $sim_pid; do ended "$pid" 2>/dev/null || true; done
  rm -rf "$root"
}
trap stop EXIT

say() { printf '\n== %s\n' "$*"; }
fail() {
  echo "demo: $*" >&2
  for log in mixer station; do sed "s/^/$log | /" "$root/$log.log" 2>/dev/null | tail -n 20 >&2; done
  exit 1
}

# Waits up to 10 seconds until the file holds the text.
wait_for() {
  local file=$1 text=$2
  for _ in $(seq 200); do
    grep -qF -- "$text" "$file" 2>/dev/null && return 0
    [ -z "$station_pid" ] || kill -0 "$station_pid" 2>/dev/null || fail "the station ended; is port $ctrl_port taken?"
    sleep 0.05
  done
  fail "waited in vain for: $text"
}

# Shows what the mixer and the console printed since the last time.
shown=0
show_mixer() {
  local end
  end=$(wc -l <"$root/mixer.log")
  sed -n "$((shown + 1)),${end}p" "$root/mixer.log" |
    sed -E '/^(Intercom|FaCH|key module|[0-9]| )|console/s/^/   console | /;t;s/^/   mixer | /'
  shown=$end
}

# The operator at the console, or a far contact at the routing daemon, does something; waits for what it brings about,
# in the lines that were not shown yet.
operate() {
  local line=$1 answer=$2
  echo "   # $line"
  echo "$line" >&4
  for _ in $(seq 200); do
    tail -n +$((shown + 1)) "$root/mixer.log" | grep -F -- "$answer" >/dev/null && { show_mixer; return 0; }
    sleep 0.05
  done
  fail "waited in vain for: $answer"
}

# Sends a line on the control port, and shows what comes back up to the text that answers it.
control() {
  local line=$1 answer=$2 reply
  echo "   > $line"
  printf '%s\r\n' "$line" >&3
  while IFS= read -r -t 10 reply <&3; do
    reply=${reply%$'\r'}
    echo "   < $reply"
    [[ $reply == *"$answer"* ]] && return 0
  done
  fail "no answer to: $line"
}

scripts/install-deps.sh g++ cmake ninja-build git
say "Building a release"
cmake --preset release -DHARK_BENCH=OFF >/dev/null
cmake --build --preset release --target harkd quillsim | tail -n 1

say "Starting a simulated routing daemon with a console, and a station under $root"
mkdir -p "$root"/etc/Orfe/hark "$root"/etc/Orfe/EngConf "$root"/var/run "$root"/var/tmp
cat >"$root/etc/Orfe/hark/harkch.conf" <<'END'
HARKCH 1 LABL:"Ext 1"
HARKCH 2 LABL:"News"
HARKCH 3 LABL:"Gate"
END
cat >"$root/etc/Orfe/hark/hark_sources" <<'END'
"Ext 1" <quillnet:239.192.0.7>;trgl=2;gpio=1;gpiot=2
"News" <quillnet:239.192.0.8>;trgl=4
"Gate" <quillnet:239.192.0.9>;trgl=2;gpio=3;gpiol=1;gpiot=2
END
mkfifo "$root/sim.in"
"$build"/tools/quillsim/quillsim --listen 127.0.0.1:0 --strict --console 1 \
  --greet 'HARK LABL:"Studio A" TRGL:4' --greet 'SRC 1 PSNM:"Studio A" RTPA:"239.192.0.77"' \
  <>"$root/sim.in" >"$root/mixer.log" 2>&1 &
sim_pid=$!
exec 4>"$root/sim.in"
echo 'module none' >&4  # the operator's place is empty until the calls of the control port are over
wait_for "$root/mixer.log" 'console has no key module'
sim_port=$(grep -oE '127\.0\.0\.1:[0-9]+' "$root/mixer.log" | head -n 1 | cut -d: -f2)

# The station of a demo is not announced on the network of the machine that runs it.
DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent HARK_ROOT=$root "$build"/daemon/harkd -debug -i none0 -sip_ip 127.0.0.1 -ctrl_port "$ctrl_port" \
  -qnr_port "$sim_port" >"$root/station.log" 2>&1 &
station_pid=$!
wait_for "$root/station.log" 'harkqnr_ctrl < SRC 1'
exec 3<>"/dev/tcp/127.0.0.1/$ctrl_port" || fail "the control port $ctrl_port does not answer"
control VER "VER SVER"
show_mixer

say "A listen call to a source of level 4, and one of level 6 that dims it"
control 'CALL' 'END'  # tells of the calls that are up, and of every change from now on
control 'CALL URL:"quillnet:239.192.4.210;trgl=4" LISTEN:1' 'LISTEN:1'
control 'CALL URL:"quillnet:239.192.4.211;trgl=6" LISTEN:1' 'LISTEN:1'
wait_for "$root/mixer.log" '239.192.4.211'
show_mixer

say "A talk call to a source that is told by a contact"
control 'SUB GPI' 'END'
control 'CALL URL:"quillnet:239.192.4.212;trgl=2;gpio=1;gpiot=2" TALK:1' 'TALK:1'

say "Dropping all three: each ends 400 ms after it was asked for"
control 'CALL URL:"quillnet:239.192.4.211" LISTEN:0' 'LISTEN:0'
control 'CALL URL:"quillnet:239.192.4.210" LISTEN:0' 'LISTEN:0'
control 'CALL URL:"quillnet:239.192.4.212" TALK:0' 'TALK:0'
operate show 'mix goes'

say "A key module is plugged in at the console: the displays get the labels of the channel file"
operate 'module 1' 'Intercom.menu list='

say "Listen to News (key 4 is the listen key of channel 2), talk to Ext 1 (key 1), and both off again"
operate 'press 4' 'Intercom listen=ON'
operate 'press 1' 'Intercom talk=ON'
operate draw '> - Assign'
operate 'press 4' 'Intercom listen=OFF'
operate 'press 1' 'Intercom talk=OFF'

say "The contact of Gate, which may not be answered by itself, closes: its listen key flashes until it is held"
operate 'GPO 4 Lhhhh' 'Intercom.btn#6 IND=FLASH'
operate 'hold 6' 'Intercom listen=ON'
echo "   ... Gate lets go: the key flashes fast, for 5 s or until it is released"
operate 'GPO 4 Hhhhh' 'Intercom listen=OFF'
operate 'release 6' 'Intercom.btn#6 IND=OFF'

if $keep; then
  say "The station is running (process $station_pid). Talk to it with any TCP client, from this or another shell:"
  cat <<END
   exec 3<>/dev/tcp/127.0.0.1/$ctrl_port; printf 'CALL\r\n' >&3; timeout 1 cat <&3
   exec 3<>/dev/tcp/127.0.0.1/$ctrl_port; printf 'CALL URL:"quillnet:239.192.4.210" LISTEN:1\r\n' >&3
   nc 127.0.0.1 $ctrl_port          (Debian's package netcat-openbsd)

   what mixer and console do: tail -f $root/mixer.log
   to press a key:      echo 'press 4' >$root/sim.in; echo draw >$root/sim.in
   to stop it:          kill $station_pid $sim_pid; rm -r $root
END
  disown "$station_pid" "$sim_pid"
  trap - EXIT
  exit 0
fi

say "Stopping the station"
kill -TERM "$station_pid"
ended "$station_pid" || fail "the station ended with status $?"
station_pid=
echo quit >&4
ended "$sim_pid" || fail "the routing daemon refused a command of the station"
sim_pid=
echo "   both ended cleanly"
