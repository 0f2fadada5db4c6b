#!/usr/bin/env bash
# Installs the Debian packages that a task needs, if they are missing.
#
#   scripts/install-packages.sh build|test|demo|bench|windows|tidy|coverage|bare|FILE [...]
#
# A FILE (its path has a slash) names packages, one a line; '#' starts a comment.
# On a machine with nothing installed, `scripts/test.sh bare` proves the lists.
set -euo pipefail
. "$(dirname "$0")/progress.sh"

library=(g++ cmake ninja-build ccache protobuf-compiler libprotobuf-dev libdnnl-dev libhwy-dev libeigen3-dev
         libopencv-imgproc-dev libpng-dev libjpeg-dev libtiff-dev libwebp-dev libexif-dev libpango1.0-dev zlib1g-dev
         libxxhash-dev libcli11-dev nlohmann-json3-dev pkg-config libutf8proc-dev libpugixml-dev)
build=("${library[@]}" python3-dev pybind11-dev)
test=(libgtest-dev libgmock-dev libbenchmark-dev libopencv-ml-dev libopencv-objdetect-dev pkg-config git python3
      python3-numpy python3-pytest mypy slurm-wlm parallel clang-14 clang-format-14 libclang-rt-14-dev binutils locales
      chromium fonts-dejavu-core abigail-tools lintian dpkg-dev file doxygen)
windows=(g++-mingw-w64-x86-64-posix wine64 wine googletest llvm-14 clang-14 dpkg-dev python3)
bench=(tesseract-ocr libtesseract-dev libleptonica-dev jbigkit-bin jbigkit-testdata fonts-ocr-a fonts-ocr-b
       fonts-dejavu-core fonts-liberation visp-images-data dataset-fashion-mnist libbenchmark-dev
       libopencv-ml-dev libopencv-objdetect-dev pkg-config git python3 python3-numpy python3-pil python3-scipy)
tidy=(clang-14 clang-tidy-14)
coverage=(gcovr libgtest-dev libgmock-dev python3)
bare=(mmdebstrap)

wanted=()
for task in "$@"; do
  case $task in
    build) wanted+=("${build[@]}") ;;
    test) wanted+=("${build[@]}" "${test[@]}") ;;
    windows) wanted+=("${build[@]}" "${windows[@]}") ;;
    bench) wanted+=("${build[@]}" "${bench[@]}") ;;
    tidy) wanted+=("${build[@]}" "${tidy[@]}") ;;
    coverage) wanted+=("${build[@]}" "${coverage[@]}") ;;
    demo) wanted+=("${library[@]}") ;;  # it fetches its images without installing them
    bare) wanted+=("${bare[@]}") ;;
    */*)
      listed=$(sed 's/#.*//' "$task")
      read -r -d '' -a packages <<<"$listed" || true
      wanted+=("${packages[@]}")
      ;;
    *) echo "install-packages: unknown task '$task'" >&2; exit 2 ;;
  esac
done

missing=()
for package in "${wanted[@]}"; do
  dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" != 0 ]; then
  command -v sudo >/dev/null || { echo "install-packages: needs root or sudo to install: ${missing[*]}" >&2; exit 1; }
  sudo -v  # asks for the password now, not behind the moving line
  as_root=(sudo)
fi
log=$(mktemp --tmpdir telvar-packages.XXXXXX.log)
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o APT::Status-Fd=1 -q)
install=(install -y --no-install-recommends "${missing[@]}")
run_to_log "list of packages" "$log" "${apt[@]}" update
all=$("${apt[@]}" -s "${install[@]}" | grep -c '^Inst ') || true
echo "installing $all packages: ${missing[*]} and what they need"
run_to_log "packages" "$log" "${apt[@]}" "${install[@]}"
rm -f "$log"
