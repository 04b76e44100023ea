#!/usr/bin/env bash
# Installs what is missing, builds and runs all tests: with g++, and under the sanitizers (ThreadSanitizer with g++,
# Address- and UndefinedBehaviorSanitizer with clang). Give presets to run only those, e.g. test.sh release
set -euo pipefail
cd "$(dirname "$0")/.."
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(tsan asan release)

./scripts/install.sh all
for preset in "${presets[@]}"; do ./scripts/build.sh "$preset"; done

# The kinematics give the same bits whatever the compiler and the optimisation.
digests=$(for preset in "${presets[@]}"; do "build/$preset/bin/fk_digest"; done | sort -u)
if [ "$(wc -l <<<"$digests")" -ne 1 ]; then
  echo "forward kinematics differ between the builds ${presets[*]}:" >&2
  echo "$digests" >&2
  exit 1
fi

# Most tests wait for time-outs, so more of them run at once than there are cores.
for preset in "${presets[@]}"; do ctest --preset "$preset" -j 16; done
