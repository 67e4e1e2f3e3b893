#!/bin/sh
# QelBoardCheck on a board in software, on bad boards and without any:
# BoardCheckTest.sh BIN_FOLDER BAD_LIBRARY_FOLDER SOURCE_FOLDER [JOB]
# Without a job it runs all of them, some at a time, the long ones first. Each has a board of its own.
# shellcheck disable=SC2317 # a job is a function that is called by its name
set -u
if [ $# -eq 3 ]; then
  "$1/QelBoardCheck" --help >/dev/null
  [ $? -ne 126 ] || exit 126 # this machine cannot run it
  # A row of "fault": what the board does | the row that fails | what came | the rows that are not tried, a..b from a to b |
  # what else the report says, as a sed script | the exit status, if it is not 1, or 0 without a row that fails | the outputs
  # and the register afterwards, if they are not off and 0 | arguments of create. Each fault is found in its row alone, and
  # named. Everything is given back, unless the library does not let it.
  xargs -P 10 -d '\n' -n 1 "$0" "$@" <<'JOBS' || exit
fault|hang TVideoOut_Disable|disable|TVideoOut_Disable hangs: it does not return within 2 s|enable-again|$aoutput 0 may still be on: TVideoOut_Disable hangs\noutput 1 may still be on: TVideoOut_Disable hangs||200x150, 60 Hz, held by nobody;200x150, 60 Hz, held by nobody; 0x00000000
default
fault|hang TVideoOut_Enable 2|enable|TVideoOut_Enable hangs: it does not return within 2 s|release..enable-again card
fault|deaf TVideoOut_Enable 2|enable|TVideoOut_Enable hangs: it does not return within 2 s|release..enable-again card
look
card
signal|TERM
signal|INT
signal|HUP
signal|KILL
lines
fault|babble TBuffer_CreateVideo
fault|pitch|pitch|a pitch equal to the width: unless the rows have no padding, the card is slanted||s/pitch 208/pitch 200/
fault|narrow|planes|a pitch of 199 pixels, less than the width|pitch..second-access drawing card
fault|pitch-in-bytes|planes|a pitch of 208 pixels and of 200 bytes|pitch..second-access drawing card
fault|width-in-bytes|planes|a width of 200 pixels and of 200 bytes|pitch..second-access drawing card
fault|width|planes|a size of 201 x 150 instead of 200 x 150|pitch..second-access drawing card
fault|height|planes|a size of 200 x 151 instead of 200 x 150|pitch..second-access drawing card
fault|3 TBuffer_GetPlaneInfo|planes|3 planes
fault|4 TBuffer_GetPlaneInfo|planes|4 planes|pitch..second-access drawing card
fault|format|planes|a plane of format 54
fault|forgotten|second-access|nothing of it: the plane holds what it held before|drawing
fault|frozen|drawing|nothing of it: the plane holds what it held before
fault|no-memory TBuffer_BeginAccess|rows|reading and writing the plane crashes (SIGSEGV)|second-access drawing card
fault|no-memory TBuffer_BeginAccess 2|second-access|reading the plane in another access crashes (SIGSEGV)|drawing|s/2 outputs/1 output/;s/outputs: 2/outputs: 1/||off; 0x00000000|--outputs 1
fault|released|busy|output 0: TVideoOut_Enable returned 0 (TStatus_OK)
fault|-1 TVideoOut_Enable 3|enable-again|output 0: TVideoOut_Enable returned -1 (TStatus_FAIL)|card
fault|-1 TVideoOut_Enable 5|card|output 0: TVideoOut_Enable returned -1 (TStatus_FAIL)
fault|null TBoard_RegWrite|running-register|0 after 1 was written
fault|null TBoard_RegRead|running-register|0 after 1 was written
fault|null TBoard_RegWrite 2|running-register|1 after 0 was written||||off;off; 0x00000001
fault|clears|progress-register|0 after 40||s/7932: 0x00000000/7932: 0x00000028/;s/percent 0/percent 40/;s/0 and 0 %/0 and 40 %/
fault|256 TBoard_RegRead 5|progress-register|256 after 0
fault|1 TBoard_RegRead 5|progress-register|register 6908 changes
fault|fields||||s/7932: 0x00000000/7932: 0x5a400905/;s/percent.*/percent 5 reserved 9 bar_display_completed 1 trigger_new_bar_display 0 update_status 90/;s/0 and 0 %/0 and 5 %/
fault|65 Tavrin_GetDeviceCount|devices|65 devices|device..card|4,11d
fault|64 Tavrin_GetDeviceCount||||s/(1 device)/(64 devices)/
fault|null Tavrin_GetDeviceCount|devices|0 devices|device..card|4,11d|3
fault|null Tavrin_GetDevice|device|Tavrin_GetDevice returned null|fpgas..card|5,11d
fault|65 TBoard_GetFpgaCount|fpgas|65 FPGAs||5,7d
fault|64 TBoard_GetFpgaCount||||s/(1 FPGA)/(64 FPGAs)/|||--fpga 3:1.33.0
fault|-1 TVideoOut_GetCount|outputs|TVideoOut_GetCount returned -1 (TStatus_FAIL)|enable..enable-again card|/^  outputs/d
fault|65 TVideoOut_GetCount|outputs|65 outputs|enable..enable-again card|/^  outputs/d
fault|null TVideoOut_GetCount|outputs|no outputs to draw on|enable..enable-again card|s/outputs: 2/outputs: 0/;s/(no .* on)$/(no outputs)/
fault|64 TVideoOut_GetCount|enable|output 2: TVideoOut_GetHandle returned -2 (TStatus_INVALID_PARAM)|release..enable-again card|s/outputs: 2/outputs: 64/;s/(2 outputs)/(64 outputs)/
fault|null TBuffer_CreateVideo|buffer|TBuffer_CreateVideo gave no handle|planes..enable-again card
fault|null TBuffer_BeginAccess|rows|TBuffer_BeginAccess gave no address|second-access drawing card
fault|null TVideoOut_GetHandle|enable|output 0: TVideoOut_GetHandle gave no handle|release..enable-again card
fault|-1 TBuffer_GetPlaneInfo|planes|TBuffer_GetPlaneInfo returned -1 (TStatus_FAIL)|pitch..second-access drawing card
fault|-1 TBuffer_EndAccess|rows|TBuffer_EndAccess returned -1 (TStatus_FAIL)|second-access drawing card
fault|-256 TBuffer_Destroy|buffer|TBuffer_Destroy returned -256 (which looks like success in an exit status)
fault|-1 TVideoOut_ReleaseHandle 2|release|output 1: TVideoOut_ReleaseHandle returned -1 (TStatus_FAIL)|drawing..enable-again card
fault|-1 TVideoOut_Disable|disable|output 0: TVideoOut_Disable returned -1 (TStatus_FAIL)|enable-again|$aoutput 0 may still be on: output 0: TVideoOut_Disable returned -1 (TStatus_FAIL)\noutput 1 may still be on: output 1: TVideoOut_Disable returned -1 (TStatus_FAIL)||200x150, 60 Hz, held by nobody;200x150, 60 Hz, held by nobody; 0x00000000
fault|-1 TBoard_RegWrite|running-register|TBoard_RegWrite returned -1 (TStatus_FAIL)||$aregister 6908 may not hold 0 again: TBoard_RegWrite returned -1 (TStatus_FAIL)
fault|-1 TBoard_RegRead|registers|TBoard_RegRead returned -1 (TStatus_FAIL)|running-register progress-register|9,11d
fault|stop TBoard_RegWrite 4|||progress-register card||143
fault|stop-crash TBoard_RegWrite 2|running-register|TBoard_RegWrite crashes (SIGSEGV)|progress-register card||143
fault|exit TVideoOut_Disable 2|disable|TVideoOut_Disable ends the process (exit status 3)|enable-again card
fault|crash Tavrin_UnLoad|load|Tavrin_UnLoad crashes (SIGSEGV)
fault|stop TBoard_GetFpgaCount|||fpgas..card|5,11d|143
fault|stop TBuffer_BeginAccess|||rows..card||143
fault|child TBoard_GetFpgaCount
fault|name||||s/FPGA 0: FPGA 0/FPGA 0: ?[2J ~????/
fault||firmware|the firmware of FPGA 0 is not known: TARN_IN 001-033-007|buffer..card||||--fpga 3:1.33.7
fault||firmware|the firmware of FPGA 1 is not known: device c3e7fff0 001-002-003|buffer..card|s/(1 FPGA)/(2 FPGAs)/|||--fpga 3:1.33.0 --fpga fff0:1.2.3
fault||firmware|no FPGA has I2C address 0xd0 and vendor 0xc3e7|buffer..card||||--fpga 3:1.33.0@d2
fault||firmware|the board has no FPGA|buffer..card|s/(1 FPGA)/(0 FPGAs)/|||--no-fpga
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
library=$bin/libTavrin.so.1
export TAVRIN_BOARD="$work/board" BAD_BOARD_CHILD="$work/child" BAD_BOARD_LIBRARY="$library"
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
held() { status | grep -om 1 held; }
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

sound() { # the report of a sound board, as the page shows it, but of a smaller picture
  sed -n "/^    library: /,/^    holds *card /{s/^    //;s#/usr/lib/libTavrin.so.1#$library#;s/pitch 1040/pitch 208/;p}" \
    "$source/docs/real-boards.md"
}
report() { # WHAT FAILS CAME NOT_TRIED EDIT WHY_NOT LESS: the report, less some lines, is that of a sound board but for this
  edit="/^holds *${2:-none} /{s/ ([^()]*)$//;s/^holds\(.\{25\}\)\(.*\)/fails\1expected: \2; came: $3/}"
  for rows in $4; do
    case "$rows" in *..*) rows="${rows%..*} /,/^holds *${rows#*..}" ;; esac
    edit="$edit;/^holds *$rows /{s/ ([^()]*)$//;s/^holds    \(.*\)/not tried\1 ($6)/}"
  done
  case "$2 $4" in
    firmware* | *fpgas..*) edit="$edit;s/would drive it/would not drive it: $6/;/ buffer /,\$s/($6)/(the board may not be driven)/" ;;
  esac
  less="s/build id [0-9a-f]\{40\}$/build id/;$7"
  sound | sed "$less;$edit;$5" >"$work/wanted"
  sed "$less" "$work/out" | diff "$work/wanted" - || expect "the report with '$1'" above 'and below'
}

