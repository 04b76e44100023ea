#!/usr/bin/env bash
# Recordings as the format's own reader for Node.js sees them: judge.sh kx kx-controller directory-for-the-reader
# Ends with 77 where that cannot be had.
set -euo pipefail
kx=$1 controller=$2 npm=$3
here=$(cd "$(dirname "$0")" && pwd)
for program in node npm; do
  command -v "$program" >/dev/null || { echo "skipped: there is no $program" && exit 77; }
done
mkdir -p "$npm"
cp "$here"/package.json "$here"/package-lock.json "$here"/judge.mjs "$npm"
if ! [ "$npm/node_modules" -nt "$here/package-lock.json" ]; then
  (cd "$npm" && timeout 60 npm ci --ignore-scripts --no-audit --no-fund >npm.log 2>&1) ||
    { echo "skipped: the reader cannot be fetched" && tail -n 3 "$npm/npm.log" && exit 77; }
fi

work=$(mktemp -d)
pid=
trap 'kill "$pid" 2>/dev/null || true; rm -rf "$work"' EXIT
start() { # model, recording
  exec {output}< <(exec "$controller" --port 0 --model "$1" --spacing 0 --record "$2" 2>"$work/log")
  pid=$!
  read -r -u "$output" listening
  export KX_ARM=127.0.0.1:${listening##*:} KX_MODEL=$1
}
end() { kill "-$1" "$pid" && tail --pid="$pid" -f /dev/null; }

# From outside and from inside, finished by an interrupt.
start 46 "$work/inside.mcap"
"$kx" record "$work/outside.mcap" --hz 100 >"$work/counts" &
recorder=$!
"$kx" movej 20 0 10 0 -90 0 --speed 50
"$kx" stop
kill -INT "$recorder" && wait "$recorder"
end TERM
(cd "$npm" && node judge.mjs "$kx" "$work/inside.mcap" 46 inside && node judge.mjs "$kx" "$work/outside.mcap" 46 outside | tee "$work/judged")
grep -qx 'lost *0' "$work/counts" && grep -q ": $(sed -n 's/^messages *//p' "$work/counts") messages" "$work/judged" ||
  { echo "kx record counted:" && cat "$work/counts" && exit 1; }
"$kx" export "$work/inside.mcap" --json >"$work/lines"
for event in '"connected"' '"stop"' '"no more requests"'; do
  grep -q "\"event\":$event" "$work/lines" || { echo "no event $event" && exit 1; }
done

# Killed: all is there but for the last second.
start 47 "$work/killed.mcap"
"$kx" movej 20 0 0 0 0 0 0 --speed 50
"$kx" state >"$work/state"
"$kx" io do 3 on
sleep 1
end KILL
(cd "$npm" && node judge.mjs "$kx" "$work/killed.mcap" 47 inside --unfinished)
"$kx" export "$work/killed.mcap" --json >"$work/lines" 2>"$work/log"
grep -q '"request":{"command":"set_DO_state"' "$work/lines" && grep -q 'never finished' "$work/log" || { echo "the last request is lost" && exit 1; }
