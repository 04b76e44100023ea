#!/usr/bin/env bash
# The cell fills its pallet on a bad day, and has gone on after each mishap: cell.sh kx-controller cell sources
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
cd "$3"
said=$("$here/run.sh" "$1" "--speed 10 --spacing 0 --object 40 --script bad_day.txt --seed 7" "$2")
echo "$said"
grep -q '^went on after 1 refusals, 1 emergency stops, 1 lost links$' <<<"$said"
