#!/usr/bin/env bash
# Builds the reference and the guide as a site: docs.sh [directory], usually build/docs; the site is html/index.html there.
# Whatever is not documented is an error.
set -euo pipefail
cd "$(dirname "$0")/.."
directory=${1:-build/docs}
rm -rf "$directory"
mkdir -p "$directory"
(cat docs/Doxyfile && echo "OUTPUT_DIRECTORY = \"$directory\"") | doxygen -
