#!/usr/bin/env bats
# The thresholds, the expected number of cards and the first line of check.

bats_require_minimum_version 1.5.0
load helper

# Thresholds for card0, whose values are 48.2 degrees, 97 percent of reserve and 25 percent used:
# option, range, state, and the problem in the first line.
CASES="warn-temperature 48 WARNING temperature 48.2 °C, limit 48 °C
warn-temperature 48.2 OK
warn-temperature 0 WARNING temperature 48.2 °C, limit 0 °C
warn-temperature 48: OK
warn-temperature 49: WARNING temperature 48.2 °C, limit 49 °C
warn-temperature ~:48 WARNING temperature 48.2 °C, limit 48 °C
warn-temperature 40:50 OK
warn-temperature 10:20 WARNING temperature 48.2 °C, range 10:20 °C
warn-temperature @48:49 WARNING temperature 48.2 °C, range @48:49 °C
warn-temperature @49:50 OK
crit-temperature 40 CRITICAL temperature 48.2 °C, limit 40 °C
crit-temperature 49 OK
warn-reserve 97 OK
warn-reserve 98 WARNING reserve space 97 %, limit 98 %
warn-reserve 98% WARNING reserve space 97 %, limit 98 %
warn-reserve ~:90 WARNING reserve space 97 %, limit 90 %
crit-reserve 97 OK
crit-reserve 98 CRITICAL reserve space 97 %, limit 98 %
crit-used 25 OK
crit-used 24 CRITICAL endurance used 25 %, limit 24 %
warn-used 24 WARNING endurance used 25 %, limit 24 %
warn-used 25 OK"

# Values that are not ranges.
INVALID="x : 70:10 :70 nan inf @ 1:2:3 70C --"

# Values of card0 over its own limits (78 and 85 degrees, 10 percent), which it does not report:
# attribute, value, state, and the status and reason in the first line.
OWN="temp_internal_deg_c 78 OK
temp_internal_deg_c 78.5 WARNING WARNING: Temperature above its warning threshold: 78.5 °C, limit 78 °C
temp_internal_deg_c 90 CRITICAL FAILED: Temperature above its maximum: 90 °C, limit 85 °C
reserve_space_pct 10 OK
reserve_space_pct 9 WARNING WARNING: Reserve space used up: 9 %, limit 10 %"

# Expected numbers of cards: number, state, and the problem.
EXPECTED="2 OK
3 CRITICAL expected 3 cards, found 2
1 WARNING expected 1 card, found 2
0 WARNING expected 0 cards, found 2"

setup_file() {
  load helper
  make_machine
  make_cards
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/healthy.json"
  cards healthy clear card1 TEMPERATURE_ABOVE_WARN
  cards empty new
  make_many 64
  # Simulated cards share one file, so a service needs long to start with this many.
  if_direct make_many 253
  local number=0 attribute value rest
  while read -r attribute value rest; do
    cp "$BATS_FILE_TMPDIR/healthy.json" "$BATS_FILE_TMPDIR/own$number.json"
    cards "own$number" set card0 "$attribute" "$value"
    number=$((number + 1))
  done <<<"$OWN"
  run_cases
}

# make_many COUNT: creates this number of cards, of which three have failed and four have warnings.
make_many() {
  cards "many$1" new
  local added=0 step card
  while [ "$added" -lt "$1" ]; do
    step=$(($1 - added > 250 ? 250 : $1 - added))
    cards "many$1" add 0x1003 --count "$step"
    added=$((added + step))
  done
  for card in 10 20 30; do cards "many$1" raise "card$card" TEMPERATURE_ABOVE_ERROR; done
  for card in 11 21 31 41; do cards "many$1" raise "card$card" TEMPERATURE_ABOVE_WARN; done
}

