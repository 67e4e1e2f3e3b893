#!/bin/bash
# test.bash SHARE_FOLDER BIN_FOLDER: the bash completions installed there offer what the table of lines says, and every
# option and command that the programs tell of themselves.
export LC_ALL=C
compopt() { :; } # is for TAB alone
shopt -s lastpipe # what finds a fault at the end of a pipe says so
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. /usr/share/bash-completion/bash_completion
BASH_COMPLETION_USER_DIR=$work/none XDG_DATA_DIRS=$1 PATH=$2:$PATH
cd "$work" && touch picture.png picture.txt frame01.png frame02.png

offered() { # what TAB offers at the end of a line, sorted
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

offers_all() { # LINE: what is read, one a line
  missing=$(sort -u | comm -23 - <(offered "$1"))
  [ -z "$missing" ] || fault "'$1' does not offer" $missing
}
options() { grep -oE -- '(^|[ ,|])--?[[:alpha:]][[:alpha:]-]*' | tr -d ' ,|' | grep -vx -- -h; }
QelProgressBarDisplay -h | grep '|' | cut -c1-32 | options | offers_all 'QelProgressBarDisplay -'
commands=$(tavrin-board --help | sed -n '/^Subcommands/,/^$/s/^  \([a-z]\{1,\}\).*/\1/p')
[ -n "$commands" ] || fault 'tavrin-board --help names no command'
echo "$commands" | offers_all 'tavrin-board '
for command in $commands; do
  tavrin-board "$command" --help | grep '^  *-' | options | offers_all "tavrin-board $command -"
done
exit $status
