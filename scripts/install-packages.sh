#!/usr/bin/env bash
# Installs the Debian packages that a task needs, if they are missing.
#
#   scripts/install-packages.sh build|test|demo|bench|windows [...]
set -euo pipefail

build=(g++ cmake ninja-build ccache pkg-config git ca-certificates
       protobuf-compiler libprotobuf-dev libdnnl-dev libhwy-dev libopencv-dev libxxhash-dev
       libcli11-dev nlohmann-json3-dev python3-dev pybind11-dev)
test=(libgtest-dev libgmock-dev libbenchmark-dev python3 clang-14 clang-format-14 libclang-rt-14-dev binutils
      python3-numpy python3-pytest mypy locales chromium abigail-tools lintian dpkg-dev file doxygen)
windows=(g++-mingw-w64-x86-64-posix wine64 wine googletest llvm-14 clang-14 dpkg-dev python3)
demo=(dataset-fashion-mnist jbigkit-bin)
bench=(tesseract-ocr libtesseract-dev libleptonica-dev jbigkit-bin jbigkit-testdata fonts-ocr-a fonts-ocr-b
       fonts-dejavu-core fonts-liberation visp-images-data dataset-fashion-mnist libbenchmark-dev
       python3 python3-numpy python3-pil python3-scipy)

wanted=()
for task in "$@"; do
  case $task in
    build) wanted+=("${build[@]}") ;;
    test) wanted+=("${build[@]}" "${test[@]}") ;;
    windows) wanted+=("${build[@]}" "${windows[@]}") ;;
    bench) wanted+=("${build[@]}" "${bench[@]}") ;;
    demo) wanted+=("${build[@]}" "${demo[@]}") ;;
    *) echo "install-packages: unknown task '$task'" >&2; exit 2 ;;
  esac
done

missing=()
for package in "${wanted[@]}"; do
  dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

run() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
run apt-get update -qq
run apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
