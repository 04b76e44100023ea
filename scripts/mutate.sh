#!/usr/bin/env bash
# Asks how much the fast tests notice: changes one thing at a time in a copy of runtime/ and commands/, builds, runs
# the tests of commands, runtime and links, and prints every change that no test noticed.
#
#     mutate.sh [count [seed [commit]]]
#
# The copy is of the working tree, or of a commit. Each change is one operator, constant, key, code or order. Those
# that do not compile do not count, nor those from which a compiler that optimises makes the same library, as Papadakis,
# Jia, Harman and Le Traon (2015) tell equal programs; a test that hangs has noticed.
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-100}
seed=${2:-1}
commit=${3:-}

./scripts/install.sh all
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
if [ -n "$commit" ]; then git archive "$commit"; else git ls-files -co --exclude-standard -z | tar -c --null -T -; fi \
  | tar -x -C "$copy"

cmake -S "$copy" -B "$copy/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DKX_SIMULATOR=OFF \
  -DKX_TOOLS=OFF -DKX_EXAMPLES=OFF -DCMAKE_LINK_DEPENDS_NO_SHARED=ON -DKX_TEST_TIMEOUT=15 \
  -DKX_SANITIZE=address,undefined >"$copy/log"
cmake -S "$copy" -B "$copy/optimised" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKX_SIMULATOR=OFF -DKX_TOOLS=OFF \
  -DKX_EXAMPLES=OFF -DKX_TESTS=OFF >>"$copy/log"
python3 scripts/mutate.py "$copy" "$count" "$seed"
