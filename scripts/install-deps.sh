#!/usr/bin/env bash
# Installs, from Debian's packages, what is missing: `install-deps.sh [package...]`. What the daemon is built with is
# always among it; without words, what its tests and the demo need is too. Root installs as it is, others by sudo; where
# neither works the command to run is told. What the tests only use where it is there may be missing: they skip what they
# would do with it.
set -euo pipefail

optional=()
packages=(g++ cmake ninja-build git pkg-config libavahi-client-dev libavahi-compat-libdnssd-dev libdbus-1-dev)
if [ $# -gt 0 ]; then
  packages+=("$@")
else
  # The last four are the network of the system tests: stations that find each other.
  packages+=(libgtest-dev libgmock-dev avahi-daemon avahi-utils dbus iproute2)
  # SIP agents and a reader of captures, which the calls of the system tests meet.
  optional+=(sip-tester sipsak baresip-core tshark)
fi

# Those of the packages that are not installed, one a line.
missing_of() {
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || echo "$package"
  done
}

as_root=()
updated=false
install() {
  echo "installing: $*"
  $updated || "${as_root[@]}" apt-get update -qq
  updated=true
  DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "$@" >/dev/null
}

# Each by itself, so that one that cannot be had leaves the others; nobody is asked for a password.
install_optional() {
  local package
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null && sudo -n true 2>/dev/null || return 0
    as_root=(sudo -n)
  fi
  for package in "$@"; do
    install "$package" </dev/null || echo "going on without $package"
  done
}

mapfile -t missing < <(missing_of "${packages[@]}")
mapfile -t missing_optional < <(missing_of ${optional[@]+"${optional[@]}"})
if [ ${#missing[@]} -eq 0 ]; then
  [ ${#missing_optional[@]} -eq 0 ] || install_optional "${missing_optional[@]}"
  exit 0
fi

if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null || ! sudo -v; then
    echo "These packages are missing, and installing them needs root. As root, run:" >&2
    echo "  apt-get update && apt-get install -y ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi
install "${missing[@]}"
[ ${#missing_optional[@]} -eq 0 ] || install_optional "${missing_optional[@]}"
