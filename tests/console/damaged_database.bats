#!/usr/bin/env bats
# A database that is damaged, unreadable or locked: the cards that are present are shown, and every
# command says that missing cards and acknowledgments are unknown. Each test has its own cards and
# database.

# shellcheck disable=SC2030,SC2031  # variables that are set in one test only

bats_require_minimum_version 1.5.0
load helper

CAUSE="corvane-host: cannot read the known cards: file is not a database"

setup_file() {
  load helper
  make_machine
}

# Three cards, seen once, of which the second was removed; a0 is too hot.
setup() {
  load helper
  export CARDSIM_STATE="$BATS_TEST_TMPDIR/cards.json" CORVANE_DATABASE="$BATS_TEST_TMPDIR/known.db"
  cardsim new
  cardsim add flash-785g
  cardsim add flash-2400g
  cardsim add flash-2600g
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  corvane-host --simulate list >/dev/null
  cardsim remove card1
}

teardown() {
  [ ! -e "$BATS_TEST_TMPDIR/serve.pid" ] || kill "$(cat "$BATS_TEST_TMPDIR/serve.pid")" || true
}

# damage: overwrites the start of the database.
damage() {
  rm -f "$CORVANE_DATABASE"-*
  printf 'damaged damaged damaged' | dd of="$CORVANE_DATABASE" conv=notrunc status=none
}

@test "check is UNKNOWN with a damaged database, although a card may be missing" {
  run -2 corvane-host --simulate check
  [[ "$output" == *"a1 MISSING"* ]]
  damage
  run -3 corvane-host --simulate check
  [[ "${lines[0]}" == "CORVANE UNKNOWN - 2 cards: 1 WARNING, 1 OK; cannot read the known cards: file is not a database; a0 WARNING"* ]] ||
    { echo "${lines[0]}"; false; }
  keep json corvane-host --simulate check -o json
  ended json 3
  same '["UNKNOWN", 3, [["error", "NO_KNOWN_CARDS"]]]' "$(json json \
    '[d["result"]["state"], d["exit_code"],
      [[m["severity"], m["id"]] for m in d["messages"] if m["severity"] == "error"]]')"
}

@test "check stays CRITICAL with a damaged database if a card is" {
  cardsim fail vsl_open card0 --text "bad flash"
  damage
  run -2 corvane-host --simulate check
  [[ "${lines[0]}" == "CORVANE CRITICAL - "*"cannot read the known cards"*"UNREADABLE"* ]] ||
    { echo "${lines[0]}"; false; }
}

@test "list, tree, status, watch and metrics show the other cards and fail with a damaged database" {
  damage
  local command
  for command in list tree status "watch --for 0s" metrics; do
    # shellcheck disable=SC2086  # a row is a command line
    keep damaged corvane-host --simulate $command
    ended damaged 1 || { echo "$command"; false; }
    said damaged "$CAUSE"
    said damaged "  Missing cards and acknowledgments are not shown."
    said damaged "  Database file: $CORVANE_DATABASE"
    grep -q TEMPERATURE_ABOVE_WARN "$BATS_FILE_TMPDIR/damaged.out" ||
      grep -q FA00000001 "$BATS_FILE_TMPDIR/damaged.out"
  done
}

@test "a locked database is an error, not a machine without missing cards" {
  python3 -c '
import sqlite3, sys, time
database = sqlite3.connect(sys.argv[1], isolation_level=None)
database.execute("BEGIN EXCLUSIVE")
open(sys.argv[2], "w").close()
time.sleep(600)' "$CORVANE_DATABASE" "$BATS_TEST_TMPDIR/locked" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/serve.pid"
  eventually test -e "$BATS_TEST_TMPDIR/locked"
  keep locked corvane-host --simulate list
  ended locked 1
  said locked "corvane-host: cannot read the known cards: database is locked"
  grep -q FA00000001 "$BATS_FILE_TMPDIR/locked.out"
}

@test "changes accept only serial numbers with a damaged database" {
  damage
  local command
  for command in "locate a0 on" "detach a0 --yes" "format a1/d0 --capacity 80 --confirm FA00000003"; do
    # shellcheck disable=SC2086  # a row is a command line
    keep refused corvane-host --simulate $command
    ended refused 4 || { echo "$command"; false; }
    grep -q "another card may have had this name" "$BATS_FILE_TMPDIR/refused.err"
  done
  corvane-host --simulate locate FA00000001 on
}

@test "a new database is not an error" {
  rm -f "$CORVANE_DATABASE" "$CORVANE_DATABASE"-*
  keep new corvane-host --simulate list
  ended new 0
  silent new err
}

@test "a service with a damaged database says so in every answer" {
  damage
  local socket="$BATS_TEST_TMPDIR/s"
  corvane-host serve --simulate --socket "$socket" 2>"$BATS_TEST_TMPDIR/serve.err" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/serve.pid"
  eventually is_ready "$socket"
  keep list corvane-host --socket "$socket" list
  ended list 1
  said list "$CAUSE"
  grep -q FA00000001 "$BATS_FILE_TMPDIR/list.out"
  local command
  for command in list status "watch --for 0s" metrics; do
    # shellcheck disable=SC2086  # a row is a command line
    keep served corvane-host --socket "$socket" $command
    ended served 1 || { echo "$command"; false; }
    said served "  Database file of the service: $CORVANE_DATABASE"
    said served "  To use another one, restart the service with --database."
    if grep -q "Database file: " "$BATS_FILE_TMPDIR/served.err"; then false; fi
  done
  grep -qx "corvane_database_up 0" "$BATS_FILE_TMPDIR/served.out"
  grep -q "^corvane_adapter_temperature_celsius{" "$BATS_FILE_TMPDIR/served.out"
  same 0 "$(grep -c "^corvane_events_total{" "$BATS_FILE_TMPDIR/served.out")"
  curl -s --unix-socket "$socket" http://service/metrics >"$BATS_FILE_TMPDIR/scraped"
  grep -qx "corvane_database_up 0" "$BATS_FILE_TMPDIR/scraped"
  same 0 "$(grep -c "^corvane_events_total{" "$BATS_FILE_TMPDIR/scraped")"
  for command in "history FA00000001 temperature_celsius" "forget FA00000009 --yes" "ack FA00000001 DETACHED"; do
    # shellcheck disable=SC2086  # a row is a command line
    keep state corvane-host --socket "$socket" $command
    ended state 1 || { echo "$command"; false; }
    grep -q "cannot use the database: file is not a database" "$BATS_FILE_TMPDIR/state.err"
    said state "  Database file of the service: $CORVANE_DATABASE. To use another one, restart the service with --database."
  done
  same "Database file of the service: $CORVANE_DATABASE" "$(curl -s --unix-socket "$socket" \
    http://service/v1/known-cards | jq -r .hint | cut -d . -f 1-2)"
  run -3 corvane-host --socket "$socket" check
  [[ "${lines[0]}" == "CORVANE UNKNOWN - "*"cannot read the known cards: file is not a database"* ]]
  same NO_KNOWN_CARDS "$(curl -s --unix-socket "$socket" http://service/v1/cards |
    jq -r '.messages[] | select(.severity == "error").id')"
}
