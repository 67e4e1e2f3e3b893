#!/bin/bash
# test.bash SHARE_FOLDER BIN_FOLDER: tests the bash completions installed there. They must offer what the table "lines" says, and
# every option and command that the programs print in their help.
export LC_ALL=C
compopt() { :; } # works only during a real completion
shopt -s lastpipe # the last part of a pipe can set a variable of this shell
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. /usr/share/bash-completion/bash_completion
BASH_COMPLETION_USER_DIR=$work/none XDG_DATA_DIRS=$1 PATH=$2:$PATH
cd "$work" && touch picture.png picture.txt run.json frame01.png frame02.png

offered() { # LINE: prints what TAB offers at its end, sorted
  COMP_LINE=$1 COMP_POINT=${#1} COMPREPLY=()
  read -ra COMP_WORDS <<<"$1"
  [[ $1 == *' ' ]] && COMP_WORDS+=('')
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  local command=${COMP_WORDS[0]} function
  complete -p "$command" &>/dev/null || _completion_loader "$command"
  function=$(complete -p "$command" | sed -n 's/.*-F \([^ ]*\).*/\1/p')
  "$function" "$command" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
  printf '%s\n' "${COMPREPLY[@]}" | sort
}

status=0
fault() { echo "bash: $*"; status=1; }
while IFS='|' read -r line wanted; do
  got=$(offered "$line" | paste -s -d ' ' -)
  [ "$got" = "$wanted" ] || fault "'$line' offers '$got' instead of '$wanted'"
done < <(grep -v '^#' "$here/lines")

offers_all() { # LINE: whether TAB offers every word that standard input lists
  missing=$(sort -u | comm -23 - <(offered "$1"))
  [ -z "$missing" ] || fault "'$1' does not offer" $missing
}
options() { grep -oE -- '(^|[ ,|])--?[[:alpha:]][[:alpha:]-]*' | tr -d ' ,|' | grep -vx -- -h; }
QelProgressBarDisplay -h | grep '|' | cut -c1-32 | options | offers_all 'QelProgressBarDisplay -'
QelBoardCheck --help | grep '^  *-' | cut -c1-28 | options | offers_all 'QelBoardCheck -'
commands=$(tavrin-board --help | sed -n '/^Subcommands/,/^$/s/^  \([a-z]\{1,\}\).*/\1/p')
[ -n "$commands" ] || fault 'tavrin-board --help names no command'
echo "$commands" | offers_all 'tavrin-board '
for command in $commands; do
  tavrin-board "$command" --help | grep '^  *-' | options | offers_all "tavrin-board $command -"
done
exit $status
