#!/usr/bin/env bash
# What is installed into a clean directory works there, and wherever it is moved: prefix.sh build-tree
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/second"

library=$(find "$work/second/lib" -name 'libKX_Service.so')
[ "$(readlink "$library")/$(readlink "$library.1")" = "libKX_Service.so.1/libKX_Service.so.4.0.0" ]
"$(dirname "$0")/use.sh" "$work/second"
