#!/usr/bin/env bash
# Installs what is missing, builds, runs the benchmarks and writes one report, build/bench/report.md.
#
#   scripts/bench.sh                 all: ocr classifier segmenter wrapper
#   scripts/bench.sh ocr wrapper     the ones named
#
# Figures depend on the machine; each table has its peers measured in the same run.
set -euo pipefail
cd "$(dirname "$0")/.."

known=(ocr classifier segmenter wrapper)
wanted=("$@")
[ ${#wanted[@]} -eq 0 ] && wanted=("${known[@]}")
for name in "${wanted[@]}"; do
  case " ${known[*]} " in *" $name "*) ;; *) echo "bench: unknown benchmark '$name'" >&2; exit 2 ;; esac
done

scripts/install-packages.sh bench
cmake --preset release >/dev/null
programs=build/release/bin
out=build/bench
mkdir -p "$out"

build() { cmake --build --preset release --target "$@" >"$out/build.log" || { tail -n 40 "$out/build.log"; return 1; }; }

ocr() {
  build ocr_bench tesseract_peer hog_svm_peer
  /usr/bin/python3 bench/ocr/run.py --programs "$programs" --work "$out/ocr" --json "$out/ocr.json"
}

classifier() {
  local clothes=/usr/share/datasets/fashion-mnist
  build telvar_classifier_bench && "$programs/telvar_classifier_bench" --set "$clothes" --set parts &&
    "$programs/telvar_classifier_bench" --set "$clothes" --full
}

segmenter() { build segmenter_bench && "$programs/segmenter_bench"; }

wrapper() { build wrapper_bench && "$programs/wrapper_bench"; }

report=$out/report.md
{
  echo "# Benchmarks"
  echo
  echo "$(git describe --always --dirty), $(sed -n '/^model name/ { s/.*: //p; q }' /proc/cpuinfo), $(nproc) cores"
} >"$report"
for name in "${wanted[@]}"; do
  printf '\n## %s\n\n' "$name" >>"$report"
  "$name" | tee -a "$report"
done
echo "report: $report"
