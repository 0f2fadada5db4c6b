#!/usr/bin/env bash
# Compares the binary interface of TelvarTypes with the committed baseline, and checks that the
# comparison would notice a changed record.
#
#   compare.sh <source root> <work folder> [--write]     --write makes the baseline anew
set -euo pipefail

root=$1
work=$2
baseline=$root/tests/abi_baseline/TelvarTypes.abi.gz
headers=types/include/TelvarTypes

for tool in abidw abidiff readelf; do
  command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done

# library <source root> <output>: a debug build, because abidiff sees types in debug information only.
library() {
  g++ -std=c++17 -g -O0 -fPIC -fvisibility=hidden -fvisibility-inlines-hidden -DTELVAR_TYPES_BUILDING \
    -fdebug-prefix-map="$1"=. -I"$1/types/include" -shared -Wl,-soname,libTelvarTypes.so.1 \
    -Wl,--version-script="$1/types/src/TelvarTypes.map" "$1"/types/src/*.cpp -o "$2"
  # Not `readelf | grep -q`: grep leaves at the match, and readelf may then fail for want of a reader.
  local sections
  sections=$(readelf -S --wide "$2")
  [[ $sections == *' .debug_info '* ]] || { echo "$2 has no debug information"; exit 1; }
}

rm -rf "$work"
mkdir -p "$work/changed"
library "$root" "$work/libTelvarTypes.so"
if [ "${3:-}" = --write ]; then
  abidw --headers-dir "$root/types/include" --drop-private-types --no-comp-dir-path --no-corpus-path \
    --no-parameter-names --drop-undefined-syms --no-elf-needed \
    "$work/libTelvarTypes.so" --out-file "$work/TelvarTypes.abi"
  gzip -9 -n -c "$work/TelvarTypes.abi" >"$baseline"
  echo "wrote $baseline"
  exit 0
fi

gunzip -c "$baseline" >"$work/TelvarTypes.abi"

# Added symbols are compatible (exit status 4 alone); everything else is not.
compare() { abidiff --no-added-syms --headers-dir2 "$1/types/include" "$work/TelvarTypes.abi" "$2"; }

compare "$root" "$work/libTelvarTypes.so" || { echo "the binary interface changed: raise the major version and write a new baseline"; exit 1; }

cp -r "$root/types" "$work/changed/"
sed -i 's/^  float skew = 0.0F;/  double skew = 0.0;/' "$work/changed/$headers/ROI.h"
cmp -s "$root/$headers/ROI.h" "$work/changed/$headers/ROI.h" && { echo "self-test: the record was not changed"; exit 1; }
library "$work/changed" "$work/libChanged.so"
if compare "$work/changed" "$work/libChanged.so" >/dev/null; then
  echo "self-test: a changed record was not noticed"
  exit 1
fi
echo "unchanged; a changed record would be noticed"