run_cases() {
  local number=0 option range rest
  while read -r option range rest; do
    keep "case$number" with healthy check S100 "--$option=$range" &
    number=$((number + 1))
    [ $((number % 6)) -ne 0 ] || wait
  done <<<"$CASES"
  wait
  number=0
  while read -r _; do
    keep "own$number" with "own$number" check S100 &
    number=$((number + 1))
  done <<<"$OWN"
  wait
  while read -r number rest; do keep "expect$number" with healthy check --expect "$number" & done <<<"$EXPECTED"
  keep nocards with empty check --expect 0 &
  keep lostcards with empty check --expect 1 &
  wait
  keep many64 with many64 check &
  if_direct keep many253 with many253 check &
  keep worst with many64 check --perfdata worst &
  keep none with many64 check --perfdata none &
  keep unknown with healthy check S200 --warn-temperature 70 &
  wait
  keep json with healthy check S100 --warn-reserve 98 --crit-temperature 10:60 --expect 2 -o json &
  keep rangejson with healthy check S100 --warn-reserve 98 --crit-temperature 10:60 -o json &
  keep limits with healthy check S100 --warn-temperature 40:50 --crit-temperature 60 &
  keep loose with own1 check S100 --warn-temperature 80 --crit-temperature 100 --warn-reserve 5 &
  keep strict with own1 check S100 --crit-temperature 60 &
  wait
}

# line NAME: prints the first line without its performance data.
line() { out "$1" | sed -e 's/ | .*//' -e 1q; }
# code STATE: prints the exit code of a state.
code() { case "$1" in OK) echo 0 ;; WARNING) echo 1 ;; CRITICAL) echo 2 ;; *) echo 3 ;; esac; }
# one STATE PROBLEM: prints the first line for one card in this state.
one() { echo "CORVANE $1 - 1 card: 1 $1${2:+; a0 $1: $2}"; }

@test "a threshold is a number or a range" {
  local number=0 option range state problem
  while read -r option range state problem; do
    echo "$option $range"
    ended "case$number" "$(code "$state")"
    same "$(one "$state" "$problem")" "$(line "case$number")"
    number=$((number + 1))
  done <<<"$CASES"
  [ "$number" -eq 22 ]
}

@test "an invalid threshold is an error" {
  local range
  for range in $INVALID; do
    run -3 corvane-host check "--warn-reserve=$range"
    same "CORVANE UNKNOWN - --warn-reserve: invalid range '$range'" "${lines[0]}"
  done
  for range in x -1 1.5; do
    run -3 corvane-host check "--expect=$range"
    same "CORVANE UNKNOWN - --expect: '$range' is not a number of cards" "${lines[0]}"
  done
  run -3 corvane-host check a0 --expect 1
  same "CORVANE UNKNOWN - --expect: applies to all cards only" "${lines[0]}"
  run -3 corvane-host check --perfdata some
  grep -q "^CORVANE UNKNOWN - --perfdata: " <<<"${lines[0]}"
}

@test "a value over the card's own limit is never OK" {
  local number=0 attribute value state problem
  while read -r attribute value state problem; do
    echo "$attribute $value"
    ended "own$number" "$(code "$state")"
    same "CORVANE $state - 1 card: 1 $state${problem:+; a0 $problem}" "$(line "own$number")"
    number=$((number + 1))
  done <<<"$OWN"
  [ "$number" -eq 5 ]
}

@test "check compares the number of cards with the expected number" {
  local number state problem
  while read -r number state problem; do
    echo "$number"
    ended "expect$number" "$(code "$state")"
    same "CORVANE $state - 2 cards: 2 OK${problem:+; $problem}" "$(line "expect$number")"
  done <<<"$EXPECTED"
  ended nocards 0
  same "CORVANE OK - no supported adapter found in this machine" "$(line nocards)"
  ended lostcards 2
  same "CORVANE CRITICAL - no supported adapter found in this machine; expected 1 card, found 0" "$(line lostcards)"
}

