#!/usr/bin/env bash
# Installs what is missing, builds and runs every test. One leg a line at the end, with its seconds.
#
#   scripts/test.sh              all legs
#   scripts/test.sh release ...  the legs named: format release asan-ubsan tsan windows
set -euo pipefail
cd "$(dirname "$0")/.."

legs=("$@")
[ ${#legs[@]} -eq 0 ] && legs=(format release asan-ubsan tsan windows)

format() {
  git ls-files -z -- '*.h' '*.cpp' | xargs -0 clang-format-14 --dry-run -Werror
  echo "format: clean"
}

# preset <name> [cmake option ...]: configure, build, test.
preset() {
  local name=$1
  shift
  cmake --preset "$name" -DTELVAR_WERROR=ON "$@" >"build/$name.log" 2>&1 || { cat "build/$name.log"; return 1; }
  cmake --build --preset "$name" >"build/$name.log" 2>&1 || { tail -n 60 "build/$name.log"; return 1; }
  ctest --preset "$name"
}

# Shown at the end, also when a leg fails: the seconds of the legs that ended well, and of all.
summary=()
trap 'printf "%s\n" "${summary[@]}" "all: $SECONDS s"' EXIT

run_leg() {
  local start=$SECONDS
  echo "== $1"
  case $1 in
    format) format ;;
    release) preset release -DTELVAR_TEST_PACKAGE_INSTALL="$([ "$(id -u)" = 0 ] && echo ON || echo OFF)" ;;
    asan-ubsan | tsan) preset "$1" ;;
    windows) scripts/test-windows.sh ;;
    *) echo "test: unknown leg '$1'" >&2; exit 2 ;;
  esac
  summary+=("$1: $((SECONDS - start)) s")
}

start=$SECONDS
case " ${legs[*]} " in *" windows "*) scripts/install-packages.sh test windows ;; *) scripts/install-packages.sh test ;; esac
summary+=("install: $((SECONDS - start)) s")
mkdir -p build
for leg in "${legs[@]}"; do run_leg "$leg"; done
