#!/usr/bin/env bats
# Messages of failures: the command or object, the cause, and what to do.

bats_require_minimum_version 1.5.0
load helper

# Arguments, exit code, message, and an advice line or "-", separated by "~".
CASES="show S10~3~S10: no such object~Did you mean 'S100'?
show a0/d1~3~a0/d1: no such object~Did you mean 'a0/d0'?
wait a9 gone~3~a9: no such object~-
wait a9 present~3~a9: no such object~-
wait a9 attached~3~a9: no such object~-
get a0 temprature_celsius~2~a0: no property 'temprature_celsius'~Did you mean 'temperature_celsius'?
set plugin pollinterval=5~2~plugin: no property 'pollinterval'~-
explain TEMPERATURE_ABOVE_WRN~3~TEMPERATURE_ABOVE_WRN: not the number or name of an error, event, operation, property, value or state~Did you mean 'TEMPERATURE_ABOVE_WARN'?
explain MISING~3~MISING: not the number or name of an error, event, operation, property, value or state~Did you mean 'MISSING'?
explain MISSING a9~3~a9: no such object~-
ack a0 MISING~2~ack: 'MISING' is not a reason~Did you mean 'MISSING'?
ack plugin MISSING~2~ack plugin: plugin is not an adapter~-
op run a0 LOCAT~2~LOCAT: no such operation~See: corvane-host op list a0
detach a0/d0 -n~2~detach a0/d0: a0/d0 is not an adapter~Did you mean 'a0'?
forget S900 -y~3~forget S900: the card is not in the database~Nothing was changed."

LONG=$(printf 'x%.0s' {1..1001})

# Errors in the command line, in the same form. Each source of such an error has a row. The sources
# of check are in check.bats, which reports them on standard output.
USAGE="~2~missing command~See: corvane-host help
lst~2~lst: unknown command~Did you mean 'list'?
help lst~2~help: lst: unknown command~Did you mean 'list'?
dir/cards.json~2~dir/cards.json: unknown command~To use it as the file of simulated cards: --simulate=dir/cards.json
list --colmns name~2~list: unknown option --colmns~Did you mean '--columns'?
list --timeout~2~list: --timeout requires TIME~See: corvane-host help list
--timeout~2~--timeout requires TIME~See: corvane-host help
list -o xml~2~list: -o: invalid value 'xml'~-
list --color pink~2~list: --color: invalid value 'pink'~Valid: auto, always, never
events --severity eror~2~events: --severity: invalid value 'eror'~Did you mean 'error'?
list -o tree~2~list: does not support --output tree~-
list --follow~2~list: does not accept --follow~Commands that accept it: events
list a0~2~list: too many arguments~Usage: corvane-host list
show~2~show: too few arguments~Usage: corvane-host show OBJ...
list -c nme~2~list: unknown column 'nme'~Did you mean 'name'?
list -c help -o json~2~list: -c help cannot be combined with -o json~See: corvane-host help list
list --timeout soon~2~list: --timeout: invalid duration 'soon'~For example: 30s, 5m or 1h.
list --trace 2,x~2~list: --trace: invalid levels '2,x'~-
list --socket dir/x~2~list: --socket cannot be combined with --simulate~-
events --since soon~2~events: --since: invalid time 'soon'~-
events --limit x~2~events: --limit: invalid number 'x'~For example: --limit 200
events -f -o json~2~events: --follow and --for do not support --output json~Pass --output jsonl for one JSON document per line.
history a0 status~2~history: 'status' is not a recorded property~-
history a0 temperature_celsius --since 1h --from 2h~2~history: --since cannot be combined with --from~Both set the start.
history a0 temperature_celsius --from 1h --to 2h~2~history: --to: the range ends before it starts~For example: --from 2d --to 1d
wait a0 attache~2~wait: 'attache' is not a valid condition~Did you mean 'attached'?
wait a0 hot~2~wait: 'hot' is not a valid condition~Valid: attached, detached, ok, warning, failed, unreadable, missing, gone, present, or PROP=VALUE, PROP!=VALUE, and PROP with <, <=, > or >= and NUMBER
wait a0 temperature_celsius<x~2~wait: 'x' is not a number~For example: temperature_celsius<70
rows drives~2~rows: unknown table 'drives'~Did you mean 'drive'?
completion fsh~2~completion: no script for 'fsh'~Did you mean 'fish'?
set plugin 30~2~set: '30' is not PROP=VALUE~For example: corvane-host set plugin poll_interval=30
set plugin poll_interval=soon~2~set: 'soon' is not a valid integer~For example: corvane-host set plugin poll_interval=30
locate a0 blink~2~locate: 'blink' is not on or off~For example: corvane-host locate a0 on --for 5m
locate a0 off --for 5m~2~locate: --for applies to locate on only~See: corvane-host help locate
locate all on --for 5m~2~locate: --for applies to one object only~-
format a0~2~format: --capacity or --sector-size is required~Nothing was changed.
format a0 --capacity medium~2~format: --capacity: invalid value 'medium'~-
format a0 --sector-size 4k~2~format: --sector-size: invalid value '4k'~Valid: a number of bytes, such as 512 or 4096.
format a1 --capacity 80~2~format: a1/d0 does not report its sector size~Pass the sector size: --sector-size 512
ack a0 MISSING --until yesterday~2~ack: --until: the time is in the past~-
ack a0 MISSING --note $LONG~2~ack: --note: longer than 1,000 bytes~See: corvane-host help ack
op lst a0~2~op: unknown action 'lst'~Did you mean 'list'?
op check a0~2~op: check has too few arguments~Usage: corvane-host op check OBJ OP
op run a0 ATTACH SIZE~2~op: 'SIZE' is not ARG=VALUE~See: corvane-host help op
op run a0 ATTACH SIZ=3~2~op: unknown argument 'SIZ'~Did you mean 'SIZE'?
op run a0 LOCATE_DEVICE SIZE=3~2~op: OP_LOCATE_DEVICE does not accept arguments~See: corvane-host help op
op run a0/d0 FORMAT_DEVICE NAME=x~2~op: OP_FORMAT_DEVICE does not accept argument 'NAME'~Valid: FORMATTING, SIZE, BLOCK_SIZE
op run a0/d0 FORMAT_DEVICE SIZE=5~2~op: SIZE: invalid value '5'~Valid: 10 to 100
op run plugin GET_EVENTS~2~op: run does not collect events~Run: corvane-host events
serve --socket s --listen nowhere~2~serve: --listen: invalid address 'nowhere'~For example: 127.0.0.1:9188 or [::1]:9188.
serve --socket s --listen 0.0.0.0:9188~2~serve: 0.0.0.0:9188 can be reached from other machines~Pass --listen-any if that is intended."