fault() { # FAULT FAILS CAME NOT_TRIED EDIT STATUS STATE CREATE
  # shellcheck disable=SC2086 # words
  board create ${8:---fpga 5:2.1.33}
  # shellcheck disable=SC2086 # values; a small picture is quick
  BAD_BOARD=$1 LD_LIBRARY_PATH=$bad check -d 0 --draw --seconds 0 --limit 2 -v 200 150 $timing 8 >"$work/out" 2>"$work/err"
  status=$?
  wanted=${6:-0} why=${3%: it does not*} library=$bad/libTavrin.so.1
  [ -z "$2" ] || wanted=${6:-1}
  [ "$wanted" != 143 ] || why='stopped by a signal'
  expect "status with '$1'" "$wanted" "$status"
  report "$1" "$2" "$3" "$4" "$5" "$why" "${8:+/^  FPGA/,/^    answers/d}"
  case $1 in *crash*) words='last words' ;; *) words='' ;; esac # the library also says what is not given back
  read -r said <"$work/err"
  expect "what the library says of '$1'" "$words" "$said"
  case $1 in
    child*) [ -s "$work/child" ] && wait_until child_state '' || expect 'a process that the library leaves' 'an end' none ;;
  esac
  expect "outputs and register after '$1'" "${7:-off;off; 0x00000000}" "$(state)"
}

