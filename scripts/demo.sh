#!/usr/bin/env bash
# The main job on a fresh machine: installs what is missing, builds, starts a virtual controller and drives its arm
# through the library. With --page its page stays open afterwards. Give an arm model if you like:
# demo.sh [--page] [36|46|47]
set -euo pipefail
cd "$(dirname "$0")/.."
page=
model=46
for argument in "$@"; do
  if [ "$argument" = --page ]; then page=1; else model=$argument; fi
done

./scripts/install.sh demo
./scripts/build.sh demo kx-controller demo

exec {controller}< <(exec build/demo/bin/kx-controller --port 0 --web 0 --model "$model")
controller_pid=$!
trap 'kill $controller_pid 2>/dev/null || true' EXIT
read -r -u "$controller" started
read -r -u "$controller" page_started
printf '%s\n' "$started" "$page_started"
port=${started##*:}
build/demo/bin/demo "$port" "$model" "$PWD/build/demo.svg"

[ -n "$page" ] || exit 0
echo
echo "The page stays at ${page_started##* } until you press Ctrl-C."
echo "To see the arm move again: build/demo/bin/demo $port $model build/demo.svg"
cat <&"$controller" # until the controller ends
