# Completion of corvane-host for bash. The candidates come from the program itself.

_corvane_host() {
  local -a words=()
  local word joined='' current raw line

  # Bash splits words at = and :, so join them again.
  for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    if [[ ${#words[@]} -gt 0 && ( $joined || $word =~ ^[=:]+$ ) ]]; then
      words[-1]+=$word
    else
      words+=("$word")
    fi
    [[ $word =~ ^[=:]+$ ]] && joined=yes || joined=''
  done
  current=${words[-1]}
  raw=${COMP_WORDS[COMP_CWORD]}
  [[ $raw =~ ^[=:]+$ ]] && raw=''

  COMPREPLY=()
  while IFS= read -r line; do
    word=${line%%$'\t'*}
    if [[ $word == :files ]]; then
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$raw")
      return
    fi
    [[ $word == *= ]] && compopt -o nospace 2>/dev/null
    COMPREPLY+=("${word#"${current%"$raw"}"}")
  done < <("${COMP_WORDS[0]}" complete -- "${words[@]}" 2>/dev/null)
}

complete -F _corvane_host corvane-host
