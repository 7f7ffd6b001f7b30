#!/usr/bin/env bats
# Stopping the service while clients send requests.

bats_require_minimum_version 1.5.0
load helper
load service

setup() {
  load helper
  load service
  BATS_FILE_TMPDIR="$BATS_TEST_TMPDIR"  # a machine for each test
  make_machine
  make_cards
  use_short_intervals
  PROGRAMS="$BATS_TEST_TMPDIR/events.d"
  LINES="$BATS_TEST_TMPDIR/lines"
  mkdir -m 755 "$PROGRAMS"
  printf '#!/bin/sh\necho "$CORVANE_NUMBER" >>%q\n' "$LINES" >"$PROGRAMS/notify"
  chmod 755 "$PROGRAMS/notify"
  : >"$LINES"
}

teardown() {
  stop_service
  [ ! -e "$BATS_TEST_TMPDIR/load.pid" ] || kill "$(cat "$BATS_TEST_TMPDIR/load.pid")" 2>/dev/null || true
}

start_load() {
  python3 "$CORVANE_SOURCE/tests/console/stop.py" "$SOCKET" "$BATS_TEST_TMPDIR/busy" \
    >"$BATS_TEST_TMPDIR/load.out" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/load.pid"
}
is_busy() { [ -e "$BATS_TEST_TMPDIR/busy" ] || [ ! -e "/proc/$(cat "$BATS_TEST_TMPDIR/load.pid")" ]; }

# database SQL: prints the rows of the database as JSON.
database() {
  python3 -c 'import json, sqlite3, sys
print(json.dumps(sqlite3.connect(sys.argv[1]).execute(sys.argv[2]).fetchall()))' "$CORVANE_DATABASE" "$1"
}
newest_event() { database "SELECT IFNULL(MAX(number), 0) FROM host_event_log"; }
has_event() { [ "$(newest_event)" != "[[0]]" ]; }
last_program_ran() { [ "[[$(tail -n 1 "$LINES")]]" = "$(newest_event)" ]; }

@test "a service that stops under load keeps what it has confirmed, and exits cleanly" {
  local pid rc=0 stored
  start_service --events-directory "$PROGRAMS"
  pid=$(cat "$BATS_TEST_TMPDIR/pid")
  start_load
  eventually is_busy
  [ -e "$BATS_TEST_TMPDIR/busy" ]
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  eventually has_event
  kill -TERM "$pid"
  wait "$pid" || rc=$?
  same 0 "$rc"
  wait "$(cat "$BATS_TEST_TMPDIR/load.pid")"
  rm "$BATS_TEST_TMPDIR/load.pid"

  # A request that got no response may or may not have been made.
  stored=$(database "SELECT serial_number || ' ' || reason, note FROM host_acknowledgments")
  same "[true, true, true, true]" \
    "$(json load "[n[0] <= int(dict($stored)[key]) <= n[1] for key, n in d.items()]")"
  same '[[1]]' "$(database "SELECT COUNT(*) > 0 FROM host_history_minutes")"
  same '[["ok"]]' "$(database "PRAGMA integrity_check")"

  # The programs of the event ran before the stop or run now.
  start_service --events-directory "$PROGRAMS"
  eventually last_program_ran
  kill -TERM "$(cat "$BATS_TEST_TMPDIR/pid")"
  wait "$(cat "$BATS_TEST_TMPDIR/pid")"
  same "" "$(sort "$LINES" | uniq -d)"
}
