#!/usr/bin/env bash
# Makes the Debian packages and has lintian look at them: package.sh [build-tree [directory]]
# Without a build tree it builds the release. The packages go to build/packages.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ $# -eq 0 ]; then
  ./scripts/install.sh all
  ./scripts/build.sh release KX_Service kx-controller kx kx_description_files kx-bridge _kx
fi
tree=$(realpath "${1:-build/release}")
packages=$(realpath -m "${2:-build/packages}")

mkdir -p "$packages"
rm -f "$packages"/*.deb
./scripts/docs.sh "$tree/site"
library=$(realpath "$tree/cmake/library/libKX_Service.so")
./scripts/abi.sh symbols "$library" "${library##*.so.}" >"$tree/cmake/debian/symbols"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cpack --config "$tree/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 || { cat "$work/log" && exit 1; }
mv "$work"/*.deb "$packages"

# A first upload to Debian's archive would close a bug there; CPack calls ldconfig itself, beside the trigger; and machine
# code may look like words.
lintian --allow-root --display-info --fail-on error,warning,info \
  --suppress-tags initial-upload-closes-no-bugs,maintscript-calls-ldconfig,spelling-error-in-binary "$packages"/*.deb
ls "$packages"/*.deb
