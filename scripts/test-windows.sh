#!/usr/bin/env bash
# Cross-builds the library with its engine for 64-bit Windows and runs its suites under wine.
#
#   scripts/test-windows.sh [option of ctest ...]
#
# Protocol Buffers for Windows are built once from Debian's source package and kept in
# ${XDG_CACHE_HOME:-~/.cache}/telvar.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/progress.sh
scripts/install-packages.sh windows

source_dir=$PWD
cache=${XDG_CACHE_HOME:-$HOME/.cache}/telvar
build=$source_dir/build/windows
toolchain=$source_dir/cmake/mingw-w64.cmake
start=$SECONDS
lap() { echo "[$((SECONDS - start)) s] $*"; }

# fetch_source PACKAGE VERSION FOLDER: unpacks a source package into FOLDER/src.
fetch_source() {
  # A source list of our own: the machine's lists stay as they are.
  local lists=$3/lists
  mkdir -p "$lists/parts" "$lists/state/partial"
  sed -E 's/^Types:.*/Types: deb-src/; s/^deb /deb-src /' /etc/apt/sources.list /etc/apt/sources.list.d/*.list \
    >"$lists/sources.list" 2>/dev/null || true
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -e "$file" ] && sed -E 's/^Types:.*/Types: deb-src/' "$file" >"$lists/parts/$(basename "$file")"
  done
  local apt=(-o "Dir::Etc::sourcelist=$lists/sources.list" -o "Dir::Etc::sourceparts=$lists/parts"
             -o "Dir::State::lists=$lists/state" -o APT::Sandbox::User=root)
  (
    cd "$3"
    apt-get "${apt[@]}" update -qq
    apt-get "${apt[@]}" source -qq --download-only "$1=$2"
    dpkg-source -x ./*.dsc src >/dev/null
  )
}

# build_source PACKAGE VERSION STAGE OPTION...: installs a source package into STAGE.
build_source() {
  local work
  work=$(mktemp -d)
  fetch_source "$1" "$2" "$work"
  cmake -S "$work/src" -B "$work/build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_STANDARD=17 -DCMAKE_INSTALL_PREFIX="$3" -DBUILD_TESTING=OFF \
    -DBUILD_SHARED_LIBS=OFF "${@:4}"
  cmake --build "$work/build"
  cmake --install "$work/build"
  touch "$3/.done"
  rm -rf "$work"
}
export -f fetch_source build_source
export toolchain

# library SOURCE INSTALLED OPTION...: the library for Windows, in the version of the installed package.
stages=()
library() {
  local version stage
  version=$(dpkg-query -W -f '${Version}' "$2")
  stage=$cache/$1-$version-mingw64
  stages+=("$stage")
  [ -e "$stage/.done" ] || run_to_log "$1 for Windows" "build/windows-$1.log" \
    bash -euo pipefail -c 'build_source "$@"' build_source "$1" "$version" "$stage" "${@:3}"
  lap "$1 $version for Windows"
}

mkdir -p "$cache" build
library protobuf protobuf-compiler -Dprotobuf_BUILD_TESTS=OFF -Dprotobuf_BUILD_PROTOC_BINARIES=OFF \
  -Dprotobuf_WITH_ZLIB=OFF -Dprotobuf_BUILD_SHARED_LIBS=OFF

export WINEPREFIX=$build/wine
mkdir -p "$WINEPREFIX"
trap 'wineserver -k || true' EXIT
wineserver -p || true  # fails when one is running already
[ -e "$WINEPREFIX/system.reg" ] || run_to_log "wine prefix" build/windows-wine.log scripts/wine-run wineboot -i
lap "wine prefix"

log=build/windows.log
run_to_log "windows: configuring" "$log" cmake --preset windows -DTELVAR_WERROR=ON \
  -DCMAKE_FIND_ROOT_PATH="$(IFS=';'; echo "${stages[*]}")"
run_to_log "windows: building" "$log" cmake --build --preset windows
lap "build"
run_aloud "windows: testing" ctest --preset windows "$@"
lap "tests"

# What the engine writes there answers alike here; the tests have shown the reverse.
here=$source_dir/build/release/bin/engine_kept_tests
if [ $# -eq 0 ] && [ -x "$here" ]; then
  cmake --build --preset windows --target write_kept_samples >>"$log" 2>&1
  run_aloud "windows: training for this system" scripts/wine-run "$build/bin/write_kept_samples.exe" "$build/kept"
  TELVAR_KEPT_SAMPLES=$build/kept "$here"
  lap "state from Windows"
fi