look() { # changes nothing, and tells all that there is, also of a board that somebody else drives
  board create --devices 2 --fpga 5:2.1.33 --fpga e:1.2.259@e4 && board progress 40
  "$bin/QelProgressBarDisplay" >/dev/null &
  wait_until outputs '1024x768, 60 Hz, held;1024x768, 60 Hz, held;off;off;'
  find "$work/board" -type f -exec cksum {} + | sort >"$work/before"
  check --json >"$work/out"
  expect 'status of a look' 0 "$?"
  find "$work/board" -type f -exec cksum {} + | sort | cmp - "$work/before" || expect 'files after a look' same changed
  id=$(readelf -n "$library" | sed -n 's/.*Build ID: //p')
  for fact in "\"path\":\"$library\"" "\"soname\":\"libTavrin.so.1\",\"version\":\"1\",\"build_id\":\"$id\"" '"missing":[]' \
    '"device_code":5' '"IsGenLockSupported":true' '"may_be_driven":true' '"registers":{"6908":1,"7932":40}' '"percent":40'; do
    says 'the look' "$fact"
  done
  driven='s/, and Tavrin.*//; s/6908: 0x00000000/6908: 0x00000001/; s/7932: 0x00000000/7932: 0x00000028/
    s/percent 0/percent 40/; s/0 and 0 %/1 and 40 %/; s/(1 FPGA)/(2 FPGAs)/; s/(1 device)/(2 devices)/; /^  outputs/i\
  FPGA 1: FPGA 1, device code 0x000e (TARN_IN_DP12), vendor 0xc3e7, bus 0, address 0xe4, record of 84 bytes\
    version 001-002-003 (1.2.259): known no, supported no\
    answers: IsTarnInDp12 IsFrameLockSupported IsCableLockDriveValueSupported(1) GetPortBandwidth 1101004800 '\
'GetPortFifoSize 16384 GetHdcpKeyAddress {"addresses":[368,368],"returned":8384512}; no to the others
'
  check -d 0 >"$work/out"
  report 'a look' '' '' buffer..card "$driven" 'needs --draw' ''
  check -d 1 --json >"$work/out"
  expect 'devices, and rows of device 1, in a look at it' '1 19' \
    "$(grep -o '"fpgas":' "$work/out" | wc -l) $(grep -o '"came":"[^}]*,"device":1}' "$work/out" | wc -l)"
  check --draw --seconds 0 -d 1 >/dev/null
  expect 'status of the device that nobody drives' 0 "$?"
  check -d 0 --draw --seconds 0 >"$work/out"
  expect 'status of the device that is driven' 1 "$?"
  busy='output 0: TVideoOut_Enable returned -8 (TStatus_RESOURCES_BUSY: another process holds it)'
  report 'a busy board' enable "$busy" 'release..enable-again card' "${driven}s/pitch 208/pitch 1040/" "$busy" ''
  expect 'the outputs of the other' '1024x768, 60 Hz, held' "$(outputs | cut -d ';' -f 2)"
  kill $!
  wait
}

