#!/usr/bin/env bats
# The help is complete and matches the behavior of each command.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  keep all corvane-host --help
  keep format corvane-host help format
  keep json corvane-host help -o json
  keep one corvane-host help wait -o json
}

# commands: prints the names of the commands in the general help.
commands() { out all | sed -n '/^Inspect/,/^Examples/p' | sed -n 's/^  \([a-z]\+\).*/\1/p'; }

# options COMMAND...: prints the long options in a help, in order.
options() { corvane-host help "$@" | grep -o '^  \(-.,\|   \) --[a-z-]\+' | grep -o -- '--[a-z-]\+'; }

@test "the general help lists the commands in groups" {
  ended all 0
  same "Inspect Change Service Help Examples" \
    "$(out all | grep -oxE 'Inspect|Change|Service|Help|Examples' | xargs)"
  local command group
  for row in Inspect:list Inspect:tree Inspect:show Inspect:get Inspect:status Inspect:events Inspect:history Inspect:watch Inspect:wait Inspect:check \
    Inspect:rows Change:set Change:locate Change:attach Change:detach Change:format Change:online Change:offline Change:op Change:ack Change:unack Change:forget Service:serve Service:metrics \
    Help:explain Help:plugin Help:help Help:version; do
    IFS=: read -r group command <<<"$row"
    out all | sed -n "/^$group\$/,/^\$/p" | grep -q "^  $command " || { echo "$row"; false; }
    commands | grep -qx -- "$command"
  done
}

@test "the general help shows common tasks" {
  local task
  for task in "corvane-host list  *find the card that is hot" "corvane-host status  *find out why a card has a warning" \
    "corvane-host locate a1 on --for 5m  *blink the locate LED" "corvane-host detach a1 " \
    "corvane-host format a0/d0 --capacity 80" "corvane-host wait a1 ok" "corvane-host watch " \
    "corvane-host events --since yesterday" "corvane-host check " "corvane-host metrics " "corvane-host explain 10972"; do
    out all | grep -q "^  $task" || { echo "$task"; false; }
  done
}

@test "help lines fit into 80 columns" {
  local command
  for command in $(commands); do
    corvane-host help "$command"
  done | cat - "$BATS_FILE_TMPDIR/all.out" >"$BATS_TEST_TMPDIR/lines"
  same "" "$(grep -E '.{81}' "$BATS_TEST_TMPDIR/lines")"
}

@test "command help lists the arguments, options, danger, output formats, exit codes and examples" {
  ended format 0
  same "Usage: corvane-host format DRIVE [OPTIONS]" "$(out format | head -1)"
  same "Danger Arguments Options Examples" \
    "$(out format | grep -oxE 'Danger|Arguments|Options|Examples' | xargs)"
  out format | grep -q "^  ALL DATA ON THE DRIVE IS LOST\."
  out format | grep -q "^  DRIVE  a drive: a0/d0"
  out format | grep -q "^  4  refused: "
  same "--yes --dry-run --confirm --again --capacity --sector-size --output --no-headings --quiet --verbose \
--ascii --color --local-time --no-input --socket --direct --plugin --simulate --database --timeout --trace --trace-file --help \
--version" \
    "$(options format | xargs)"
  out format | grep -q "^  -n, --dry-run  *show the changes without making them$"
  out format | tr -s ' \n' ' ' | grep -q "for scripts): table, tsv, json, jsonl -H"
}

@test "every command has a description, explained arguments and two examples" {
  local command
  for command in $(commands); do
    echo "$command"
    keep one.help corvane-host help "$command"
    same "" "$(out one.help | sed -n '/^Arguments/,/^$/p' | grep -E '^  [^ ]+ *$')"
    same 2 "$(out one.help | sed -n '/^Examples/,$p' | grep -c '^  corvane-host ')"
    [ "$(out one.help | sed -n 4p | wc -w)" -gt 3 ]
  done
}

