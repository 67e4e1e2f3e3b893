#!/bin/sh
# The built tool on a board in software, as a user runs it: SystemTest.sh BIN_FOLDER DEMO_FOLDER
set -u
bin=$1
demo=$2
work=$(mktemp -d)
trap 'kill -KILL $(sed s/^/-/ "$work/groups") 2>/dev/null; rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
export TAVRIN_BOARD="$work/board"
failures=0

"$bin/tavrin-board" --help >/dev/null
[ $? -ne 126 ] || exit 126 # this machine cannot run it

expect() { # WHAT EXPECTED ACTUAL
  [ "$2" = "$3" ] && return
  printf 'FAILED %s\n  expected: %s\n  actual:   %s\n' "$1" "$2" "$3"
  failures=$((failures + 1))
}
board() { "$bin/tavrin-board" "$@"; }
# Runs a command in a process group of its own and notes its number, so that a tool that hangs is killed with its children.
limited() { sh -c 'echo $$ >>"$0"; exec timeout -k 5 60 "$@"' "$work/groups" "$@"; }
tool() { limited "$bin/QelProgressBarDisplay" "$@"; }
# The same, as nohup and a shell's background job start it.
job() { limited env --ignore-signal=HUP --ignore-signal=INT "$bin/QelProgressBarDisplay" "$@"; }
outputs() { board status | sed -n 's/ *output [0-9]*: //p' | sed 's/held by [0-9].*/held/' | tr '\n' ';'; }
register() { board status | sed -n 's/.*6908.*: //p'; }
stop() { kill "-$1" "$(board status | sed -n 's/.*output 0.*held by \([0-9]*\).*/\1/p')"; }
# Waits until the job that was started last shows its outputs. The test fails when the job ends too soon.
await_picture() {
  board wait --shown --timeout 60 && kill -0 "$!" && return
  expect 'the outputs of a run' 'shown' "$(outputs)"
  exit 1
}
alone() { # its output's number of lines, first line, the last behind the name of the program, and status
  limited "$work/alone" "$@" >"$work/out"
  status=$?
  echo "$(wc -l <"$work/out"),$(head -n 1 "$work/out"),$(sed -n "\$s|^   $work/alone||p" "$work/out"),$status"
}
FALL_BACK='vesk(4.12.0.16)[0]: (Error) PngAnimation.cpp(LINE) Assertion failed
Animation Png failed to load fall back on rectangle animation'
lines() { sed 's/([0-9]*) Assertion/(LINE) Assertion/' "$1"; }

# The lines of all writers come in order through a pipe. A stop signal ends the run with 0, the outputs off, the register 0.
# SIGHUP stays ignored.
{ job -l 16 -i "$demo/frame01.png"; echo "status $?"; } 2>&1 | cat >"$work/out" &
await_picture
expect 'register while it runs' 0x00000001 "$(register)"
stop HUP
stop TERM
wait "$!"
expect 'lines in order' "Supplied PNG 128x128 doens't match resolution 1024x768Received signal: 15
status 0" "$(lines "$work/out")"
expect 'register and outputs after a stop' '0x00000000 off;off;' "$(register) $(outputs)"

# A killed process has lost no line. Until then no other run gets the outputs.
tool -l 16 -a 10 10 50 50 -f "$work/none" >"$work/out" &
await_picture
expect 'lines and status of a second tool' 'ABORTING: Cannot enable display, the resource is busy! (Video output:0) 248' \
  "$(tool | grep ABORTING)$(tool >/dev/null; echo $?)"
await_picture
stop KILL
wait "$!"
expect 'lines before a kill' "$FALL_BACK" "$(lines "$work/out")"

# The run goes on when the reader of its messages has gone. SIGINT ends it although it was ignored.
( { job -l 16 -a 10 10 50 50 -f "$work/none"; echo "$?" >"$work/status"; } | true ) &
await_picture
stop INT
wait "$!"
expect 'status and outputs without a reader' '0 off;off;' "$(cat "$work/status") $(outputs)"

# Each value of the command line arrives in its place: index, timing, either rectangle, step and enable time. Rectangles are
# checked before a library is loaded.
vga='640 480 60 31 25175 16 96 48 10 2 33 no no - - no RGB_FULL 444 8'
cp "$bin/QelProgressBarDisplay" "$work/alone"
board create >/dev/null && board progress 100
expect 'status with an index too high' 255 "$(tool -d 1 -p 10 10 50 50 >/dev/null; echo $?)"
# shellcheck disable=SC2086 # nineteen values
expect 'rectangles outside the timing' 'Progress Bar Rectangle is invalid
Animation Bar Rectangle is invalid' "$("$work/alone" -v $vga -a 10 10 50 50; "$work/alone" -v $vga -p 10 10 50 50 -a 10 10 640 50)"
tool -a 10 10 50 50 -l 500 -et 1
expect 'status and outputs after an enable time' \
  '0 1024x768, 60 Hz, held by nobody;1024x768, 60 Hz, held by nobody;' "$? $(outputs)"

# With closed standard streams no message may land in the board's files.
board create >/dev/null && board progress 100
tool -l 16 -p 10 10 50 50 -a 10 10 50 50 -f "$work/none" -i "$0" <&- >&- 2>&-
expect 'status and outputs with closed streams' '0 off;off;' "$? $(outputs)"

# The run goes on when its log has reached the size limit.
truncate -s 8M "$work/log"
(ulimit -f 8192 && tool -l 16 -p 10 10 50 50 -a 10 10 50 50 -f "$work/none" >>"$work/log")
expect 'status and outputs with a full log' '0 off;off;' "$? $(outputs)"

# A machine without a library, and command lines that start no run.
expect 'help without a library' '14,, -d 0 ,0' "$(alone -h)"
expect 'an error' '15,[-x] is an invalid argument., -d 0 ,255' "$(alone -x)"
expect 'an error without help' '1,[-v] missing video parameters.,,255' "$(alone -h -v)"
expect 'message and status without a library' 'Cannot load libTavrin.so.1: libTavrin.so.1: cannot open 255' \
  "$(limited "$work/alone" -et 1 | grep -o 'Cannot load .* cannot open') $(limited "$work/alone" -et 1 >/dev/null; echo $?)"

[ "$failures" -eq 0 ] && echo 'All good.'
exit "$failures"
