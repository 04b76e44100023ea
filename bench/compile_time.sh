#!/usr/bin/env bash
# What including kx/arm.hpp costs the compiler: processor seconds of an empty program, of one that includes it, and of one
# that uses it; medians of nine.  compile_time.sh [compiler]
set -euo pipefail
cd "$(dirname "$0")/.."
compiler=${1:-g++}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo 'int main() {}' >"$work/empty.cpp"
echo '#include "kx/arm.hpp"
int main() {}' >"$work/includes.cpp"
cp examples/3_jog.cpp "$work/uses.cpp"

for program in empty includes uses; do
  for _ in 1 2 3 4 5 6 7 8 9; do
    TIMEFORMAT='%U'
    { time "$compiler" -std=c++20 -Iinclude -Iexamples -c "$work/$program.cpp" -o "$work/out.o"; } 2>&1
  done | sort -n | sed -n "5s/^/$program /p"
done
