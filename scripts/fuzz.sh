#!/usr/bin/env bash
# Lets fuzzers search: fuzz.sh [--keep] [seconds [target...]], a minute for each target of fuzz/ unless told otherwise, as
# many at once as there are cores; JOBS=1 fuzz.sh is for one at a time. What reaches something new goes to build/found/TARGET,
# the input of a failure beside it. With --keep the fewest inputs that reach all edges of the program become what searches begin
# with, fuzz/corpus.tar.xz; findings are put among the seeds by hand, with a name.
set -euo pipefail
cd "$(dirname "$0")/.."
keep=
if [ "${1:-}" = --keep ]; then keep=1 && shift; fi
seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(ls fuzz/seeds)

./scripts/install.sh all
./scripts/build.sh fuzz "${targets[@]/#/fuzz_}"
mkdir -p build/found build/kept
for directory in found kept; do tar -xJf fuzz/corpus.tar.xz -C "build/$directory"; done

search() {
  local found=build/found/$1 program=build/fuzz/bin/fuzz_$1
  mkdir -p "$found"
  if ! nice -n 19 "$program" -max_total_time="$2" -timeout=10 -dict=fuzz/words.dict -print_final_stats=1 \
    -artifact_prefix="$found-" "$found" "fuzz/seeds/$1" >"$found.log" 2>&1; then
    echo "$1: failed, see $found.log" && tail -n 30 "$found.log"
    return 1
  fi
  awk -v name="$1" '/cov: / {edges = $4} /^Done/ {runs = $2; time = $5} /slowest/ {slowest = $2} /peak_rss/ {memory = $2}
    END {printf "%-12s %5d s %10d runs, %6d edges, slowest %d s, %d MB\n", name, time, runs, edges, slowest, memory}' "$found.log"
  if [ "$3" ]; then
    rm -rf "build/kept/$1" && mkdir "build/kept/$1"
    "$program" -merge=1 -use_counters=0 "build/kept/$1" "fuzz/seeds/$1" "$found" >>"$found.log" 2>&1
  fi
}
export -f search
printf '%s\n' "${targets[@]}" | xargs -P "${JOBS:-$(nproc)}" -I{} bash -c 'search {} "$@"' search "$seconds" "$keep"
if [ "$keep" ]; then
  tar -C build/kept --sort=name --owner=0 --group=0 --numeric-owner --mtime=@0 -cJf fuzz/corpus.tar.xz .
fi
