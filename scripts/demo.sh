#!/usr/bin/env bash
# The main job on a fresh machine: installs what is missing, builds, starts a virtual controller and drives its arm
# through the library. Give an arm model if you like: demo.sh [36|46|47]
set -euo pipefail
cd "$(dirname "$0")/.."
model=${1:-46}

./scripts/install.sh demo
./scripts/build.sh demo

exec {controller}< <(exec build/demo/bin/kx-controller --port 0 --model "$model")
controller_pid=$!
trap 'kill $controller_pid 2>/dev/null || true' EXIT
read -r -u "$controller" started
echo "$started"
build/demo/bin/demo "${started##*:}" "$model" "$PWD/build/demo.svg"