@test "examples use existing commands and options" {
  local verb rest option
  while read -r verb rest; do
    [ "$verb" != --version ] || continue
    echo "$verb $rest"
    commands | grep -qx -- "$verb"
    for option in $(grep -o -- '--[a-z-]\+' <<<"$rest"); do
      options "$verb" | grep -qx -- "$option"
    done
  done < <(for verb in $(commands); do corvane-host help "$verb"; done |
    sed -n 's/^  corvane-host \(.*\)/\1/p' | sed 's/   *.*//')
}

@test "--help after an incomplete command prints the help of that command" {
  local words
  for words in "format --help" "format a0/d0 --capacity 80 -h" "--help format a0" \
    "format -o tsv --help"; do
    # shellcheck disable=SC2086  # words
    same "$(out format)" "$(corvane-host $words)"
  done
}

@test "help -o json lists the commands and their options" {
  valid json one
  same '["wait", "Look", "OBJ COND", ["table", "tsv", "json", "value"]]' \
    "$(json one '[d["result"]["commands"][0][k] for k in ("name", "group", "arguments", "forms")]')"
  same '[["--timeout", null, "TIME", []]]' \
    "$(json one '[[o[k] for k in ("name", "short", "value", "choices")] for o in d["result"]["commands"][0]["options"] if o["name"] == "--timeout"]')"
  schema_rejects one 'd["result"]["commands"][0].pop("options")' \
    'd["result"]["commands"][0]["options"][0].update(name="timeout")'
}

@test "every choice of --color and --capacity is accepted" {
  local choice
  for choice in auto always never; do corvane-host version --color "$choice"; done
  # The capacity is checked before the cards are read.
  for choice in maximum factory improved high 80; do
    run -1 corvane-host --simulate=/none/cards.json format a0/d0 --capacity "$choice"
    [[ "$output" == *"cannot simulate cards"* ]]
  done
  run -2 corvane-host --simulate=/none/cards.json format a0/d0 --capacity medium
}

@test "the error for an option of another command names the commands that accept it" {
  run -2 corvane-host list --follow
  same "corvane-host: list: does not accept --follow
  Commands that accept it: events
  See: corvane-host help list" "$output"
  run -2 corvane-host list -o
  [[ "$output" == *"-o requires FORMAT"* ]]
}

# hint WORDS...: prints the suggestion.
hint() {
  local words
  words=$(corvane-host --simulate=/none/cards.json "$@" 2>&1 >/dev/null) && false
  grep "Did you mean" <<<"$words"
}

@test "errors for mistyped names suggest the correct name" {
  same "  Did you mean 'list'?" "$(hint lits)"
  same "  Did you mean 'format'?" "$(hint help frmat)"
  same "  Did you mean '--dry-run'?" "$(hint format a0 --dry)"
  same "  Did you mean '--sector-size'?" "$(hint format a0 --secto=5)"
  same "  Did you mean 'never'?" "$(hint list --color nver)"
  same "  Did you mean 'temperature_celsius'?" "$(hint explain temprature)"
  same "  Did you mean 'SIZE'?" "$(hint op run a0/d0 FORMAT_DEVICE SIZ=3)"
  same "  Did you mean 'check'?" "$(hint op chek a0 ATTACH)"
  same "  Did you mean 'factory'?" "$(hint format a0/d0 --capacity factry)"
}

@test "usage errors without a suggestion refer to the help" {
  run -2 corvane-host
  same "corvane-host: missing command
  See: corvane-host help" "$output"
  run -2 corvane-host list -Z
  same "corvane-host: list: unknown option -Z
  See: corvane-host help list" "$output"
  run -2 corvane-host op run a0/d0 FORMAT_DEVICE SIZE
  same "corvane-host: op: 'SIZE' is not ARG=VALUE
  See: corvane-host help op" "$output"
}

@test "errors for unknown columns and properties suggest a name" {
  make_cards
  same "  Did you mean 'temperature_celsius'?" \
    "$(corvane-host --simulate list -c temprature 2>&1 | grep Did)"
  same "  Did you mean 'temperature_celsius'?" \
    "$(corvane-host --simulate get a0 temprature 2>&1 | grep Did)"
  same "  Did you mean 'poll_interval'?" \
    "$(corvane-host --simulate set plugin pol_intervall=3 2>&1 | grep Did)"
}
