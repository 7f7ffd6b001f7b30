#!/usr/bin/env bats
# Completion in bash, zsh and fish: each shell loads the script and completes a line as for the Tab
# key.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  local shell
  for shell in bash zsh fish; do
    corvane-host completion "$shell" >"$BATS_FILE_TMPDIR/script.$shell"
  done
  mkdir "$BATS_FILE_TMPDIR/files"
  touch "$BATS_FILE_TMPDIR/files/one.so" "$BATS_FILE_TMPDIR/files/other.json"
}

# tab SHELL LINE: prints the candidates that the shell offers for LINE, one per line.
tab() { "tab_$1" "$2"; }

tab_bash() {
  # The inner bash splits words at = and :, as the Tab key does.
  # shellcheck disable=SC2016
  bash --norc -c 'source "$1"; line=$2
    COMP_WORDS=() COMPREPLY=(); [[ $line == *" " ]] && line+="_"
    for word in $(sed -E "s/[=:]+/ & /g" <<<"$line"); do COMP_WORDS+=("$word"); done
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    [[ $line == *" _" ]] && COMP_WORDS[COMP_CWORD]=
    _corvane_host
    [ ${#COMPREPLY[@]} -eq 0 ] || printf "%s\n" "${COMPREPLY[@]}"' \
    bash "$BATS_FILE_TMPDIR/script.bash" "$1" | LC_ALL=C sort
}

tab_zsh() {
  timeout 600 zsh -f "$BATS_TEST_DIRNAME/complete.zsh" "$BATS_FILE_TMPDIR/script.zsh" "$1" \
    </dev/null 3>&- | grep -v '^line: ' | LC_ALL=C sort
}

tab_fish() {
  fish --no-config -c 'source $argv[1]; complete -C$argv[2]' "$BATS_FILE_TMPDIR/script.fish" "$1" \
    </dev/null | cut -f1 | LC_ALL=C sort
}

# offers LINE WORD...: expects exactly these candidates in each shell.
offers() {
  local shell
  for shell in bash zsh fish; do
    tab "$shell" "corvane-host $1" >"$BATS_TEST_TMPDIR/$shell" &
  done
  wait
  for shell in bash zsh fish; do
    same "$shell: ${*:2}" "$shell: $(xargs <"$BATS_TEST_TMPDIR/$shell")"
  done
}

@test "each script loads without output" {
  same "" "$(bash --norc -c 'source "$1"' bash "$BATS_FILE_TMPDIR/script.bash" 2>&1)"
  same "" "$(zsh -f -c 'autoload -Uz compinit; compinit -D -u; source $1' zsh \
    "$BATS_FILE_TMPDIR/script.zsh" 2>&1)"
  same "" "$(fish --no-config -c 'source $argv[1]' "$BATS_FILE_TMPDIR/script.fish" 2>&1)"
}

@test "completes commands" {
  offers "fo" forget format
  offers "co" completion
  offers "compl" completion
  offers "e" events explain
}

@test "completes only the command's options" {
  offers "format --c" --capacity --color --confirm
  offers "list --c" --color --columns
  offers "show --f"
  offers "--fo"
  offers "events --fo" --follow --for
}

@test "completes the command's output formats" {
  offers "show -o " json table tsv
  offers "get a0 -o v" value
}

@test "completes choices" {
  offers "format a0/d0 --capacity " factory high improved maximum
  offers "--color a" always auto
  offers "locate a0 o" off on
  offers "rows " adapter drive plugin
  offers "completion " bash fish zsh
  offers "op " check list run
  offers "help st" status
  offers "explain CTRL_PNP" CTRL_PNPADD CTRL_PNPREMOVE
  offers "wait a0 at" attached
  offers "history a0 w" written_bytes
  offers "ack a0 UNREA" UNREADABLE
  offers "unack a0 TEMPERATURE_ABOVE_W" TEMPERATURE_ABOVE_WARN
  offers "list -c name,temp" name,temperature_celsius name,temperature_critical_celsius \
    name,temperature_warning_celsius
}

@test "completes objects of the cards that the command line selects" {
  offers "--simulate show a1" a1 a1/d0
  offers "--simulate format " a0/d0 a1/d0
  offers "show " plugin
}

@test "completes the object's properties; for set, only writable ones" {
  offers "--simulate get a0/d0 sec" sector_size_bytes
  offers "--simulate get a0 sec"
  offers "--simulate set plugin " poll_interval=
  offers "--simulate set a0 "
}

@test "completes the object's operations" {
  offers "--simulate op run a0/d0 OP_" OP_FORMAT_DEVICE OP_MAKE_OFFLINE OP_MAKE_ONLINE
  offers "--simulate op check a0 OP_D" OP_DETACH
  offers "op list a0 "
  offers "op run a0/d0 OP_FORMAT_DEVICE S" SIZE=
}

@test "completes files, also after an equals sign" {
  local shell
  for shell in bash zsh fish; do
    echo "$shell"
    same "one.so other.json" "$(tab "$shell" "corvane-host --plugin $BATS_FILE_TMPDIR/files/o" |
      sed 's,.*/,,' | xargs)"
    same "other.json" "$(tab "$shell" "corvane-host --simulate=$BATS_FILE_TMPDIR/files/ot" |
      sed 's,.*/,,' | xargs)"
  done
}

@test "completes a value after an equals sign" {
  same "json jsonl" "$(tab bash "corvane-host list --output=js" | xargs)"
  same "--output=json --output=jsonl" "$(tab zsh "corvane-host list --output=js" | xargs)"
  same "--output=json --output=jsonl" "$(tab fish "corvane-host list --output=js" | xargs)"
}

@test "offers no candidates where none are known" {
  offers "frob "
  offers "list "
  offers "--trace "
}

@test "completion creates neither a database nor a trace file" {
  local database="$BATS_TEST_TMPDIR/host.db"
  CORVANE_DATABASE="$database" tab bash \
    "corvane-host --simulate --trace all --trace-file $BATS_TEST_TMPDIR/trace show a" >/dev/null
  [ ! -e "$database" ]
  [ ! -e "$BATS_TEST_TMPDIR/trace" ]
}

@test "the completion command prints only the script and rejects an unknown shell" {
  keep bash corvane-host completion bash
  ended bash 0
  silent bash err
  cmp "$CORVANE_SOURCE/console/cli/completions/corvane-host.bash" "$BATS_FILE_TMPDIR/bash.out"
  keep fsh corvane-host completion fsh
  ended fsh 2
  silent fsh out
  same "corvane-host: completion: no script for 'fsh'
  Did you mean 'fish'?
  Shells: bash, zsh, fish" "$(err fsh)"
}
