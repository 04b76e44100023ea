#!/usr/bin/env bash
# Installs what is missing, builds and runs all tests: with g++, and under the sanitizers (ThreadSanitizer with g++,
# Address- and UndefinedBehaviorSanitizer with clang). Give presets to run only those, e.g. test.sh release
set -euo pipefail
cd "$(dirname "$0")/.."
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(tsan asan release)

./scripts/install.sh all

# Most tests wait for time-outs, so more of them run at once than there are cores, and the next build goes on beneath
# them, with what they leave.
./scripts/build.sh "${presets[0]}"
for ((i = 0; i < ${#presets[@]} - 1; ++i)); do
  nice -n 19 ./scripts/build.sh "${presets[i + 1]}" &
  ctest --preset "${presets[i]}" -j 16 || { wait; exit 1; }
  wait $!
done

# The kinematics give the same bits whatever the compiler and the optimisation.
digests=$(for preset in "${presets[@]}"; do "build/$preset/bin/fk_digest"; done | sort -u)
if [ "$(wc -l <<<"$digests")" -ne 1 ]; then
  echo "forward kinematics differ between the builds ${presets[*]}:" >&2
  echo "$digests" >&2
  exit 1
fi

ctest --preset "${presets[-1]}" -j 16
