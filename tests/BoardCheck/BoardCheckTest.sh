#!/bin/sh
# QelBoardCheck on a board in software, on bad boards and without any:
# BoardCheckTest.sh BIN_FOLDER BAD_LIBRARY_FOLDER SOURCE_FOLDER [JOB]
# Without a job it runs all of them, some at a time, the long ones first. Each has a board of its own.
# shellcheck disable=SC2317 # a job is a function that is called by its name
set -u
if [ $# -eq 3 ]; then
  "$1/QelBoardCheck" --help >/dev/null
  [ $? -ne 126 ] || exit 126 # this machine cannot run it
  # A row of "fault": what the board does | the row that fails | what is said, in part | the exit status, if it is not 1, or 0
  # without a row | the outputs afterwards, if they are not off. Each fault is found in its row alone, and named. Everything
  # is given back, unless the library does not let it.
  # A row of "refusal": arguments of create | why the board may not be driven
  # A row of "line": exit status | arguments
  xargs -P 10 -d '\n' -n 1 "$0" "$@" <<'JOBS' || exit
fault|hang TVideoOut_Disable|disable|output 1 may still be on: TVideoOut_Disable hangs||200x150, 60 Hz, held by nobody;200x150, 60 Hz, held by nobody;
default
fault|hang TVideoOut_Disable 2|disable|TVideoOut_Disable hangs
fault|hang TVideoOut_Enable 2|enable|TVideoOut_Enable hangs: it does not return within 2 s
fault|hang TBuffer_BeginAccess|rows|TBuffer_BeginAccess hangs
fault|hang TBoard_RegWrite 2|running-register|TBoard_RegWrite hangs
look
card
signal|TERM
signal|INT
signal|HUP
signal|QUIT
signal|KILL
lines
fault|||look at the outputs
fault|babble TBuffer_CreateVideo||look at the outputs
fault|pitch|pitch|a pitch equal to the width
fault|pitch-in-bytes|planes|a pitch of 208 pixels and of 200 bytes
fault|size|planes|a size of 200 x 151 instead of 200 x 150
fault|planes|planes|came: 2 planes
fault|many-planes|planes|came: 4 planes
fault|format|planes|came: a plane of format 54
fault|upside-down|second-access|came: upside down
fault|exchanged|second-access|came: red and blue exchanged
fault|forgotten|second-access|nothing of it
fault|shared|busy|output 0: TVideoOut_Enable returned 0
fault|released|busy|output 0: TVideoOut_Enable returned 0
fault|once|enable-again|output 0: TVideoOut_Enable returned -1 (TStatus_FAIL)
fault|deaf|running-register|0 after 1 was written
fault|clears|progress-register|0 after 40
fault|fields||percent 5 reserved 9 bar_display_completed 1 trigger_new_bar_display 0 update_status 90
fault|many|devices|the device has a handle (65 devices)
fault|no-device|devices|came: 0 devices|3
fault|-256 TVideoOut_Enable|enable|returned -256 (which looks like success in an exit status)
fault|-256 TBuffer_Destroy|buffer|TBuffer_Destroy returned -256 (which looks like success in an exit status)
fault|-1 TVideoOut_ReleaseHandle 2|release|output 1: TVideoOut_ReleaseHandle returned -1
fault|-1 TVideoOut_Disable|disable|output 1 may still be on: output 1: TVideoOut_Disable returned -1||200x150, 60 Hz, held by nobody;200x150, 60 Hz, held by nobody;
fault|-1 TBoard_RegWrite|running-register|register 6908 may not hold 0 again: TBoard_RegWrite returned -1
fault|-1 TBoard_RegRead|registers|TBoard_RegRead returned -1
fault|crash TBuffer_CreateVideo|buffer|TBuffer_CreateVideo crashes (SIGSEGV)
fault|crash TBoard_RegWrite 3|running-register|TBoard_RegWrite crashes (SIGSEGV)
fault|stop-crash TBoard_RegWrite 2|running-register|TBoard_RegWrite crashes (SIGSEGV)|143
fault|exit TVideoOut_Disable 2|disable|TVideoOut_Disable ends the process (exit status 0)
fault|crash Tavrin_UnLoad|load|Tavrin_UnLoad crashes (SIGSEGV)
fault|stop TBoard_GetFpgaCount||it can be loaded and unloaded|143
fault|stop TBuffer_BeginAccess||a second access shows what the first drew (stopped by a signal)|143
fault|stop TVideoOut_Enable 2||the handle of an enabled output is released (stopped by a signal)|143
fault|stop-crash TVideoOut_Enable 2|enable|TVideoOut_Enable crashes (SIGSEGV)|143
fault|stop TVideoOut_Disable 2||the outputs show a test card (stopped by a signal)|143
fault|child TBoard_GetFpgaCount||look at the outputs
refusal|--fpga 3:1.33.7|the firmware of FPGA 0 is not known: TARN_IN 001-033-007
refusal|--fpga 3:1.33.0 --fpga fff0:1.2.3|the firmware of FPGA 1 is not known: device c3e7fff0 001-002-003
refusal|--fpga 3:1.33.0@d2|no FPGA has I2C address 0xd0 and vendor 0xc3e7
refusal|--no-fpga|the board has no FPGA
libraries
documents
JOBS
  echo 'All good.'
  exit
fi
bin=$1 bad=$2 source=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
export TAVRIN_BOARD="$work/board" BAD_BOARD_CHILD="$work/child" BAD_BOARD_LIBRARY="$bin/libTavrin.so.1"
timing='60 31 25175 16 96 48 10 2 33 no no - + no RGB_FULL 444' # without the size and the depth
failures=0

expect() { # WHAT EXPECTED ACTUAL
  [ "$2" = "$3" ] && return
  printf 'FAILED %s\n  expected: %s\n  actual:   %s\n' "$1" "$2" "$3"
  failures=$((failures + 1))
}
says() { # WHAT TEXT: the report holds the text
  grep -qF -e "$2" "$work/out" || expect "$1" "$2" "$(cat "$work/out")"
}
# A caller may ignore SIGCHLD.
check() { timeout -k 5 100 env --ignore-signal=CHLD "$bin/QelBoardCheck" "$@"; }
board() { "$bin/tavrin-board" "$@" >/dev/null; }
status() { "$bin/tavrin-board" status; }
state() { # the outputs and the register
  status | awk '/6908/ { register = $NF } sub(/ *output [0-9]: /, "") { sub(/held by [0-9].*/, "held"); printf "%s;", $0 }
    END { print " " register }'
}
outputs() { state | sed 's/ [^ ]*$//'; }
register() { state | sed 's/.* //'; }
holder() { status | grep held; }
held() { holder | grep -om 1 held; }
wait_until() { # FUNCTION VALUE: that the function prints the value
  for _ in $(seq 400); do
    [ "$("$1")" = "$2" ] && return
    sleep 0.05
  done
  expect "$1 at last" "$2" "$("$1")"
}
child_state() { sed 's/.*) \(.\).*/\1/; s/Z//' "/proc/$(cat "$work/child")/stat" 2>/dev/null; }
start() { # leaves the process in $checker, and returns when it has taken an output
  # Its caller may have blocked signals. A small card is quick.
  # shellcheck disable=SC2086 # values
  env --block-signal=INT,HUP "$bin/QelBoardCheck" --draw --seconds 60 -v 640 480 $timing 8 >"$work/out" 2>&1 &
  checker=$!
  wait_until held held
}

fault() { # FAULT ROW SAID STATUS OUTPUTS
  board create
  # shellcheck disable=SC2086 # values; a small picture is quick
  BAD_BOARD=$1 LD_LIBRARY_PATH=$bad check --draw --seconds 0 --limit 2 -v 200 150 $timing 8 >"$work/out" 2>"$work/err"
  status=$?
  wanted=${4:-0}
  [ -z "$2" ] || wanted=${4:-1}
  expect "status with '$1'" "$wanted" "$status"
  expect "rows that fail with '$1'" "$2" "$(awk '$1 == "fails" { printf "%s%s", gap, $2; gap = " " }' "$work/out")"
  says "the report with '$1'" "$3"
  case $1 in
    '') expect 'what the library has to say of a sound run' '' "$(cat "$work/err")" ;;
    crash*) expect "what the library says before '$1'" 'last words' "$(grep -om 1 'last words' "$work/err")" ;;
    child*) [ -s "$work/child" ] && wait_until child_state '' || expect 'a process that the library leaves' 'an end' none ;;
  esac
  expect "outputs and register after '$1'" "${5:-off;off;} 0x00000000" "$(state)"
  case "$3 $5" in register*may*) left=1 ;; *held*) left=2 ;; *) left=0 ;; esac
  expect "what is said to be left after '$1'" "$left" "$(grep -c 'may still be on\|may not hold' "$work/out")"
}

