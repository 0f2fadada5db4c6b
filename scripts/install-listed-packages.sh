#!/usr/bin/env bash
# Installs the Debian packages listed in files, one a line, if they are missing. '#' starts a
# comment.
#
#   scripts/install-listed-packages.sh FILE...
set -euo pipefail

missing=()
for package in $(sed 's/#.*//' "$@"); do
  dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

run() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
run apt-get update -qq
run apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
