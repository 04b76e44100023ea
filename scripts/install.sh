#!/usr/bin/env bash
# Installs the Debian packages that are missing: install.sh demo | all
set -euo pipefail
demo=(g++ cmake ninja-build libcjson-dev libasio-dev nlohmann-json3-dev libcli11-dev liborocos-kdl-dev libmodbus-dev
  libjs-three fonts-b612 pkgconf gnuplot-nox)
tests=(abigail-tools clang clang-format libclang-rt-14-dev binutils libgtest-dev libbenchmark-dev libcpp-httplib-dev libfcl-dev libglpk-dev
  liburdfdom-tools libkdl-parser-dev libsdformat-dev libmujoco-dev
  dpkg-dev file gcovr lintian chromium chromium-driver doxygen python3
  python3-dev pybind11-dev python3-numpy python3-pytest mypy python3-setuptools python3-wheel python3-pip
  python3-matplotlib python3-pil python3-selenium cyclonedds-dev cyclonedds-tools libfastrtps-dev liburdfdom-dev)

packages=("${demo[@]}")
[ "${1:-all}" = demo ] || packages+=("${tests[@]}")
[ "${1:-all}" = demo ] || command -v npm >/dev/null || packages+=(nodejs npm) # others pack them as one

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then as_root=(sudo); fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  exit 1
fi
