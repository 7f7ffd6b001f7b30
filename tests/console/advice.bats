#!/usr/bin/env bats
# What people try first, from habit or from another program, and the advice that they get.

bats_require_minimum_version 1.5.0
load helper

# Arguments, exit code and a line of advice, separated by "~".
CASES="log~2~Did you mean 'events'?
led a1 on~2~Did you mean 'locate'?
info a1~2~Did you mean 'show'?
prometheus~2~Did you mean 'metrics'?
format a0 --size 80~2~Did you mean '--capacity'?
list --size 80~2~See: corvane-host help list
list --json~2~Did you mean '--output json'?
events --tail 5~2~Did you mean '--limit'?
locate on a1~2~For example: corvane-host locate a1 on
locate off a0 a1~2~For example: corvane-host locate a0 a1 off
locate a1 blink~2~For example: corvane-host locate a0 on --for 5m
locate a1~2~For example: corvane-host locate a1 on --for 5m
get temperature_celsius a1~2~For example: corvane-host get a1 temperature_celsius
get temperature_celsius~2~For example: corvane-host get all temperature_celsius
format a0 80~2~For example: corvane-host format a0/d0 --capacity 80
set plugin poll_interval 5~2~For example: corvane-host set plugin poll_interval=30
wait a1~2~For example: corvane-host wait a1 ok --timeout 10m
wait a0 reserve_space_ratio<10~2~For 10 percent: 'reserve_space_ratio<10%'
list cards.json~2~To use it as the file of simulated cards: --simulate=cards.json
events --to today -f~2~See: corvane-host help events
events --since today --to yesterday~2~For example: --since yesterday --to today
forget a0 -y~2~For this card: corvane-host forget S100"

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
  keep critical host check --critical 90 &
  keep expect host check --expect three &
  keep capital host locate a0 ON &
  keep events host events &
  keep headings host list -c object,USED,serial &
  keep textfile host metrics --textfile "$BATS_FILE_TMPDIR/cards.txt" &
  wait
}

@test "the first attempt of someone who does not know the command gets the right one as advice" {
  local number=0 words code advice
  while IFS='~' read -r words code advice; do
    echo "$words"
    ended "case$number" "$code"
    silent "case$number" out
    said "case$number" "  $advice"
    [ "$(err "case$number" | wc -l)" -le 4 ]
    number=$((number + 1))
  done <<<"$CASES"
  [ "$number" -eq 22 ]
}

@test "check prints the advice for an invalid command line below its first line" {
  ended critical 3
  same "Did you mean '--crit-temperature'?" "$(out critical | sed -n 2p)"
  ended expect 3
  same "See: corvane-host help check" "$(out expect | sed -n 2p)"
}

@test "locate accepts on and off in any case" {
  ended capital 0
  same "a0 locate LED: off -> on" "$(out capital)"
}

@test "an empty event log names the commands that monitor the cards, and the service" {
  ended events 0
  said events "corvane-host: note: no matching events in the log"
  said events "  To monitor them all the time, run the service: corvane-host serve"
}

@test "list -c accepts the headings of the table" {
  ended headings 0
  same "OBJECT USED SERIAL
a1 2 % S200
a0 25 % S100" "$(out headings | sed 's/  */ /g')"
}

@test "metrics warns about a file name that the textfile collector ignores" {
  ended textfile 0
  same "corvane-host: note: the textfile collector reads only files whose names end in .prom, not $BATS_FILE_TMPDIR/cards.txt" "$(err textfile)"
  grep -q "^corvane_plugin_up 1" "$BATS_FILE_TMPDIR/cards.txt"
}

@test "a file after --simulate without = gets the form with = as advice" {
  run -2 corvane-host list --simulate x/cards.json
  [[ "$output" == *"  To use it as the file of simulated cards: --simulate=x/cards.json"* ]]
}

@test "an option is not taken as the value of another one" {
  cd "$BATS_TEST_TMPDIR"  # a program without the check would create a database there
  run -2 corvane-host list --database --simulate
  [[ "$output" == *"--database requires FILE, not --simulate"* ]]
}

@test "the help states the percentages of the presets, and where all can be given" {
  local text
  text=$(corvane-host help format | tr -s ' \n' ' ')
  [[ "$text" == *"factory is 100 %, improved 90 % and high (for high write performance) 80 %;"* ]]
  [[ "$text" != *" all, which selects"* && "$text" != *"or all "* ]]
  text=$(corvane-host help detach | tr -s ' \n' ' ')
  [[ "$text" == *"one or more objects, or all, which selects all adapters"* ]]
  [[ "$text" == *"1 the card rejected the command, for example because it is busy"* ]]
  text=$(corvane-host help metrics | tr -s ' \n' ' ')
  [[ "$text" == *"at /metrics of its socket"*"share/corvane/prometheus/corvane.rules.yml"* ]]
}

@test "explain with an object and a property shows its limits, and fits the terminal" {
  same "    now    97 % (warning 10)" "$(host explain reserve_space_ratio a0 | grep now)"
  keep narrow screen 24x40 ends 0 print -- corvane-host explain 10972
  out narrow | grep -qx "    means  Adapter NAME regulates writes"
  out narrow | grep -qx "           to limit its power draw."
}
