#!/usr/bin/env bash
# kx as a user calls it, against a virtual controller: kx.sh kx kx-controller sources
set -uo pipefail
kx=$1
unset KX_ARM KX_MODEL
work=$(mktemp -d)
exec {output}< <(exec "$2" --port 0 --model 46 --speed 10 --di 3=1 --ai 2=1.25 --tool-di 2=1 --object 40 2>/dev/null)
controller_pid=$!
exec {silence}< <(exec "$2" --port 0 --fault silence 2>/dev/null)
silent_pid=$!
trap 'kill $controller_pid $silent_pid; rm -rf "$work"' EXIT
read -r -u "$silence" listening
"$kx" --arm "${listening##* }" --timeout 5 stop 2>"$work/silence" &
waiter=$!
read -r -u "$output" listening
export KX_ARM=127.0.0.1:${listening##*:} KX_MODEL=46
failures=0

# check status stdout stderr arguments...: both outputs match these patterns as a whole.
check() {
  "$kx" "${@:4}" >"$work/out" 2>"$work/err"
  local status=$? out err
  out=$(<"$work/out") err=$(<"$work/err")
  # shellcheck disable=SC2053
  [ $status = "$1" ] && [[ $out == $2 && $err == $3 ]] && return
  printf 'kx %s\nstatus %s, expected %s\nstdout: %s\nexpected: %s\nstderr: %s\nexpected: %s\n\n' \
    "${*:4}" $status "$1" "$out" "$2" "$err" "$3"
  failures=$((failures + 1))
}

# Moving, and seeing it.
check 0 '' '' movej 0 -30 -60 0 -90 0 --speed 100
check 0 '{"status":0,"joint":\[0.0,-30.0,-60.0,0.0,-90.0,0.0\],"position":*,"arm_error":0,"controller_error":0}' '' \
  --json state
check 0 'joint * deg * 0.000 * -30.000 * -60.000 * 0.000 * -90.000 * 0.000*position * m *' '' state
check 1 '' 'kx: movej: status 1: the controller refused*' movej 1000 0 0 0 0 0
check 1 '{"status":1,"meaning":"the controller refused*"}' 'kx: movel: status 1: *' --json movel 3 0 0 0 0 0
check 0 '' '' stop
check 0 '{"command":"get_joint_degree","joint":\[0,-30000,-60000,0,-90000,0\]}' '' raw '{"command": "get_joint_degree"}'
# Seen through the arm and computed, the pose is the same, and leads back to the joints.
check 0 'position *rotation *quaternion *' '' fk -.0 -30 -60 0 -90 0
read -ra pose < <("$kx" fk 0 -30 -60 0 -90 0 | awk '/position|rotation/ {printf "%s %s %s ", $3, $4, $5}')
check 0 'joint * deg * -30.000 * -60.000 * -90.000 *' '' ik "${pose[@]}" --near 1 -31 -61 0 -89 0
check 0 '' '' movel "${pose[@]}" --speed 100
# Inputs, outputs, gripper.
check 0 '*"set_state":true}' '' raw '{"command": "set_tool_IO_mode", "IO_Num": 2, "state": 0}'
check 0 '{"status":0,"do":\[0,0,0,0\],"di":\[0,0,1,0\],"ao":*,"ai":\[0.0,1.25,0.0,0.0\],"tool":\[0,1,0,0\],*}' '' --json io
check 0 '' '' io do 2 on
check 0 '' '' io ao 4 2.5
check 0 '' '' io tool 1 on
check 0 '{"status":0,"do":\[0,1,0,0\]}' '' --json io do
check 0 'ao * V * 2.500' '' io ao 4
check 0 'tool * 1' '' io tool 1
check 1 '' 'kx: io: status 1: there are 4 of di' io di 5
check 0 '' '' gripper close --speed 1000
check 0 '' '' gripper to 900
check 1 '' 'kx: gripper: status 1: *' gripper to 1001
check 1 '' 'kx: ik: status 1: out of reach' ik 3 0 0 0 0 0
# Wrong use: one clear sentence, nothing sent.
check 64 '' '*model 46 has 6 joints, but 3 angles are given*' movej 1 2 3
check 64 '' '*nan is no number*' movej nan 0 0 0 0 0
check 64 '' '*empty argument*' movej '' 0 0 0 0 0
check 64 '' '*1e39 is no number*' ik 0.3 0 0.4 1e39 0 0
check 64 '' '*nan is no number*' --timeout nan state
check 64 '' '*nan is no number*' state --watch --every nan
check 64 '' '*nan is no number*' record "$work/none.mcap" --hz nan
check 64 '' '*--speed: Value 300 not in range 1 to 100*' movej 0 0 0 0 0 0 --speed 300
check 64 '' '*six numbers*' movel 1 2 3
check 64 '' '*RX RY RZ are radians*' movel 0.3 0 0.4 180 0 0
check 64 '' '*X Y Z are metres*' ik 300 0 0.4 3.14 0 0
check 64 '' '*di is an input*' io di 1 on
check 64 '' '*on or off, not maybe*' io do 1 maybe
check 64 '' '*empty argument*' io do 1 ''
check 64 '' '*not one JSON object*' raw '[1]'
check 64 '' '*HOST:PORT*' --arm 127.0.0.1 state
check 64 '' '*HOST:PORT*' --arm '127.0.0.1: 80' state
check 5 '' '*cannot be reached' --arm '[::1]:1' state
check 64 '' '*there is no foo, only state movej * raw*' foo
check 64 '' '*a command is needed: state movej * raw*' --json
# Descriptions; other programs judge what they say, and the guide writes them into files.
check 0 '*<robot name="left_kx_36">*"file:///here/36/link_0_shell.stl"*"left_joint_6"*' '' urdf 36 --prefix left_ --meshes file:///here
check 64 '' '*model: 45 not in*' urdf 45
check 64 '' '*2left is no prefix*' mjcf 36 --prefix 2left
check 65 '' "*cannot write $work/none/46.srdf: No such*" srdf --output "$work/none/46.srdf"
check 65 '' '*cannot write*' meshes 46 --output /dev/null
check 64 '' '*--output is required*' meshes 46
KX_MODEL='' check 64 '' '*the model is needed*' urdf
# What fails beside the arm; nothing listens on port 1.
check 5 '' 'kx: state: status 5: the controller cannot be reached' --arm 127.0.0.1:1 state
check 11 '' '*the arm has 6 joints, model 47 has not' --model 47 state
check 1 '' '*the arm has 6 joints, model 47 has not' --model 47 movej 1 2 3 4 5 6 7
KX_ARM='' check 64 '' '*kx-controller --port*' state
KX_MODEL='' check 64 '' '*the model of the arm is needed*' fk 0 0 0 0 0 0

# Recordings, and what stands in their way.
check 0 'messages *lost * 0*states_missed *' '' record "$work/a.mcap" --seconds 0.5
check 0 $'time_s,joint_1_deg,*,joint_6_deg\n*.*,-30.000000,-60.000000,*' '' export "$work/a.mcap"
check 0 '{"recording":"kx-controller","version":1,*"event":"connected to *"request":*"reply":*' '' --json export "$work/a.mcap"
check 65 '' "kx: record: status 65: cannot write $work/a.mcap: File exists" record "$work/a.mcap"
"$kx" urdf >/dev/full 2>"$work/err"
[ $? = 65 ] || { echo "no room for a description: $(<"$work/err")" && failures=1; }
check 65 '' '*cannot write /dev/full: No space left on device' record /dev/full --overwrite
check 65 '' '*cannot write /nowhere/a.mcap: No such file or directory' record /nowhere/a.mcap
check 5 '' '*' --arm 127.0.0.1:1 record "$work/none.mcap"
check 11 '' '*the arm has 6 joints, model 47 has not' --model 47 record "$work/none.mcap" --seconds 1
[ ! -e "$work/none.mcap" ] || { echo "recorded without an arm" && failures=1; }
(trap '' XFSZ && ulimit -f 64 && "$kx" record "$work/full.mcap" --seconds 60 2>"$work/err") # kB
[ $? = 65 ] && grep -q 'full.mcap: File too large' "$work/err" || { echo "full: $(<"$work/err")" && failures=1; }
check 0 'time_s,*' '*' export "$work/full.mcap"
check 65 '' '*kx.sh: it is no MCAP file' export "$0"
check 65 '' '*only a file can be read, not a pipe' export <(cat "$work/a.mcap")
check 65 '' '*cannot read *' export "$work/none.mcap"
check 65 '{"status":65,"meaning":"cannot read none*"}' '*cannot read none\?*' --json export $'none\e\xff'
check 64 '' '*either --csv or --json*' --json export "$work/a.mcap" --csv

# An interrupt stops the arm: it stands, far from where it was sent.
check 0 '' '' movej 0 0 0 0 0 0 --speed 100
"$kx" movej 170 0 0 0 0 0 --speed 1 2>"$work/err" &
mover=$!
until [[ $("$kx" state | head -1) != *' 0.000 '*' 0.000 '*' 0.000 '*' 0.000 '*' 0.000 '*' 0.000'* ]]; do :; done
kill -INT $mover
wait $mover
[ $? = 1 ] && grep -q 'stopping the arm' "$work/err" || { echo "interrupted: $(<"$work/err")" && failures=1; }
stands=$("$kx" state)
[ "$stands" = "$("$kx" state)" ] || { echo "an interrupted arm moves on" && failures=1; }

wait $waiter
[ $? = 7 ] || { echo "long silence: $(<"$work/silence")" && failures=1; }

# Manual and completion know every command.
commands=$("$kx" --help | sed -n '/^Subcommands/,/^$/s/^  \([a-z]\+\) .*/\1/p')
[ "$(wc -w <<<"$commands")" -ge 9 ] || { echo "kx --help lists: $commands" && failures=1; }
for command in $commands; do
  for text in kx.1.in kx.bash; do
    grep -q "$command" "$3/$text" || { echo "$text lacks $command" && failures=1; }
  done
done

exit $((failures > 0))
