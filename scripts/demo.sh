#!/usr/bin/env bash
# Installs what is missing, builds, trains and evaluates all three tools on real pictures, and writes one page.
#
#   scripts/demo.sh [FOLDER]      (default: build/demo)
#
# For Debian 12, as root or with sudo. Prints a short table and where the page is; fails if anything failed.
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:-build/demo}
packages=build/demo-packages  # what Debian's data packages hold, as far as it is needed
mkdir -p build

scripts/install-packages.sh demo

# fetch <package> <folder below /usr/share>: the installed folder, or the same out of the downloaded package. The
# packages are not installed: one of them takes 225 MB, of which 12 are needed.
fetch() {
  local target=$packages/usr/share/$2
  [ -e "$target" ] && return
  mkdir -p "$(dirname "$target")"
  if [ -d "/usr/share/$2" ]; then
    ln -s "/usr/share/$2" "$target"
    return
  fi
  echo "fetching $1"
  local scratch
  scratch=$(mktemp -d)
  (cd "$scratch" && apt-get download -qq "$1" 2>apt.log) || { cat "$scratch/apt.log" >&2; return 1; }
  dpkg-deb --fsys-tarfile "$scratch"/*.deb | tar -x -C "$scratch" "./usr/share/$2"
  mv "$scratch/usr/share/$2" "$target"
  rm -r "$scratch"
}
fetch dataset-fashion-mnist datasets/fashion-mnist
fetch visp-images-data visp-images-data/ViSP-images/mire-2
fetch jbigkit-testdata jbigkit-testdata

echo "building (build/demo-build.log)"
{ cmake --preset release -DTELVAR_BUILD_TESTS=OFF -DTELVAR_BUILD_BENCH=OFF &&
  cmake --build --preset release --target telvar_host; } >build/demo-build.log 2>&1 ||
  { tail -n 40 build/demo-build.log >&2; exit 1; }

build/release/bin/telvar demo --out "$out" --root "$packages" --labels examples/data --force
