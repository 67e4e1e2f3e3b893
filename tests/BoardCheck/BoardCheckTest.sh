#!/bin/sh
# QelBoardCheck on a board in software, on bad boards and without any: BoardCheckTest.sh BIN_FOLDER BAD_LIBRARY_FOLDER SOURCE_FOLDER
set -u
bin=$1
bad=$2
source=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
export TAVRIN_BOARD="$work/board" BAD_BOARD_LIBRARY="$bin/libTavrin.so.1"
failures=0

expect() { # WHAT EXPECTED ACTUAL
  [ "$2" = "$3" ] && return
  printf 'FAILED %s\n  expected: %s\n  actual:   %s\n' "$1" "$2" "$3"
  failures=$((failures + 1))
}
check() { timeout -k 5 100 "$bin/QelBoardCheck" "$@"; }
board() { "$bin/tavrin-board" "$@" >/dev/null; }
outputs() { "$bin/tavrin-board" status | sed -n 's/ *output [0-9]*: //p' | sed 's/held by [0-9].*/held/' | tr '\n' ';'; }
register() { "$bin/tavrin-board" status | sed -n 's/.*6908.*: //p'; }
wait_until() { # OUTPUTS
  for _ in $(seq 200); do
    [ "$(outputs)" = "$1" ] && return
    sleep 0.05
  done
  expect 'the outputs at last' "$1" "$(outputs)"
}

# Each fault is found in its row alone, and named. Everything is given back, unless the library does not let it.
# A row: what the board does | the row that fails | what came, in part | the outputs afterwards, where they are not off
while IFS='|' read -r fault row came left; do
  board create
  BAD_BOARD=$fault LD_LIBRARY_PATH=$bad check --draw --seconds 0 >"$work/out" 2>"$work/err"
  status=$?
  expect "status with '$fault'" "$([ -n "$row" ] && echo 1 || echo 0)" "$status"
  expect "rows that fail with '$fault'" "$row" "$(sed -n 's/^fails *\([^ ]*\) .*/\1/p' "$work/out" | tr '\n' ' ' | sed 's/ $//')"
  grep -qF "$came" "$work/out" || expect "what came with '$fault'" "$came" "$(grep ^fails "$work/out")"
  expect "outputs and register after '$fault'" "${left:-off;off;} 0x00000000" "$(outputs) $(register)"
done <<'FAULTS'
||look at the outputs
pitch|pitch|a pitch equal to the width
pitch-in-bytes|planes|a pitch of 1040 pixels and of 1024 bytes
size|planes|a size of 1024 x 769 instead of 1024 x 768
upside-down|second-access|came: upside down
exchanged|second-access|came: red and blue exchanged
forgotten|second-access|nothing of it
shared|busy|output 0: TVideoOut_Enable returned 0
once|enable-again|output 0: TVideoOut_Enable returned -1 (TStatus_FAIL)
deaf|running-register|0 after 1 was written
clears|progress-register|0 after 40
-256 TVideoOut_Enable|enable|returned -256 (which looks like success in an exit status)
-256 TBuffer_Destroy|buffer|TBuffer_Destroy returned -256 (which looks like success in an exit status)
-1 TVideoOut_ReleaseHandle 2|release|output 1: TVideoOut_ReleaseHandle returned -1
-1 TVideoOut_Disable|disable|TVideoOut_Disable returned -1|1024x768, 60 Hz, held by nobody;1024x768, 60 Hz, held by nobody;
-1 TBoard_RegRead|registers|TBoard_RegRead returned -1
crash TBuffer_CreateVideo|buffer|TBuffer_CreateVideo crashes (SIGSEGV)
crash TVideoOut_Enable 2|enable|TVideoOut_Enable crashes (SIGSEGV)
crash TBoard_RegWrite 3|running-register|TBoard_RegWrite crashes (SIGSEGV)
exit TVideoOut_Disable 2|disable|TVideoOut_Disable ends the process (exit status 0)
crash Tavrin_UnLoad|load|Tavrin_UnLoad crashes (SIGSEGV)
hang TBuffer_BeginAccess|rows|TBuffer_BeginAccess hangs
hang TVideoOut_Enable 2|enable|TVideoOut_Enable hangs
FAULTS

