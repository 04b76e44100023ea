#!/usr/bin/env bash
# Builds the reference and the guide as a site, build/docs/html/index.html. Whatever is not documented is an error.
set -euo pipefail
cd "$(dirname "$0")/.."
rm -rf build/docs
mkdir -p build/docs
doxygen docs/Doxyfile
