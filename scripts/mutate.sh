#!/usr/bin/env bash
# Asks how much the fast tests notice: changes one thing at a time in a copy of runtime/ and commands/, builds, runs
# the tests of commands, runtime and links and, for 100,000 steps, the explorers, and prints every change that none noticed.
#
#     mutate.sh [count [seed [folder...]]]
#
# Each change is one operator, constant, key, code or order. Those that do not compile do not count, nor those from which a
# compiler that optimises makes the same library, as Papadakis, Jia, Harman and Le Traon (2015) tell equal programs; a test
# that hangs has noticed.
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-100}
seed=${2:-1}
folders=("${@:3}")
[ ${#folders[@]} -gt 0 ] || folders=(runtime commands)

./scripts/install.sh all
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
git ls-files -co --exclude-standard -z | tar -c --null -T - | tar -x -C "$copy"

cmake -S "$copy" -B "$copy/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DKX_SIMULATOR=OFF \
  -DKX_TOOLS=OFF -DKX_EXAMPLES=OFF -DCMAKE_LINK_DEPENDS_NO_SHARED=ON -DKX_TEST_TIMEOUT=40 \
  -DKX_SANITIZE=address,undefined >"$copy/log"
cmake -S "$copy" -B "$copy/optimised" -G Ninja -DCMAKE_BUILD_TYPE=MinSizeRel -DKX_SIMULATOR=OFF -DKX_TOOLS=OFF \
  -DKX_EXAMPLES=OFF >>"$copy/log"
python3 scripts/mutate.py "$copy" "$count" "$seed" "${folders[@]}"
