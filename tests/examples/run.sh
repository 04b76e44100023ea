#!/usr/bin/env bash
# Runs an example against a virtual controller of its own: run.sh kx-controller "options" example [arguments behind the port]
set -euo pipefail
read -ra options <<<"$2"
exec {output}< <(exec "$1" --port 0 "${options[@]}")
controller_pid=$!
trap 'kill $controller_pid' EXIT
read -r -u "$output" listening
"$3" "${listening##*:}" "${@:4}"