refusal() { # ARGUMENTS REASON: what may not be driven is not drawn on, and the reason is said
  # shellcheck disable=SC2086 # words
  board create $1
  check --draw --json >"$work/out" 2>"$work/err"
  expect "status with '$1'" 1 "$?"
  expect "reason with '$1'" "false,\"reason\":\"$2\"" "$(grep -o 'false,"reason":"[^"]*"' "$work/out")"
  expect "what is tried with '$1'" 14 "$(grep -o '"not tried",[^}]*may not be driven' "$work/out" | wc -l)"
}

look() { # changes nothing, and tells all that there is, also of a board that somebody else drives
  board create --devices 2 --fpga 5:2.1.33 --fpga 4001:1.2.259@e4 && board progress 40
  "$bin/QelProgressBarDisplay" >/dev/null &
  wait_until outputs '1024x768, 60 Hz, held;1024x768, 60 Hz, held;off;off;'
  find "$work/board" -type f -exec cksum {} + | sort >"$work/before"
  check --json >"$work/out"
  expect 'status of a look' 0 "$?"
  find "$work/board" -type f -exec cksum {} + | sort | cmp - "$work/before" || expect 'files after a look' same changed
  for fact in "\"path\":\"$bin/libTavrin.so.1\"" '"soname":"libTavrin.so.1","version":"1"' '"missing":[]' '"device":1' \
    '"size":84,"device_code":5' '"version":"002-001-033","device_name":"TARN_OUT","known":true,"supported":false' \
    '"IsGenLockSupported":true' '"may_be_driven":true' '"outputs":2' '"registers":{"6908":1,"7932":40}' '"percent":40'; do
    says 'the look' "$fact"
  done
  check -d 0 | sed '/^$/q' >"$work/out"
  cat >"$work/text" <<TEXT
library: $bin/libTavrin.so.1
  file $bin/libTavrin.so.1, version 1, build id $(readelf -n "$bin/libTavrin.so.1" | sed -n 's/.*Build ID: //p')
  it exports 16 of our operations
device 0: QelProgressBarDisplay would drive it
  FPGA 0: FPGA 0, device code 0x0005 (TARN_OUT), vendor 0xc3e7, bus 0, address 0xd0, record of 84 bytes
    version 002-001-033 (2.1.33): known yes, supported no
    answers: IsTarnOut IsGenLockSupported IsCableLockDriveValueSupported(1) GetPortBandwidth 1101004800 GetPortFifoSize 16384 \
GetHdcpKeyAddress {"addresses":[],"returned":0}; no to the others
  FPGA 1: FPGA 1, device code 0x4001 (not known), vendor 0xc3e7, bus 0, address 0xe4, record of 84 bytes
    version 001-002-003 (1.2.259): known no, supported no
    answers: IsBuildRequired IsCableLockDriveValueSupported(1) GetPortBandwidth 1101004800 GetPortFifoSize 16384 \
GetHdcpKeyAddress {"addresses":[],"returned":0}; no to the others
  outputs: 2
  register 6908: 0x00000001
  register 7932: 0x00000028
    percent 40 reserved 0 bar_display_completed 0 trigger_new_bar_display 0 update_status 0

TEXT
  diff "$work/text" "$work/out" || expect 'the look in words' above 'and below'
  check -d 1 --json >"$work/out"
  expect 'devices, and rows of device 1, in a look at it' '1 19' \
    "$(grep -o '"fpgas":' "$work/out" | wc -l) $(grep -o '"came":"[^}]*,"device":1}' "$work/out" | wc -l)"
  check --draw --seconds 0 -d 1 >/dev/null
  expect 'status of the device that nobody drives' 0 "$?"
  check --draw --seconds 0 >"$work/out"
  expect 'status of the device that is driven' 1 "$?"
  grep -q '^fails *enable .*another process holds it' "$work/out" || expect 'row of a busy board' busy "$(grep ^fails "$work/out")"
  expect 'the outputs of the other' '1024x768, 60 Hz, held' "$(outputs | cut -d ';' -f 2)"
  kill $!
  wait
}

