#!/usr/bin/env bash
# Installs what is missing, builds, runs the benchmarks and writes one report, build/bench/report.md.
#
#   scripts/bench.sh                 all: ocr classifier segmenter wrapper
#   scripts/bench.sh ocr wrapper     the ones named
#   scripts/bench.sh ocr-final       the reader on all three groups of styles, 'final' included; once,
#                                    when everything is decided (bench/ocr/README.md)
#
# Figures depend on the machine; each table has its peers measured in the same run.
set -euo pipefail
cd "$(dirname "$0")/.."

usual=(ocr classifier segmenter wrapper)
known=("${usual[@]}" ocr-final)
wanted=("$@")
[ ${#wanted[@]} -eq 0 ] && wanted=("${usual[@]}")
for name in "${wanted[@]}"; do
  case " ${known[*]} " in *" $name "*) ;; *) echo "bench: unknown benchmark '$name'" >&2; exit 2 ;; esac
done

scripts/install-packages.sh bench
cmake --preset release >/dev/null
programs=build/release/bin
out=build/bench
mkdir -p "$out"

build() { cmake --build --preset release --target "$@" >"$out/build.log" || { tail -n 40 "$out/build.log"; return 1; }; }

codes() {
  scripts/install-packages.sh bench/ocr/packages.txt
  build ocr_bench tesseract_peer hog_svm_peer
  /usr/bin/python3 bench/ocr/run.py --programs "$programs" --work "$out/ocr" "$@"
}

ocr() { codes --group develop choose --train 20 5 --json "$out/ocr.json"; }

ocr-final() {
  codes --group develop choose final --train 20 3 5 10 50 --only codes --json "$out/ocr-final.json"
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
