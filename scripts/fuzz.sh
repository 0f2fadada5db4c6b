#!/usr/bin/env bash
# Installs what is missing, builds the fuzz targets and runs them, one on each core.
#
#   scripts/fuzz.sh                     every target, 300 seconds each
#   scripts/fuzz.sh 60 state_file ...   the targets named, 60 seconds each
#
# What is found stays in build/fuzz/found/<target>. Exits with 1 if a target failed.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-300}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "fuzz: '$seconds' is no number of seconds" >&2; exit 2; }
targets=("${@:2}")
if [ ${#targets[@]} -eq 0 ]; then
  for folder in fuzz/corpus/*/; do targets+=("$(basename "$folder")"); done
fi

scripts/install-packages.sh test
mkdir -p build/fuzz/found
cmake --preset fuzz >build/fuzz/build.log
cmake --build --preset fuzz --target "${targets[@]/#/fuzz_}" >build/fuzz/build.log ||
  { tail -n 40 build/fuzz/build.log; exit 1; }

# Vectors cross into libraries that are built without the sanitizer.
export ASAN_OPTIONS=detect_container_overflow=0:allocator_may_return_null=1

fuzz() {
  local target=$1 seconds=$2 found=build/fuzz/found/$1
  mkdir -p "$found"
  if "build/fuzz/bin/fuzz_$target" -max_total_time="$seconds" -max_len=2048 -timeout=120 -rss_limit_mb=4000 \
    -artifact_prefix="$found/failed-" "$found" "fuzz/corpus/$target" >"$found.log" 2>&1; then
    echo "$target: $(grep -o '^Done .*' "$found.log")"
  else
    echo "$target: FAILED, see $found.log"
    return 1
  fi
}
export -f fuzz
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c "fuzz {} $seconds" || exit 1