@test "a threshold for a value that the card does not report is UNKNOWN" {
  ended unknown 3
  same "CORVANE UNKNOWN - 1 card: 1 UNKNOWN; a1 UNKNOWN: temperature unknown, limit 70 °C" "$(line unknown)"
}

@test "the first line has at most 200 characters and names the worst three of many cards" {
  local count text
  for count in 64 $(if_direct echo 253); do
    ended "many$count" 2
    text=$(line "many$count")
    [ "${#text}" -le 200 ]
    same "CORVANE CRITICAL - $count cards: 3 CRITICAL, 4 WARNING, $((count - 7)) OK; a10 FAILED: TEMPERATURE_ABOVE_ERROR; a20 FAILED: TEMPERATURE_ABOVE_ERROR; a30 FAILED: TEMPERATURE_ABOVE_ERROR" "$text"
    # The worst cards come first, each followed by its drive.
    same "a10 a10/d0 a20 a20/d0 a30 a30/d0 a11 a11/d0" \
      "$(out "many$count" | sed 1d | grep -oE '^a[0-9/d]+' | head -8 | xargs)"
  done
}

@test "--perfdata limits the performance data" {
  same "$((64 * 6))" "$(out many64 | head -1 | grep -oE '[^ ]+=[^ ]+' | wc -l)"
  same 18 "$(out worst | head -1 | grep -oE '[^ ]+=[^ ]+' | wc -l)"
  run ! grep -q '|' "$BATS_FILE_TMPDIR/none.out"
  same "$(out many64 | sed 1d)" "$(out none | sed 1d)"
}

@test "performance data contains the thresholds of the user" {
  same "S100_temperature_celsius=48.2;40:50;60" "$(out limits | grep -oE 'S100_temp[^ ]*')"
}

@test "a threshold applies in addition to the card's own limit" {
  ended loose 1
  same "$(one WARNING "Temperature above its warning threshold: 78.5 °C, limit 78 °C")" "$(line loose)"
  same "S100_temperature_celsius=78.5;78;85 S100_reserve_space=97%;10:;;0;100" \
    "$(out loose | grep -oE 'S100_(temp|reserve)[^ ]*' | xargs)"
}

@test "a critical threshold makes a card with a warning CRITICAL" {
  ended strict 2
  same "$(one CRITICAL "temperature 78.5 °C, limit 60 °C, Temperature above its warning threshold: 78.5 °C, limit 78 °C")" "$(line strict)"
}

@test "check -o json has numbers in base units, and ranges" {
  ended json 3
  ended rangejson 1
  valid json rangejson
  same '[1, "WARNING", 1, null]' \
    "$(json rangejson '[d["exit_code"], *(d["result"][k] for k in ("state", "cards", "expected_cards"))]')"
  same '[{"object": "a0", "serial_number": "S100", "property": "reserve_space_ratio", "label": "S100_reserve_space", "value": 0.97, "warning": {"low": 0.98, "high": null, "alerts_inside": false}, "critical": null, "minimum": 0.0, "maximum": 1.0}]' \
    "$(json rangejson '[r for r in d["result"]["readings"] if r["property"] == "reserve_space_ratio"]')"
  same '[{"low": 10.0, "high": 60.0, "alerts_inside": false}]' \
    "$(json rangejson '[r["critical"] for r in d["result"]["readings"] if r["property"] == "temperature_celsius"]')"
  same '[["a0", "WARNING", [{"state": "WARNING", "reason": null, "property": "reserve_space_ratio", "text": "reserve space 97 %, limit 98 %", "acknowledgment": null}]], ["a0/d0", "OK", []]]' \
    "$(json rangejson '[[o["object"], o["state"], o["problems"]] for o in d["result"]["objects"]]')"
  schema_rejects rangejson 'd["result"]["readings"][0]["value"] = "48.2"' \
    'd["result"]["readings"][1]["warning"] = "98:"' 'd["result"]["summary"] = "x" * 201'
}
