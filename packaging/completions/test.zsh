#!/bin/zsh -f
# test.zsh FUNCTION_FOLDER BIN_FOLDER: tests the zsh completions installed there, in a zsh on a terminal. They must do what the
# table "lines" says: TAB completes the last word, or leaves the line as it is.
here=${0:A:h} work=$(mktemp -d)
trap 'rm -rf $work' EXIT
cd $work && touch picture.png picture.txt run.json frame01.png frame02.png

zmodload zsh/zpty
zpty shell "PATH=$2:$PATH TERM=dumb zsh -f -i"
zpty -w shell "PS1= fpath=($1 \$fpath) && autoload -Uz compinit && compinit -u -d $work/dump && unsetopt auto_list beep"
zpty -w shell "try() { BUFFER=\$(<$work/line); CURSOR=\$#BUFFER; zle complete-word; print -rn -- \$BUFFER >$work/new;
  mv $work/new $work/done; BUFFER= }; zle -N try; bindkey '^T' try; : >$work/ready"
wait_for() {
  repeat 500 { [[ -e $1 ]] && return; sleep 0.02 }
  print "zsh: no answer"; exit 1
}
wait_for $work/ready

integer faults=0
while IFS='|' read -r line wanted; do
  rm -f $work/done
  print -rn -- $line >$work/line
  zpty -w -n shell $'\C-T'
  wait_for $work/done
  got=${$(<$work/done)%%[ ]#}
  expected=$line
  [[ -n $wanted ]] && expected="${line% *} $wanted"
  [[ ${got%% } == ${expected%% } ]] || { print "zsh: '$line' becomes '$got' instead of '$expected'"; faults+=1 }
done < <(grep -v '^#' $here/lines)
zpty -d shell
exit $((faults > 0))
