#!/usr/bin/env bash
# Two stations on this machine, each beside a simulated routing daemon with a mixing console, from a clean clone: installs
# what is missing, builds, starts them, makes listen calls on a control port, presses keys of a console; then one station
# calls the other from a key, it rings there and is answered, and both mixers show what they take; an agent that others
# have written, sipp, calls in where it is installed; and each station gets a panel for the browser. In a terminal the
# stations then run on, and the mixers are shown, until Enter is pressed. `--keep` leaves all of it running and tells how to
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
ctrl_port=${HARK_DEMO_PORT:-14013}  # and the next one
# SIP has its own ports: each station has an address of this process's own.
address() { echo "127.$((1 + ($$ >> 14) % 254)).$(($$ >> 6 & 255)).$((($$ & 63) * 4 + $1))"; }
declare -A sip_ip=([A]=$(address 1) [B]=$(address 2)) port=([A]=$ctrl_port [B]=$((ctrl_port + 1)))
declare -A station_pid=() sim_pid=() panel_pid=() panel_url=() sim=() ctl=() shown=([A]=0 [B]=0)
caller=$(address 3)
caller_pid=

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
  local pids=(${panel_pid[@]+"${panel_pid[@]}"} ${station_pid[@]+"${station_pid[@]}"} ${sim_pid[@]+"${sim_pid[@]}"}
    $caller_pid) pid
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do ended "$pid" 2>/dev/null || true; done
  rm -rf "$root"
}
trap stop EXIT

say() { printf '\n== %s\n' "$*"; }
fail() {
  echo "demo: $*" >&2
  for log in A/mixer A/station A/panel B/mixer B/station B/panel caller; do
    sed "s,^,$log | ," "$root/$log.log" 2>/dev/null | tail -n 20 >&2
  done
  exit 1
}

# Waits up to 10 seconds until the command succeeds; a station that ends meanwhile fails the demo.
wait_until() {
  local what=$1 s
  shift
  for _ in $(seq 200); do
    "$@" && return 0
    for s in "${!station_pid[@]}"; do
      kill -0 "${station_pid[$s]}" 2>/dev/null || fail "station $s ended; is port ${port[$s]} taken?"
    done
    sleep 0.05
  done
  fail "waited in vain for: $what"
}
holds() { grep -qF -- "$2" "$root/$1" 2>/dev/null; }
new_lines() { tail -n +$((shown[$1] + 1)) "$root/$1/mixer.log"; }
new_holds() { new_lines "$1" | grep -F -- "$2" >/dev/null; }

