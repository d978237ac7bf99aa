#!/bin/sh
# Installs, as root, the Debian packages of scripts/debian-packages.txt that are missing.
set -eu
list="$(dirname "$0")/debian-packages.txt"
missing=""
for package in $(grep -v '^#' "$list"); do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing="$missing $package"
done
if [ -z "$missing" ]; then
  echo "setup: every package is installed"
  exit 0
fi
echo "setup: installing$missing"
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
# shellcheck disable=SC2086
apt-get install -y -q --no-install-recommends $missing
