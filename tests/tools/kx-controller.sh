#!/usr/bin/env bash
# kx-controller at a terminal: its options, manual and completion: kx-controller.sh kx-controller kx sources
set -uo pipefail
controller=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "$*" && failures=1; }

# Wrong use is said, with 64.
printf 'movej di 9 on\n' >"$work/script"
for wrong in '--model 35' '--port 70000' '--speed 0' '--payload -1' '--object-mass -1' '--di 5=1' '--fault dely' \
  '--payload nan' '--lead 1,2,3,4,5,nan' '--ai 1=nan' '--ai 1=11' '--di 1=2' '--modbus-input -1=1' '--modbus-register 1=.5' \
  '--control tcp' "--script $work/script" "--script=" '--lead 1,2,3' --fly fly '--proxy :80' '--proxy localhost:http' \
  '--port 1 --port 2' '--model 46 --model 47 --port 65535' '--model 46 --model 47 --record x' '--web-host ::1'; do
  # shellcheck disable=SC2086
  "$controller" $wrong >"$work/out" 2>"$work/err" </dev/null
  [ $? = 64 ] && [ -s "$work/err" ] && [ ! -s "$work/out" ] || fail "kx-controller $wrong: $(<"$work/err")"
done
for others in '8080 --host 192.0.2.1' '8090 --port 0 --web-host 192.0.2.1 --web'; do # no port is taken
  # shellcheck disable=SC2086
  "$controller" ${others#* } >/dev/null 2>"$work/err"
  [ $? = 1 ] && grep -qF "192.0.2.1:${others%% *}: " "$work/err" || fail "an address of others: $(<"$work/err")"
done
[ "$("$controller" --version)" = "kx-controller $("$2" --version | cut -d' ' -f2)" ] || fail "$("$controller" --version)"

# Names stand for addresses, and the standard input is heard line by line.
coproc "$controller" --port 0 --host localhost --control - 2>"$work/err"
read -r -u "${COPROC[0]}" listening
[[ $listening == *127.0.0.1:* ]] || fail "$listening"
long=$(printf 'refuse%400s')
for line in pause 'step 0.01' 'di 1 on' 'every do 1 rises, +0.5 di 2 on' "${long// / movej}" 'ai 1'; do echo "$line"; done >&"${COPROC[1]}"
for wanted in ok ok ok ok 'error: the line is too long' 'error: ai: VOLTS is missing'; do
  read -r -u "${COPROC[0]}" answer
  [ "$answer" = "$wanted" ] || fail "$answer instead of $wanted"
done
pid=$COPROC_PID
kill -INT "$pid"
wait "$pid" || fail "interrupted: status $?"

# A closed standard input has ended, too. A full disk is said, and leaves whole lines.
timeout 60 "$controller" --port 0 --until-eof <&- >/dev/null || fail "closed input: status $?"
for _ in {1..5}; do echo "${long:0:146}"; done | sed 's/ / movej/g' |
  (trap '' XFSZ && ulimit -f 2 && exec "$controller" --port 0 --control - --until-eof --record "$work/full.jsonl" 2>&1) |
  grep 'cannot write .*full.jsonl: File too large' >/dev/null || fail 'a full disk is not said'
"$controller" --port 0 --replay "$work/full.jsonl" --until-eof </dev/null >/dev/null 2>&1 || fail "full: $(<"$work/full.jsonl")"

# Who waits for a terminal leaves it to others as it is.
python3 - "$controller" <<'END' || fail 'a terminal does not wait any more'
import os, pty, subprocess, sys
_, terminal = pty.openpty()
with subprocess.Popen([sys.argv[1], "--port", "0", "--control", "-"], stdin=terminal, stdout=subprocess.PIPE) as controller:
    controller.stdout.readline()
    waits = os.get_blocking(terminal)
    controller.terminate()
sys.exit(not waits)
END

# The manual knows every option, and all that can happen; the completion takes them from the help.
"$controller" --help >"$work/help"
sed 's/\\-/-/g' "$3/kx-controller.1.in" >"$work/manual"
options=$(grep -o -- '^ *\(-[a-z],\)\?--[a-z-]*\(,--[a-z-]*\)\?' "$work/help" | tr ', ' '\n' | grep -- '^--')
happenings=$(sed -n '/^What happens/,$ s/^  \([a-z-]*\) .*/\1/p' "$work/help")
[ "$(wc -w <<<"$options")" -ge 29 ] && [ "$(wc -w <<<"$happenings")" -ge 20 ] || fail "help: $options $happenings"
for word in $options $happenings; do
  grep -qF -e "\\fB$word\\fR" "$work/manual" || grep -q "^\.BR\? $word\b" "$work/manual" ||
    fail "the manual lacks $word"
done
bash -n "$3/kx-controller.bash" || failures=1

exit $failures
