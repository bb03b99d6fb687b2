#!/usr/bin/env bash
# Installs, from Debian's packages, what is missing: `install-deps.sh [package...]`. What the daemon and the programs
# beside it are built with is always among it; without words, what the tests and the demo need is too, the packages that
# drive the browser of the tests included. Root installs as it is, others by sudo; where neither works the command to run
# is told. What the tests only use where it is there may be missing: they skip what they would do with it.
set -euo pipefail
cd "$(dirname "$0")/.."

optional=()
packages=(g++ cmake ninja-build git pkg-config libavahi-client-dev libavahi-compat-libdnssd-dev libdbus-1-dev
  libwebsockets-dev nlohmann-json3-dev libcli11-dev)
if [ $# -gt 0 ]; then
  packages+=("$@")
else
  # Four are the network of the system tests: stations that find each other. Then what shows the panel's page.
  packages+=(libgtest-dev libgmock-dev avahi-daemon avahi-utils dbus iproute2 chromium fonts-dejavu-core)
  # From elsewhere they do as well, and Debian's could not be installed beside those.
  command -v node >/dev/null || packages+=(nodejs)
  command -v npm >/dev/null || packages+=(npm)
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

install_needed() {
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || ! sudo -v; then
      echo "These packages are missing, and installing them needs root. As root, run:" >&2
      echo "  apt-get update && apt-get install -y $*" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  install "$@"
}

# What drives the browser: as the lock file has it, by whoever runs this, without root.
install_node_modules() {
  local folder=tests/browser
  [ $folder/package-lock.json -nt $folder/node_modules/.package-lock.json ] || return 0
  echo "installing: $folder/node_modules"
  (cd $folder && npm ci --no-audit --no-fund --loglevel=error)
  touch $folder/node_modules/.package-lock.json
}

mapfile -t missing < <(missing_of "${packages[@]}")
mapfile -t missing_optional < <(missing_of ${optional[@]+"${optional[@]}"})
[ ${#missing[@]} -eq 0 ] || install_needed "${missing[@]}"
[ ${#missing_optional[@]} -eq 0 ] || install_optional "${missing_optional[@]}"
[ $# -gt 0 ] || install_node_modules
