#!/bin/sh
# Branch coverage of the wrapper by its own suites, over the scripted engine.
#
#   scripts/coverage.sh [BUILD_FOLDER]      (default: build/coverage)
#
# Prints a summary per file and lists every branch that no test takes. Branches that the compiler
# makes for exceptions are left out. What is missing of the packages that it needs is installed.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/coverage}

"$root/scripts/install-packages.sh" coverage
mkdir -p "$build"
build=$(cd "$build" && pwd)
(cd "$root" && cmake --preset coverage -B "$build") >"$build/configure.log" 2>&1 ||
  { cat "$build/configure.log"; exit 1; }
cmake --build "$build" --target wrapper_unit_tests wrapper_contract_tests
find "$build" -name '*.gcda' -delete
"$build/bin/wrapper_unit_tests" --gtest_brief=1
"$build/bin/wrapper_contract_tests" --gtest_brief=1

# If gcovr is interrupted, it leaves its scratch files there.
trap 'rm -f "$root"/*.gcov' EXIT
trap 'exit 130' INT TERM
cd "$root"
gcovr --root "$root" "$build" --exclude-throw-branches --exclude-unreachable-branches \
  --filter "$root/bridge/" --filter "$root/ocr/" --filter "$root/classifier/" \
  --filter "$root/segmenter/" --filter "$root/factory/" --json "$build/coverage.json"
gcovr --root "$root" --add-tracefile "$build/coverage.json" --branches

echo
echo "Branches that no test takes:"
python3 - "$build/coverage.json" <<'PYTHON'
import json, sys
missed = 0
for file in json.load(open(sys.argv[1]))["files"]:
    for line in file["lines"]:
        branches = [b for b in line["branches"] if not b["throw"]]
        untaken = sum(b["count"] == 0 for b in branches)
        if untaken:
            missed += untaken
            print(f"  {file['file']}:{line['line_number']}: {untaken} of {len(branches)}")
print("  none" if not missed else f"  {missed} in all")
PYTHON