# Waits for the text in what the station's mixer and console printed since the last time, and shows all of that.
see() {
  local s=$1 end
  [ $# -lt 2 ] || wait_until "$2 ($s)" new_holds "$s" "$2"
  end=$(wc -l <"$root/$s/mixer.log")
  sed -n "$((shown[$s] + 1)),${end}p" "$root/$s/mixer.log" |
    sed -E "/^(Intercom|FaCH|key module|[0-9]| )|console/s/^/   console $s | /;t;s/^/   mixer $s   | /"
  shown[$s]=$end
}

# The operator at the station's console, or a far contact at its routing daemon, does something.
operate() {
  echo "   # $1: $2"
  echo "$2" >&"${sim[$1]}"
  see "$1" "$3"
}

# Sends a line on the station's control port, and shows what comes back up to the text that answers it.
control() {
  local s=$1 line=$2 answer=$3
  echo "   $s > $line"
  printf '%s\r\n' "$line" >&"${ctl[$s]}"
  hears "$s" "$answer"
}
hears() {
  local s=$1 answer=$2 reply
  while IFS= read -r -t 10 reply <&"${ctl[$s]}"; do
    reply=${reply%$'\r'}
    echo "   $s < $reply"
    [[ $reply == *"$answer"* ]] && return 0
  done
  fail "station $s did not say: $answer"
}

# start LETTER LABEL LEVEL SOURCE: a simulated routing daemon with a console, and the station beside it.
start() {
  local s=$1 in
  mkdir -p "$root/$s"/etc/Orfe/hark "$root/$s"/etc/Orfe/EngConf "$root/$s"/var/run "$root/$s"/var/tmp
  cat >"$root/$s/etc/Orfe/hark/harkch.conf"
  printf '%s\n' "\"Studio A\" <hark:${sip_ip[A]}>;trgl=4" "\"Studio B\" <hark:${sip_ip[B]}>;trgl=6" \
    '"News" <quillnet:239.192.0.8>;trgl=4' '"Gate" <quillnet:239.192.0.9>;trgl=2;gpio=3;gpiol=1;gpiot=2' \
    >"$root/$s/etc/Orfe/hark/hark_sources"
  mkfifo "$root/$s/sim.in"
  "$build"/tools/quillsim/quillsim --listen 127.0.0.1:0 --strict --console 1 \
    --greet "HARK LABL:\"$2\" TRGL:$3" --greet "SRC 1 PSNM:\"$2\" RTPA:\"$4\"" \
    <>"$root/$s/sim.in" >"$root/$s/mixer.log" 2>&1 &
  sim_pid[$s]=$!
  exec {in}>"$root/$s/sim.in"
  sim[$s]=$in
  wait_until "the routing daemon" holds "$s/mixer.log" 'listening on'
  # The stations of a demo are not announced on the network of the machine that runs them.
  DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent HARK_ROOT=$root/$s "$build"/daemon/harkd -debug -i none0 \
    -sip_ip "${sip_ip[$s]}" -ctrl_port "${port[$s]}" \
    -qnr_port "$(grep -oE '127\.0\.0\.1:[0-9]+' "$root/$s/mixer.log" | head -n 1 | cut -d: -f2)" \
    >"$root/$s/station.log" 2>&1 &
  station_pid[$s]=$!
  wait_until "station $s" holds "$s/station.log" 'harkqnr_ctrl < SRC 1'
  exec {in}<>"/dev/tcp/127.0.0.1/${port[$s]}" || fail "the control port ${port[$s]} does not answer"
  ctl[$s]=$in
  wait_until "the console of station $s" holds "$s/mixer.log" 'Intercom.menu list='
}

# start_panel LETTER: a panel for the browser, at a port of its own.
start_panel() {
  local s=$1
  HARK_ROOT=$root/$s "$build"/tools/harkpanel/harkpanel --station "127.0.0.1:${port[$s]}" --listen 127.0.0.1:0 --keys 1-8 \
    --id web >"$root/$s/panel.log" 2>&1 &
  panel_pid[$s]=$!
  wait_until "the panel of station $s" holds "$s/panel.log" 'station: connected'
  panel_url[$s]=$(grep -oE 'http://[0-9.:]+/' "$root/$s/panel.log" | head -n 1)
}

# The first line of what the panel's page is served with.
serves() {
  local at=${1#http://} fd line
  at=${at%/}
  exec {fd}<>"/dev/tcp/${at%:*}/${at#*:}" || fail "nobody listens at $1"
  printf 'GET / HTTP/1.1\r\nHost: %s\r\nConnection: close\r\n\r\n' "$at" >&"$fd"
  IFS= read -r -t 10 line <&"$fd" || fail "$1 does not answer"
  exec {fd}>&-
  [[ $line == *' 200 '* ]] || fail "$1 answers $line"
}

scripts/install-deps.sh g++ cmake ninja-build git
say "Building a release"
cmake --preset release -DHARK_BENCH=OFF >/dev/null
cmake --build --preset release --target harkd quillsim harkpanel harkctl | tail -n 1

say "Starting two stations under $root, each beside a simulated routing daemon with a console"
start A 'Studio A' 4 239.192.0.77 <<'END'
HARKCH 1 LABL:"News"
HARKCH 2 LABL:"Gate"
HARKCH 3 LABL:"Studio B"
END
start B 'Studio B' 6 239.192.0.88 <<'END'
HARKCH 1 LABL:"Studio A"
END
control A VER "VER SVER"
echo "   Studio A is ${sip_ip[A]}, Studio B is ${sip_ip[B]}"
see A >/dev/null
see B >/dev/null

say "A listen call to a source of level 4, and one of level 6 that dims it; both end 400 ms after it was asked for"
control A 'CALL' 'END'  # tells of the calls that are up, and of every change from now on
control A 'CALL URL:"quillnet:239.192.4.210;trgl=4" LISTEN:1' 'LISTEN:1'
control A 'CALL URL:"quillnet:239.192.4.211;trgl=6" LISTEN:1' 'LISTEN:1'
see A '239.192.4.211'
control A 'CALL URL:"quillnet:239.192.4.210" LISTEN:0' 'LISTEN:0'
control A 'CALL URL:"quillnet:239.192.4.211" LISTEN:0' 'LISTEN:0'
see A 'in#2 src_id=""'

say "The contact of Gate, which may not be answered by itself, closes: its listen key flashes until it is held"
operate A 'GPO 4 Lhhhh' 'Intercom.btn#4 IND=FLASH'
operate A 'hold 4' 'Intercom listen=ON'
echo "   ... Gate lets go: the key flashes fast, for 5 s or until it is released"
operate A 'GPO 4 Hhhhh' 'Intercom listen=OFF'
operate A 'release 4' 'Intercom.btn#4 IND=OFF'

say "Studio A calls Studio B: the keys of channel 3, listen and talk. It rings at B, whose level is above that of A"
control B 'CALL' 'END'
operate A 'press 6' 'Intercom.btn#6 IND=FLASH'
see B 'Intercom.btn#1 IND=FLASH'
operate A 'press 5' 'Intercom.btn#5 IND=FLASH'
see B 'Intercom.btn#2 IND=FLASH'

say "B holds its talk key: that answers both, for as long as it is down, and each mixer takes the other's stream"
operate B 'hold 1' 'Intercom listen=ON'
see A 'Intercom listen=ON'

say "B lets go, which ends what A hears; A taps its talk key, which ends what B hears"
operate B 'release 1' 'Intercom talk=OFF'
see A 'src_id=""'
operate A 'press 5' 'Intercom talk=OFF'
see B 'src_id=""'
hears A 'TALK:0'
hears B 'LISTEN:d'

if command -v sipp >/dev/null; then
  say "An agent that others have written, sipp, calls Studio A, is answered, and dropped"
  sipp -sf tests/system/peers/caller_is_dropped.xml -i "$caller" -p 5060 -m 1 -nostdin -timeout 20s -timeout_error \
    -s hark-listen -key caller hark-talk -key codec L24/48000/2 -key number 96 "${sip_ip[A]}:5061" \
    >"$root/caller.log" 2>&1 &
  caller_pid=$!
  hears A 'LISTEN:R'
  control A "CALL URL:\"hark:$caller\" LISTEN:1" 'LISTEN:1'
  see A "src_id=\"$caller:6000\""
  control A "CALL URL:\"hark:$caller\" LISTEN:0" 'LISTEN:0'
  see A 'src_id=""'
  ended "$caller_pid" || fail "sipp did not see the call as it should"
  caller_pid=
  echo "   sipp found every message as it should be"
else
  say "sipp is not installed: no call of an agent that others have written"
fi

say "Each station gets a panel for the browser"
for s in A B; do
  start_panel "$s"
  serves "${panel_url[$s]}"
done
"$build"/tools/harkctl/harkctl --station "127.0.0.1:${port[A]}" panels | sed 's/^/   A | /'
panels_to_open() {
  cat <<END
   Studio A: ${panel_url[A]}
   Studio B: ${panel_url[B]}
   Open both side by side. Hold a key of Studio B on the first: it rings on the second, at Studio A. Hold that key to answer.
END
}

if $keep; then
  say "The stations are running (processes ${station_pid[*]}). Talk to them with any TCP client, from this or another shell:"
  cat <<END
   exec 3<>/dev/tcp/127.0.0.1/${port[A]}; printf 'CALL\r\n' >&3; timeout 1 cat <&3
   exec 3<>/dev/tcp/127.0.0.1/${port[A]}; printf 'CALL URL:"hark:${sip_ip[B]}" LISTEN:1\r\n' >&3
   nc 127.0.0.1 ${port[A]}          (Debian's package netcat-openbsd; ${port[B]} is Studio B)

   what mixer and console do: tail -f $root/A/mixer.log $root/B/mixer.log
   to press a key:      echo 'press 6' >$root/A/sim.in; echo draw >$root/A/sim.in
   from a shell:        $build/tools/harkctl/harkctl --station 127.0.0.1:${port[A]} watch
   to stop them:        kill ${panel_pid[*]} ${station_pid[*]} ${sim_pid[*]}; rm -r $root
END
  say "Their panels, in a browser"
  panels_to_open
  disown "${panel_pid[@]}" "${station_pid[@]}" "${sim_pid[@]}"
  trap - EXIT
  exit 0
fi

say "Their panels, in a browser"
panels_to_open
if [ -t 0 ] && [ -z "${CI:-}" ]; then
  echo "   What the mixers do is shown here. Enter ends it."
  while ! IFS= read -r -t 0.2; do
    for s in A B; do
      kill -0 "${station_pid[$s]}" 2>/dev/null || fail "station $s ended"
      see "$s"
    done
  done
fi

say "Stopping the panels and the stations"
for s in A B; do
  pid=${panel_pid[$s]}
  unset "panel_pid[$s]"
  kill -TERM "$pid"
  ended "$pid" || fail "the panel of station $s ended with status $?"
done
for s in A B; do
  pid=${station_pid[$s]}
  unset "station_pid[$s]"
  kill -TERM "$pid"
  ended "$pid" || fail "station $s ended with status $?"
  echo quit >&"${sim[$s]}"
  ended "${sim_pid[$s]}" || fail "the routing daemon refused a command of station $s"
  unset "sim_pid[$s]"
done
echo "   all ended cleanly"
