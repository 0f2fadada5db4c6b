#!/usr/bin/env bash
# Does what a newcomer does, on a Debian 12 with nothing installed: both commands of README.md, the demonstration with
# a small budget and the quick tests, so that a package that the lists lack is missed here.
#
# Tests the commit that is checked out, not what is changed since. The tree is made by mmdebstrap and lies in
# build/bare; the minimal tree and the packages downloaded are kept in ${XDG_CACHE_HOME:-~/.cache}/telvar/bare, and the
# compiler's cache is this machine's. Exits with 77 where it cannot run: it needs root and mmdebstrap.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/progress.sh

cannot_run() {
  echo "bare: not run: $1"
  exit 77
}

cache=${XDG_CACHE_HOME:-$HOME/.cache}/telvar/bare
tree=$PWD/build/bare
inside() {
  env -i HOME=/root TERM="${TERM:-dumb}" LANG=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive \
    ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"} chroot "$tree" "$@"
}

# This machine's apt lists of Debian 12, its keys are Debian's own.
sources() {
  grep -lE '^(Suites: *bookworm|deb (\[[^]]*\] *)?[^ ]+ bookworm)( |$)' /etc/apt/sources.list /etc/apt/sources.list.d/* \
    2>/dev/null || true
}

# The minimal tree, made once for each set of lists and settings of apt.
make_minimal() {
  mapfile -t lists < <(sources)
  apt-config dump Acquire >"$cache/apt.conf"
  minimal=$cache/minimal-$(cat "$cache/apt.conf" "${lists[@]}" | sha256sum | cut -c 1-12).tar
  [ -e "$minimal" ] && return
  rm -f "$cache"/minimal-*.tar
  run_to_log "minimal Debian 12" build/bare.log \
    mmdebstrap --variant=apt --mode=root bookworm "$cache/new.tar" "${lists[@]}"
  mv "$cache/new.tar" "$minimal"
}

unpack() {
  rm -rf "$tree"
  mkdir -p "$tree"
  tar -xf "$minimal" -C "$tree"
}

prepare() {
  mkdir -p "$cache/archives/partial"
  make_minimal
  run_to_log "unpacking it" build/bare.log unpack
  cp "$cache/apt.conf" "$tree/etc/apt/apt.conf.d/00machine"
  cp -L /etc/resolv.conf /etc/hosts "$tree/etc/"
  echo force-unsafe-io >"$tree/etc/dpkg/dpkg.cfg.d/unsafe-io"  # the tree need not survive a power cut
  git clone -q --depth 1 "file://$PWD" "$tree/telvar"
}

# In a mount namespace of its own, so that no mount outlives this.
mount_all() {
  mkdir -p "$tree/root/.cache/ccache" "$compiler_cache"
  mount --make-rprivate /
  mount -t proc proc "$tree/proc"
  mount --rbind /dev "$tree/dev"
  mount -t devpts -o newinstance,ptmxmode=0666 devpts "$tree/dev/pts"
  mount --bind "$cache/archives" "$tree/var/cache/apt/archives"
  mount --bind "$compiler_cache" "$tree/root/.cache/ccache"
}

newcomer() {
  mount_all
  inside sh -c 'cd /telvar && scripts/demo.sh --budget small'
  local page=$tree/telvar/build/demo/report.html
  for tool in ocr classifier segmenter; do
    grep -q "id=\"$tool\"" "$page" || { echo "bare: the page shows no $tool" >&2; return 1; }
  done
  inside sh -c 'cd /telvar && scripts/test.sh --quick'
  inside apt-get autoclean -qq
}

if [ "${1:-}" = --mounted ]; then
  newcomer
  exit
fi

[ "$(id -u)" = 0 ] || cannot_run "it needs root"
unshare --mount --pid --fork true 2>/dev/null || cannot_run "this machine gives no mount namespace"
scripts/install-packages.sh bare || cannot_run "mmdebstrap cannot be installed"
mkdir -p "$cache" build
compiler_cache=$(ccache --get-config cache_dir)
export compiler_cache
prepare
# A process namespace too: what was started in the tree ends with this.
unshare --mount --pid --fork --kill-child "$0" --mounted
rm -rf "$tree"