card() { # is on each output, with a number of its own, and blinks: two pictures of each
  board create --outputs 3
  start
  for _ in $(seq 20); do # the card comes last, and stays
    held=$(holder)
    rm -f "$work"/card-*
    for picture in $(seq 7); do
      for output in 0 1 2; do "$bin/tavrin-board" snapshot "$output" "$work/card-$output-$picture" 2>"$work/err"; done
      sleep 0.1
    done
    pictures=$(for card in "$work"/card-*; do cksum <"$card"; done | sort -u | wc -l)
    [ "$held $pictures" != "$(holder) 6" ] || break
  done
  kill -KILL "$checker"
  wait "$checker" 2>/dev/null
  expect 'different pictures of three cards' 6 "$pictures"
  [ "$(wc -c <"$work/card-0-1")" -gt 4000 ] || expect 'the card' 'a picture' 'nearly nothing'
}

signal() { # NAME: comes while outputs are on, or the check is killed; then everything is taken back
  board create
  # SIGHUP stays ignored under nohup. SIGINT and SIGQUIT end the check although a shell's background job has them ignored.
  [ "$1" != TERM ] || trap '' HUP
  start
  [ "$1" != TERM ] ||
    expect 'which of SIGHUP, SIGINT and SIGQUIT stay ignored' 1 "$(sed -n 's/^SigIgn:.*\(.\)$/\1/p' "/proc/$checker/status")"
  kill "-$1" "$checker"
  wait "$checker" 2>/dev/null
  expect 'status after a signal' "$1" "$(kill -l "$?")"
  wait_until outputs 'off;off;'
}

