#!/usr/bin/env bash
# What programs that are built already need of the library, and which release brought it; cmake/abi has that of each release.
#
#     abi.sh compare LIBRARY             with the last release; known.ini says what differs on purpose
#     abi.sh keep LIBRARY VERSION        a release's, once it is out
#     abi.sh symbols LIBRARY VERSION     for a Debian package: each name with the release that brought it
#
# The library has its debugging information.
set -euo pipefail
cd "$(dirname "$0")/.."
library=$2
kept=$(ls cmake/abi/*.abi.xz | sort -V)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

case $1 in
compare)
  last=$(tail -n 1 <<<"$kept")
  xz -dc "$last" >"$work/last.abi"
  abidiff --suppressions cmake/abi/known.ini --headers-dir2 include --no-added-syms "$work/last.abi" "$library" || {
    echo "the interface differs from that of $last: programs that are built already may not run with this library"
    exit 1
  }
  ;;
keep)
  abidw --headers-dir include --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names \
    --drop-private-types "$library" | xz -9e >"cmake/abi/$3.abi.xz"
  ;;
symbols)
  # Of every release what the releases before it lacked; what no release had came with this version.
  exported=$(nm -D --defined-only --with-symbol-versions "$library" | sed -n 's/^[^ ]* [^ ]* \(.*@\)@\(.*\)$/\1\2/p' | LC_ALL=C sort)
  for release in $kept; do
    xz -dc "$release" | sed -n "s/.*<elf-symbol name='\([^']*\)'.* version='\([^']*\)'.*/\1@\2 $(basename "$release" .abi.xz)/p"
  done | cat - <(sed "s/$/ $3/" <<<"$exported") | LC_ALL=C sort -s -u -k1,1 >"$work/all"
  echo "libKX_Service.so.1 libkx-service1 #MINVER#"
  echo "* Build-Depends-Package: libkx-service-dev"
  LC_ALL=C join "$work/all" <(echo "$exported") | sed 's/^/ /'
  ;;
esac
