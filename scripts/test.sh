#!/usr/bin/env bash
# Installs what is missing, builds and runs every test. One leg a line at the end, with its seconds.
#
#   scripts/test.sh                      all legs: format release asan-ubsan tsan windows bare
#   scripts/test.sh release ...          the legs named; tidy, which takes longest, runs only when it is named
#   scripts/test.sh --quick [leg ...]    only what shows that no package is missing: every preset configures, and of
#                                        each leg a few tests pass, none skipped; fuzz is a leg too, bare is none
#
# A leg that cannot run on this machine is counted as not run.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/progress.sh

known=(format release asan-ubsan tsan windows)
quick=''
if [ "${1:-}" = --quick ]; then
  quick=1
  known+=(fuzz)
  shift
else
  known+=(bare)
fi
legs=("$@")
[ ${#legs[@]} -eq 0 ] && legs=("${known[@]}")
[ -n "$quick" ] || known+=(tidy)
for leg in "${legs[@]}"; do
  case " ${known[*]} " in *" $leg "*) ;; *) echo "test: unknown leg '$leg'" >&2; exit 2 ;; esac
done

format() {
  git ls-files -z -- '*.h' '*.cpp' | xargs -0 clang-format-14 --dry-run -Werror
  echo "format: clean"
}

configure() { run_to_log "$1: configuring" "build/$1.log" cmake --preset "$1" -DTELVAR_WERROR=ON "${@:2}"; }
build() { run_to_log "$1: building" "build/$1.log" cmake --build --preset "$1" "${@:2}"; }

# preset <name> [cmake option ...]: configure, build, test.
preset() {
  configure "$@"
  build "$1"
  run_aloud "$1: testing" ctest --preset "$1"
}

# skipping_none <command ...>: runs tests of which none may be skipped, since each stands for a package.
skipping_none() {
  "$@" | tee build/quick.log
  ! grep -F '***Skipped' build/quick.log || { echo "test: a package is missing from the list" >&2; return 1; }
}
quick_tests() { skipping_none run_aloud "testing" ctest --output-on-failure --no-tests=error -j 2 "$@"; }

quick_leg() {
  case $1 in
    format) format ;;
    release)
      for name in dev coverage tidy; do configure "$name"; done
      # Without the rest, which installing would otherwise want to be built.
      configure release -DTELVAR_TEST_PACKAGE_INSTALL="$package_install" -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON
      build release --target TelvarWrappers telvar_host telvar_from_help telvar_stand_in telvar_python telvar_python_echo \
        kernels_bench wrapper_abi_tests wrapper_bench wrapper_unit_tests
      quick_tests --preset release \
        -R '^(abi|docs|unit|bench|packages)\.|^consumer\.(install|find_package|pkg_config|clang_host)$|^host\.test_(report|locale)$|^python\.(module|types)$'
      ;;
    asan-ubsan | tsan)
      configure "$1"
      build "$1" --target wrapper_unit_tests
      quick_tests --preset "$1" -R '^unit\.'
      ;;
    fuzz)
      configure fuzz
      build fuzz --target fuzz_line_grouping
      quick_tests --test-dir build/fuzz -R '^fuzz\.line_grouping$'
      ;;
    windows) skipping_none scripts/test-windows.sh -R '^(abi|unit|windows)\.' ;;
  esac
}

whole_leg() {
  case $1 in
    format) format ;;
    release) preset release -DTELVAR_TEST_PACKAGE_INSTALL="$package_install" -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=OFF ;;
    asan-ubsan | tsan) preset "$1" ;;
    windows) scripts/test-windows.sh ;;
    bare) scripts/test-bare.sh ;;
    tidy) configure tidy && build tidy ;;
  esac
}

# Shown at the end, also when a leg fails: the seconds of each leg, and the count.
readonly cannot_run=77
summary=()
passed=0 not_run=0 reached=0
finish() {
  printf '%s\n' "${summary[@]}"
  echo "legs: $passed passed, $((reached - passed - not_run)) failed, $not_run not run," \
    "$((${#legs[@]} - reached)) not reached; $SECONDS s in all"
}
trap finish EXIT

run_leg() {
  local start=$SECONDS status=0
  reached=$((reached + 1))
  echo "== [$reached/${#legs[@]}] $1"
  # In a shell of its own: a function that is called with `||` after it would go on after its failures.
  set +e
  (set -e; if [ -n "$quick" ]; then quick_leg "$1"; else whole_leg "$1"; fi)
  status=$?
  set -e
  if ((status == cannot_run)); then
    not_run=$((not_run + 1))
    summary+=("$1: not run")
  elif ((status != 0)); then
    summary+=("$1: FAILED after $((SECONDS - start)) s")
    exit "$status"
  else
    passed=$((passed + 1))
    summary+=("$1: $((SECONDS - start)) s")
  fi
}

package_install=$([ "$(id -u)" = 0 ] && echo ON || echo OFF)
lists=(test)
for leg in windows tidy; do
  case " ${legs[*]} " in *" $leg "*) lists+=("$leg") ;; esac
done
scripts/install-packages.sh "${lists[@]}"
summary+=("packages: $SECONDS s")
mkdir -p build
for leg in "${legs[@]}"; do run_leg "$leg"; done
