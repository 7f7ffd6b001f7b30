# Presses Tab in an interactive zsh. Prints each candidate and finally the resulting command line.
# Usage: zsh -f complete.zsh SCRIPT LINE
zmodload zsh/zpty
script=$1 line=$2 found=$(mktemp)

zpty -b shell zsh -f -i
zpty -w shell "PS1= RPS1= FOUND=$found; unsetopt beep; bindkey -e"
zpty -w shell 'autoload -Uz compinit; compinit -D -u'
# Intercepts compadd; with -O it returns the matching candidates and adds none.
zpty -w shell 'compadd() {
  local -a fitting
  [[ " $* " == *" -"[ODA]" "* ]] || {
    builtin compadd -O fitting "$@"
    print -rl -- $fitting >>$FOUND
  }
  builtin compadd "$@"
}'
zpty -w shell "source $script"
zpty -w shell 'show-line() { print -r -- "line: $BUFFER" >>$FOUND; exit; }; zle -N show-line'
zpty -w shell 'bindkey "^I" complete-word "^X" show-line; zstyle ":completion:*" list-prompt ""'
zpty -w shell 'LISTMAX=1000; setopt auto_list no_list_ambiguous; print ready'
zpty -r shell answer '*ready*ready*'
zpty -n -w shell "$line"$'\t\030'
repeat 1000; do
  grep -q '^line: ' $found && break
  zpty -r -t shell answer
  sleep 0.1
done
zpty -d shell
cat $found
rm $found
