#!/usr/bin/env bash
# Installs, from Debian's packages, what is missing: `install-deps.sh [package...]`. What the daemon is built with is
# always among it; without words, what its tests and the demo need is too. Root installs as it is, others by sudo; where
# neither works the command to run is told.
set -euo pipefail

packages=(g++ cmake ninja-build git pkg-config libavahi-client-dev libavahi-compat-libdnssd-dev libdbus-1-dev)
if [ $# -gt 0 ]; then
  packages+=("$@")
else
  # The last four are the network of the system tests: stations that find each other.
  packages+=(libgtest-dev libgmock-dev avahi-daemon avahi-utils dbus iproute2)
fi

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null || ! sudo -v; then
    echo "These packages are missing, and installing them needs root. As root, run:" >&2
    echo "  apt-get update && apt-get install -y ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi
echo "installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