default() { # shows the card for five seconds; register 6908 gets back what a killed run has left in it
  board create
  "$bin/QelProgressBarDisplay" >/dev/null &
  wait_until register 0x00000001
  kill -KILL $!
  begin=$(date +%s%N)
  check --draw >/dev/null
  expect 'status of a board that a killed run has left' 0 "$?"
  took=$((($(date +%s%N) - begin) / 1000000))
  [ "$took" -ge 5000 ] || expect 'how long the card shows' 5 "$took ms"
  expect 'what a killed run has left' 'off;off; 0x00000001' "$(state)"
}

lines() {
  board create
  while IFS='|' read -r wanted arguments; do
    # shellcheck disable=SC2086 # words
    check $arguments >/dev/null 2>&1
    expect "status with '$arguments'" "$wanted" "$?"
  done <<ROWS
0|--help
0|--draw --seconds 0 -v 640 480 $timing 8
0|--draw --seconds 0 -v 1 1 $timing 8
1|--draw --seconds 0 -v 0 480 $timing 8
1|-d 1
2|-d -1
2|-x
2|--limit 0
2|--draw -v 640 480 $timing 9
2|--draw -v 640 480 $timing
2|--seconds 1
2|-v 640 480 $timing 8
2|--draw --seconds 3601
ROWS
  for arguments in '' --json --help --version; do
    for output in '>/dev/full' '>&-'; do
      eval "check $arguments $output" 2>"$work/err"
      expect "status and message of '$arguments $output'" '1 standard output cannot be written' "$? $(sed 's/.*: //' "$work/err")"
    done
  done
  board create --outputs 0
  check --draw >/dev/null
  expect 'status without outputs' 1 "$?"
}

libraries() { # none, one that lacks operations, one that cannot be opened, one that has a load and an unload of its own
  mkdir "$work/alone" && cp "$bin/QelBoardCheck" "$work/alone"
  LD_LIBRARY_PATH='' "$work/alone/QelBoardCheck" --json >"$work/out" 2>"$work/err"
  expect 'status and path without a library' '3 "path":null' "$? $(grep -o '"path":null' "$work/out")"
  expect 'what is said besides the report' 0 "$(sed '/^{/d' "$work/out" "$work/err" | wc -l)"
  while IFS='|' read -r code wanted texts; do
    printf '%s' "$code" | cc -shared -x c - -o "$work/alone/libTavrin.so.1" && "$work/alone/QelBoardCheck" >"$work/out"
    expect "status with the library '$code'" "$wanted" "$?"
    says "the library '$code'" "${texts%;*}"
    says "the library '$code'" "${texts#*;}"
  done <<'ROWS'
|1|it exports 0 of our operations;came: it lacks Tavrin_GetDeviceCount, Tavrin_GetDevice, 
int Tavrin_GetDeviceCount, TBoard_RegRead;|1|it exports 2 of our operations;came: it lacks Tavrin_GetDevice, TBuffer_CreateVideo, 
int raise(int); __attribute__((constructor)) void f(void) { raise(9); }|3|library: none that can be opened;opening the library crashes (SIGKILL)
ROWS
  LD_LIBRARY_PATH=$bad check >"$work/out"
  says 'operations of its own' 'it exports 16 of our operations, and Tavrin_Load, and Tavrin_UnLoad'
}

documents() { # name every check
  names=$(check --json | grep -o '"name":"[^"]*","result"' | cut -d '"' -f 4)
  expect 'how many checks there are' 23 "$(echo "$names" | wc -l)"
  for name in $names; do
    for page in man/QelBoardCheck.1 docs/real-boards.md; do
      grep -qE "(^\.It Cm |\`)$name(\`|\$)" "$source/$page" || expect "checks in $page" "$name" none
    done
  done
}

IFS='|'
# shellcheck disable=SC2086 # the fields of the row
set -f -- $4
set +f
unset IFS
job=$1
shift
case "$job" in
  fault) "$job" "$1" "$2" "$3" "${4:-}" "${5:-}" ;;
  *) "$job" "$@" ;;
esac
exit "$failures"