# run_all NAME: runs the command lines of a table from standard input, some of them in parallel.
run_all() {
  local number=0 words rest
  while IFS='~' read -r words rest; do
    # shellcheck disable=SC2086  # the words of a command line
    keep "$1$number" host $words &
    number=$((number + 1))
    [ $((number % 6)) -ne 0 ] || wait
  done
  wait
}

setup_file() {
  load helper
  make_machine
  make_cards
  cardsim set card1 sector_size_bytes absent
  cardsim set card1 iom_state 0
  run_all case <<<"$CASES"
  run_all usage <<<"$USAGE"
}

# agrees NAME COUNT: expects the runs of the table from standard input to have failed as it says.
agrees() {
  local number=0 words code message advice
  while IFS='~' read -r words code message advice; do
    echo "$words"
    ended "$1$number" "$code"
    [[ "$words" == *json ]] || silent "$1$number" out
    same "corvane-host: $message" "$(err "$1$number" | head -1)"
    [ "$advice" = - ] || said "$1$number" "  $advice"
    [ "$(err "$1$number" | wc -l)" -le 4 ]
    number=$((number + 1))
  done
  same "$2" "$number"
}

@test "a plug-in file that was copied only in part is an error" {
  local bytes
  for bytes in 20000 100000; do
    head -c "$bytes" "$CORVANE_BUILD/lib/libCorvane.so" >"$BATS_FILE_TMPDIR/$bytes.so"
    keep "$bytes" corvane-host --plugin "$BATS_FILE_TMPDIR/$bytes.so" list
    ended "$bytes" 5
    said "$bytes" "corvane-host: cannot load the plug-in: $BATS_FILE_TMPDIR/$bytes.so is incomplete; install it again"
  done
}

@test "a failure names the command or object, the cause and what to do, in at most four lines" {
  agrees case 15 <<<"$CASES"
}

@test "a usage error names the command, the cause and what to do, in at most four lines" {
  agrees usage 51 <<<"$USAGE"
}
