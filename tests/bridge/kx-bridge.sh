#!/usr/bin/env bash
# kx-bridge at a terminal: its options, manual and completion: kx-bridge.sh kx-bridge sources
set -uo pipefail
bridge=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "$*" && failures=1; }

# Wrong use is said, with 64.
arm='--arm 127.0.0.1:8080,46'
for wrong in '' '--arm 127.0.0.1,46' '--arm 127.0.0.1:8080' '--arm 127.0.0.1:8080,35' '--arm 127.0.0.1:8080,460' '--arm :8080,46' \
  '--arm 127.0.0.1:70000,46' '--arm 1=127.0.0.1:8080,46' '--arm =127.0.0.1:8080,46' "$arm $arm" "$arm --domain 233" \
  "$arm --rate 0" "$arm --watchdog 0" "$arm --watchdog nan" "$arm --velocity nan" "$arm --rename joint=a" "$arm --rename tf=" "$arm --rename tf=a-b" "$arm --rename tf=a/1"; do
  # shellcheck disable=SC2086
  timeout 20 "$bridge" $wrong >"$work/out" 2>"$work/err"
  [ $? = 64 ] && [ -s "$work/err" ] && [ ! -s "$work/out" ] || fail "kx-bridge $wrong: $(<"$work/err")"
done

# Nobody but this machine is heard.
exec {output}< <(exec "$bridge" --arm 127.0.0.1:1,46 --domain 102 2>&1)
pid=$!
read -r -u "$output" _
sockets=$(find /proc/$pid/fd -lname 'socket:*' -printf '%l\n' | tr -dc '0-9\n')
addresses=$(awk 'NR == FNR {is[$1]; next} $10 in is {print $2}' <(echo "$sockets") /proc/net/udp)
[ "$addresses" ] && ! grep -v '^0100007F:' <<<"$addresses" || fail "it hears on $addresses"
kill -HUP $pid
wait $pid || fail "hung up: $?"

# Manual and completion know every option.
"$bridge" --help >"$work/help"
sed 's/\\-/-/g' "$2/kx-bridge.1.in" >"$work/manual"
options=$(grep -o -- '^ *\(-[a-z],\)\?--[a-z-]*' "$work/help" | tr ', ' '\n' | grep -- '^--')
[ "$(wc -w <<<"$options")" -ge 13 ] || fail "help: $options"
for word in $options; do
  grep -qF -e "\\fB$word\\fR" "$work/manual" || grep -q "^\.B $word\b" "$work/manual" || fail "the manual lacks $word"
done
bash -n "$2/kx-bridge.bash" || failures=1

exit $failures
