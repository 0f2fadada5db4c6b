#!/usr/bin/env bash
# Installs what is missing, builds, trains and evaluates all three tools on real images, and writes one page.
#
#   scripts/demo.sh [--budget full|small] [FOLDER]      (default: full, build/demo)
#
# The small budget trains on a tenth of the images: a look at everything in less than a minute, at lower figures.
# For Debian 12, as root or with sudo. Prints a short table and where the page is; fails if anything failed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/progress.sh

budget=full
out=build/demo
while [ $# -gt 0 ]; do
  case $1 in
    --budget) budget=${2:?--budget needs full or small}; shift 2 ;;
    -*) echo "demo: unknown option '$1'" >&2; exit 2 ;;
    *) out=$1; shift ;;
  esac
done
[[ $budget =~ ^(full|small)$ ]] || { echo "demo: the budget is '$budget'; it must be full or small" >&2; exit 2; }

packages=build/demo-packages  # what Debian's data packages hold, as far as it is needed
mkdir -p build

step() { echo "[$1/4] $2"; }

# fetch <package> <its folder below /usr/share>: the installed folder, or the same out of the downloaded package, which
# is not installed for it.
fetch() {
  local target=$packages/usr/share/$2
  [ -e "$target" ] && return
  mkdir -p "$(dirname "$target")"
  if [ -d "/usr/share/$2" ]; then
    ln -s "/usr/share/$2" "$target"
    return
  fi
  local scratch
  scratch=$(mktemp -d)
  (cd "$scratch" && run_to_log "$1" "$scratch/apt.log" apt-get download -q -o APT::Status-Fd=1 -o APT::Sandbox::User=root "$1")
  dpkg-deb --fsys-tarfile "$scratch"/*.deb | tar -x -C "$scratch" "./usr/share/$2"
  mv "$scratch/usr/share/$2" "$target"
  rm -r "$scratch"
}

build() {
  cmake --preset release -DTELVAR_BUILD_TESTS=OFF -DTELVAR_BUILD_BENCH=OFF -DTELVAR_BUILD_PYTHON=OFF &&
    cmake --build --preset release --target telvar_host
}

# The program draws a moving line itself, where there is a terminal to draw on.
demo() {
  local command=(build/release/bin/telvar demo --out "$out" --root "$packages" --labels examples/data --force
                 --budget "$budget")
  if [ -t 2 ]; then "${command[@]}"; else run_aloud "training" "${command[@]}"; fi
}

echo "On a new machine with 2 cores this takes six to ten minutes, most of them for packages and for building."
step 1 "packages of the compiler and the libraries"
scripts/install-packages.sh demo
step 2 "images to train on"
fetch dataset-fashion-mnist datasets/fashion-mnist
fetch visp-images-data visp-images-data/ViSP-images
step 3 "the library and the program"
run_to_log "building" build/demo-build.log build
step 4 "training three tools, and measuring them on images that they have not seen"
demo
