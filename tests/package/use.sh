#!/usr/bin/env bash
# An installation as its users see it: use.sh prefix
# Builds an installed example, and a C and a C++ program through find_package and through pkg-config, which move the arm
# of the installed kx-controller.
set -euo pipefail
prefix=$1
consumer=$(cd "$(dirname "$0")" && pwd)/consumer
work=$(mktemp -d)
trap 'kill "${controller_pid:-}" 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"

build() { # source, targets...
  cmake -S "$1" -B "build-${1##*/}" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >cmake.log &&
    cmake --build "build-${1##*/}" --target "${@:2}" >cmake.log || { cat cmake.log && return 1; }
}
build "$consumer" move_c move_cpp
build "$prefix/share/doc/libkx-service-dev/examples" stream_joints

PKG_CONFIG_PATH=$(dirname "$(find "$prefix"/lib* -name kx-service.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs kx-service)
rpath=-Wl,-rpath,$(pkg-config --variable=libdir kx-service)
gcc "$consumer/move.c" "${flags[@]}" -lm "$rpath" -o move_c
g++ "$consumer/move.cpp" "${flags[@]}" "$rpath" -o move_cpp

exec {output}< <(exec "$prefix/bin/kx-controller" --port 0 --model 46 --speed 20)
controller_pid=$!
read -r -u "$output" listening
for program in build-consumer/move_c build-consumer/move_cpp ./move_c ./move_cpp; do
  [[ $(ldd "$program") == *"libKX_Service.so.1 => $(realpath "$prefix")"* ]] || {
    echo "$program does not use the library of $prefix"
    exit 1
  }
  "$program" "${listening##*:}" >program.log || {
    echo "$program ended with status $?"
    cat program.log
    exit 1
  }
done
