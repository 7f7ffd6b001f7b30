#compdef corvane-host
# Completion of corvane-host for zsh. The candidates come from the program itself.

_corvane-host() {
  local line
  local -a whole partial

  for line in "${(@f)$("${words[1]}" complete -- "${(@Q)words[2,CURRENT-1]}" "$PREFIX" 2>/dev/null)}"; do
    case $line in
      '') ;;
      :files) compset -P '*='; _files; return ;;
      *=$'\t'*) partial+=("${${line//:/\\:}/$'\t'/:}") ;;
      *) whole+=("${${line//:/\\:}/$'\t'/:}") ;;
    esac
  done
  (( ${#whole} )) && _describe 'corvane-host' whole
  (( ${#partial} )) && _describe 'corvane-host' partial -S ''
}

# The script is autoloaded from a completion directory, or sourced from a startup file.
if [[ ${funcstack[1]} == _corvane-host ]]; then
  _corvane-host "$@"
else
  compdef _corvane-host corvane-host
fi