# What may not be driven is not drawn on, and the reason is said. A row: arguments of create | reason
while IFS='|' read -r arguments reason; do
  # shellcheck disable=SC2086 # words
  board create $arguments
  check --draw --json >"$work/out" 2>"$work/err"
  expect "status with '$arguments'" 1 "$?"
  expect "reason with '$arguments'" "false,\"reason\":\"$reason\"" "$(grep -o 'false,"reason":"[^"]*"' "$work/out")"
  expect "what is tried with '$arguments'" 14 "$(grep -o '"not tried",[^}]*may not be driven' "$work/out" | wc -l)"
done <<'REFUSALS'
--fpga 3:1.33.7|the firmware of FPGA 0 is not known: TARN_IN 001-033-007
--fpga 3:1.33.0 --fpga fff0:1.2.3|the firmware of FPGA 1 is not known: device c3e7fff0 001-002-003
--fpga 3:1.33.0@d2|no FPGA has I2C address 0xd0 and vendor 0xc3e7
--no-fpga|the board has no FPGA
REFUSALS

# A look changes nothing, and tells all that there is, also of a board that somebody else drives.
board create --devices 2 --fpga 5:2.1.33 && board progress 40
"$bin/QelProgressBarDisplay" >/dev/null & # until it is killed below, however slow this build is
wait_until '1024x768, 60 Hz, held;1024x768, 60 Hz, held;off;off;'
find "$work/board" -type f -exec cksum {} + | sort >"$work/before"
check --json >"$work/out"
expect 'status of a look' 0 "$?"
find "$work/board" -type f -exec cksum {} + | sort | cmp - "$work/before" || expect 'files after a look' same changed
for fact in "\"path\":\"$bin/libTavrin.so.1\"" '"version":"1"' '"missing":[]' '"device":1' '"device_code":5' \
  '"version":"002-001-033"' '"device_name":"TARN_OUT"' '"known":true,"supported":false' '"IsGenLockSupported":true' \
  '"may_be_driven":true' '"outputs":2' '"registers":{"6908":1,"7932":40}' '"percent":40'; do
  grep -qF "$fact" "$work/out" || expect 'the look' "$fact" "$(cat "$work/out")"
done
check --draw --seconds 0 -d 1 >/dev/null
expect 'status of the device that nobody drives' 0 "$?"
check --draw --seconds 0 >"$work/out"
expect 'status of the device that is driven' 1 "$?"
grep -q '^fails *enable .*another process holds it' "$work/out" || expect 'row of a busy board' busy "$(grep ^fails "$work/out")"
expect 'the outputs of the other' '1024x768, 60 Hz, held' "$(outputs | cut -d ';' -f 2)"
kill "$!"
wait

# The card shows until the time is over, a signal comes or the check is killed. Then everything is taken back.
board create
for signal in TERM INT HUP QUIT KILL; do
  "$bin/QelBoardCheck" --draw --seconds 60 >"$work/out" 2>&1 &
  last=
  until now=$("$bin/tavrin-board" status | grep held) && [ "$now" = "$last" ]; do last=$now; done # the card: one process holds on
  kill "-$signal" "$!"
  wait "$!" 2>/dev/null
  expect 'status after a signal' "$signal" "$(kill -l "$?")"
  wait_until 'off;off;'
done

# Command lines, and machines without a library or a board. A row: status | arguments
vga='640 480 60 31 25175 16 96 48 10 2 33 no no - + no RGB_FULL 444'
while IFS='|' read -r wanted arguments; do
  # shellcheck disable=SC2086 # words
  check $arguments >/dev/null 2>&1
  expect "status with '$arguments'" "$wanted" "$?"
done <<ROWS
0|--help
0|--draw --seconds 0 -v $vga 8
0|--draw --seconds 0 -v 1 1 ${vga#* * } 8
1|--draw --seconds 0 -v 0 ${vga#* } 8
1|-d 1
2|-d -1
2|-x
2|--draw -v $vga 9
2|--draw -v $vga
2|--seconds 1
2|--draw --seconds 3601
ROWS
board create --outputs 0
check --draw >/dev/null
expect 'status without outputs' 1 "$?"
BAD_BOARD=no-device LD_LIBRARY_PATH=$bad check >/dev/null
expect 'status without a device' 3 "$?"
mkdir "$work/alone" && cp "$bin/QelBoardCheck" "$work/alone"
LD_LIBRARY_PATH='' "$work/alone/QelBoardCheck" --json >"$work/out"
expect 'status and path without a library' '3 "path":null' "$? $(grep -o '"path":null' "$work/out")"
printf '' | cc -shared -x c - -o "$work/alone/libTavrin.so.1" && "$work/alone/QelBoardCheck" >"$work/out"
expect 'status and row of a library without operations' '1 lacks Tavrin_GetDeviceCount, ' \
  "$? $(grep -o '^fails.*lacks Tavrin_GetDeviceCount, ' "$work/out" | grep -o 'lacks.*')"

# The documents name every check.
for name in $(check --json | grep -o '"name":"[^"]*","result"' | cut -d '"' -f 4); do
  for page in man/QelBoardCheck.1 docs/real-boards.md; do
    grep -qE "(^\.It Cm |\`)$name(\`|\$)" "$source/$page" || expect "checks in $page" "$name" none
  done
done

[ "$failures" -eq 0 ] && echo 'All good.'
exit "$failures"