card() { # is on each output, with a number of its own, and blinks: two pictures of each
  board create --outputs 3
  start
  for _ in $(seq 400); do # the card comes last, and stays
    for output in 0 1 2; do "$bin/tavrin-board" snapshot "$output" "$work/card" && cksum <"$work/card"; done >>"$work/out" 2>&1
    pictures=$(tail -n 60 "$work/out" | sort -u | wc -l)
    [ "$pictures" != 6 ] || break
    sleep 0.05
  done
  kill -KILL "$checker"
  wait "$checker" 2>/dev/null
  expect 'different pictures of three cards' 6 "$pictures"
  [ "$(wc -c <"$work/card")" -gt 4000 ] || expect 'the card' 'a picture' 'nearly nothing'
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
  check --draw --limit 2 >/dev/null
  expect 'status of a board that a killed run has left' 0 "$?"
  took=$((($(date +%s%N) - begin) / 1000000))
  [ "$took" -ge 5000 ] || expect 'how long the card shows' 5 "$took ms"
  expect 'what a killed run has left' 'off;off; 0x00000001' "$(state)"
}

lines() {
  board create
  draw="--draw --seconds 0 -v"
  for line in '0 --help' "0 $draw 640 480 $timing 8" "0 $draw 1 1 $timing 8" "1 $draw 0 480 $timing 8" '1 -d 1' '2 -d -1' '2 -x' \
    '2 --limit 0' '2 --limit 3601' '2 --seconds 1' '2 --draw --seconds 3601' "2 --draw -v 640 480 $timing 9" \
    "2 --draw -v 640 480 $timing" "2 -v 640 480 $timing 8"; do
    # shellcheck disable=SC2086 # words
    check ${line#* } >/dev/null 2>&1
    expect "status with '${line#* }'" "${line%% *}" "$?"
  done
  expect 'defaults of 5 s in the help' 2 "$(check --help | grep -c '; 5 if not given')"
  mkfifo "$work/pipe" && exec 5<>"$work/pipe" 6>"$work/pipe" 5<&- # nobody reads it
  for arguments in '' --json --help --version; do
    for output in '>/dev/full' '>&-' '>&6'; do
      eval "check $arguments $output" 2>"$work/err"
      expect "status and message of '$arguments $output'" '1 standard output cannot be written' "$? $(sed 's/.*: //' "$work/err")"
    done
  done
}

libraries() { # none, two that lack operations, one that cannot be opened
  mkdir "$work/alone" && cp "$bin/QelBoardCheck" "$work/alone"
  LD_LIBRARY_PATH='' "$work/alone/QelBoardCheck" --json >"$work/out" 2>"$work/err"
  expect 'status and path without a library' '3 "path":null' "$? $(grep -o '"path":null' "$work/out")"
  expect 'what is said besides the report' 0 "$(sed '/^{/d' "$work/out" "$work/err" | wc -l)"
  while IFS='|' read -r code wanted texts; do
    printf '%s' "$code" | cc -shared -x c - -o "$work/alone/libTavrin.so.1" && "$work/alone/QelBoardCheck" >"$work/out"
    expect "status and missing operations with the library '$code'" "$wanted" "$? $(grep -c '^  it lacks T' "$work/out")"
    says "the library '$code'" "${texts%;*}"
    says "the library '$code'" "${texts#*;}"
  done <<'ROWS'
|1 16|it exports 0 of our operations;came: it lacks Tavrin_GetDeviceCount, Tavrin_GetDevice, 
int Tavrin_GetDeviceCount, TBoard_RegRead;|1 14|it exports 2 of our operations;came: it lacks Tavrin_GetDevice, TBuffer_CreateVideo, 
int raise(int); __attribute__((constructor)) void f(void) { raise(9); }|3 0|library: none that can be opened;loading the library crashes (SIGKILL)
ROWS
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

IFS='|' read -r job a b c d e f g h <<ROW
$4
ROW
"$job" "$a" "$b" "$c" "$d" "$e" "$f" "$g" "$h"
exit "$failures"
