#!/usr/bin/env bash
# Configures and builds a preset quietly: build.sh preset [target...]; shows the log only when it fails.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
shift
mkdir -p build
log=build/$preset.log
echo "building $preset"
if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}; } >"$log" 2>&1; then
  tail -n 60 "$log" >&2
  echo "building $preset failed; the whole log is in $log" >&2
  exit 1
fi
