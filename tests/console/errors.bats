#!/usr/bin/env bats
# Messages of failures: the command or object, the cause, and what to do.

bats_require_minimum_version 1.5.0
load helper

# Arguments, exit code, message, and an advice line or "-", separated by "~".
CASES="lst~2~unknown command 'lst'~Did you mean 'list'?
list --colmns name~2~unknown option --colmns~Did you mean '--columns'?
list -c nme~2~unknown column 'nme'~Did you mean 'name'?
list -o xml~2~-o: invalid value 'xml'~-
list a0~2~list has too many arguments~Usage: corvane-host list
show~2~show has too few arguments~Usage: corvane-host show OBJ
show S10~3~S10: no such object~Did you mean 'S100'?
show a0/d1~3~a0/d1: no such object~Did you mean 'a0/d0'?
get a0 temprature_celsius~2~a0: no property 'temprature_celsius'~Did you mean 'temperature_celsius'?
set plugin pollinterval=5~2~plugin: no property 'pollinterval'~-
wait a0 attache~2~wait: 'attache' is not a valid condition~Did you mean 'attached'?
wait a0 temperature_celsius<x~2~wait: 'x' is not a number~For example: temperature_celsius<70
wait a9 gone~3~a9: no such object~-
wait a9 present~3~a9: no such object~-
wait a9 attached~3~a9: no such object~-
explain TEMPERATURE_ABOVE_WRN~3~TEMPERATURE_ABOVE_WRN: not the number or name of an error, event, operation, property, value or state~Did you mean 'TEMPERATURE_ABOVE_WARN'?
explain MISING~3~MISING: not the number or name of an error, event, operation, property, value or state~Did you mean 'MISSING'?
explain MISSING a9~3~a9: no such object~-
ack a0 MISING~2~ack: 'MISING' is not a reason~Did you mean 'MISSING'?
ack plugin MISSING~2~ack plugin: plugin is not an adapter~-
rows drives~2~rows: unknown table 'drives'~Did you mean 'drive'?
completion fsh~2~completion: no script for 'fsh'~Did you mean 'fish'?
history a0 status~2~history: 'status' is not a recorded property~-
events -f -o json~2~events: --follow and --for do not support --output json~Pass --output jsonl for one JSON document per line.
list --timeout soon~2~--timeout: invalid duration 'soon'~For example: 30s, 5m or 1h.
forget S900 -y~3~forget S900: the card is not in the database~Nothing was changed.
op lst a0~2~op: unknown action 'lst'~Did you mean 'list'?"

setup_file() {
  load helper
  make_machine
  make_cards
  local number=0 words rest
  while IFS='~' read -r words rest; do
    # shellcheck disable=SC2086  # the words of a command line
    keep "case$number" host $words &
    number=$((number + 1))
    [ $((number % 6)) -ne 0 ] || wait
  done <<<"$CASES"
  wait
}

@test "a failure names the command or object, the cause and what to do, in at most four lines" {
  local number=0 words code message advice
  while IFS='~' read -r words code message advice; do
    echo "$words"
    ended "case$number" "$code"
    [[ "$words" == *json ]] || silent "case$number" out
    same "corvane-host: $message" "$(err "case$number" | head -1)"
    [ "$advice" = - ] || said "case$number" "  $advice"
    [ "$(err "case$number" | wc -l)" -le 4 ]
    number=$((number + 1))
  done <<<"$CASES"
  [ "$number" -eq 27 ]
}
