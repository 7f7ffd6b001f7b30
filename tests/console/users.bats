#!/usr/bin/env bats
# The names of users in jobs and acknowledgments, with a directory service that does not respond.

bats_require_minimum_version 1.5.0
load helper
load service

setup() {
  BATS_FILE_TMPDIR="$BATS_TEST_TMPDIR"  # a machine for each test
  make_machine
  make_cards
  export CONSOLE_TEST_HUNG_DIRECTORY="$BATS_TEST_TMPDIR/hung"
  LD_PRELOAD="$HUNG_DIRECTORY" ASAN_OPTIONS="${ASAN_OPTIONS-}:verify_asan_link_order=0" start_service
}

teardown() {
  rm -f "$CONSOLE_TEST_HUNG_DIRECTORY"
  stop_service
}

# user_of NAME: prints the user in the response.
user_of() { json "$1" 'd["user"]'; }

@test "a directory service that does not respond delays only the names of users" {
  local i requests=()
  touch "$CONSOLE_TEST_HUNG_DIRECTORY"
  # More requests than the server has threads.
  for i in {1..6}; do
    ask "job$i" POST /v1/cards/S100/operations/locate '{"dry_run": true}' 3>&- &
    requests+=($!)
    ask "ack$i" POST /v1/cards/S200/ack '{"reason": "TEMPERATURE_ABOVE_WARN"}' 3>&- &
    requests+=($!)
  done
  for i in {1..6}; do
    ask cards GET /v1/cards
    responded cards 200
  done
  test -e "$CONSOLE_TEST_HUNG_DIRECTORY"
  wait "${requests[@]}"
  same "\"$(id -u)\"" "$(user_of ack1)"
  for i in {1..6}; do
    [ "$(rc "job$i")" = 409 ] || same "202 \"$(id -u)\"" "$(rc "job$i") $(user_of "job$i")"
  done
  same 1 "$(cat "$BATS_FILE_TMPDIR"/job?.rc | grep -o 202 | head -1 | wc -l)"
  rm "$CONSOLE_TEST_HUNG_DIRECTORY"
  ended_lookups() {
    ask ack POST /v1/cards/S200/ack '{"reason": "TEMPERATURE_ABOVE_WARN"}'
    [ "$(user_of ack)" = "\"$(id -un)\"" ]
  }
  eventually ended_lookups
}
