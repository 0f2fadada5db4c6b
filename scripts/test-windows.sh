#!/usr/bin/env bash
# Cross-builds the wrapper with the scripted engine for 64-bit Windows and runs its suites under wine.
#
#   scripts/test-windows.sh [option of ctest ...]
#
# Protocol Buffers for Windows is built once from Debian's source package and kept in
# ${XDG_CACHE_HOME:-~/.cache}/telvar.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/progress.sh
scripts/install-packages.sh windows

source_dir=$PWD
cache=${XDG_CACHE_HOME:-$HOME/.cache}/telvar
build=$source_dir/build/windows
toolchain=$source_dir/cmake/mingw-w64.cmake
version=$(dpkg-query -W -f '${Version}' protobuf-compiler)
stage=$cache/protobuf-$version-mingw64
start=$SECONDS
lap() { echo "[$((SECONDS - start)) s] $*"; }

build_protobuf() {
  local work
  work=$(mktemp -d)
  # A source list of our own: the machine's lists stay as they are.
  local lists=$work/lists
  mkdir -p "$lists/parts"
  sed -E 's/^Types:.*/Types: deb-src/; s/^deb /deb-src /' /etc/apt/sources.list /etc/apt/sources.list.d/*.list \
    >"$lists/sources.list" 2>/dev/null || true
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -e "$file" ] && sed -E 's/^Types:.*/Types: deb-src/' "$file" >"$lists/parts/$(basename "$file")"
  done
  local apt=(-o "Dir::Etc::sourcelist=$lists/sources.list" -o "Dir::Etc::sourceparts=$lists/parts"
             -o "Dir::State::lists=$lists/state" -o APT::Sandbox::User=root)
  mkdir -p "$lists/state/partial"
  (
    cd "$work"
    apt-get "${apt[@]}" update -qq
    apt-get "${apt[@]}" source -qq --download-only "protobuf=$version"
    dpkg-source -x ./*.dsc src >/dev/null
  )
  cmake -S "$work/src" -B "$work/build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_STANDARD=17 -DCMAKE_INSTALL_PREFIX="$stage" -Dprotobuf_BUILD_TESTS=OFF \
    -Dprotobuf_BUILD_PROTOC_BINARIES=OFF -Dprotobuf_WITH_ZLIB=OFF -Dprotobuf_BUILD_SHARED_LIBS=OFF
  cmake --build "$work/build"
  cmake --install "$work/build"
  touch "$stage/.done"
  rm -rf "$work"
}

mkdir -p "$cache" build
export -f build_protobuf
export cache stage version toolchain
[ -e "$stage/.done" ] || run_to_log "protobuf for Windows" build/windows-protobuf.log bash -euo pipefail -c build_protobuf
lap "protobuf $version for Windows"

export WINEPREFIX=$build/wine
mkdir -p "$WINEPREFIX"
trap 'wineserver -k || true' EXIT
wineserver -p || true  # fails when one is running already
[ -e "$WINEPREFIX/system.reg" ] || run_to_log "wine prefix" build/windows-wine.log scripts/wine-run wineboot -i
lap "wine prefix"

log=build/windows.log
run_to_log "windows: configuring" "$log" cmake --preset windows -DCMAKE_FIND_ROOT_PATH="$stage" -DTELVAR_WERROR=ON
run_to_log "windows: building" "$log" cmake --build --preset windows
lap "build"
run_aloud "windows: testing" ctest --preset windows "$@"
lap "tests"
