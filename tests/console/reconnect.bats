#!/usr/bin/env bats
# Commands that follow events while the service is killed or stopped, and started again.

bats_require_minimum_version 1.5.0
load helper

setup() {
  load helper
  BATS_FILE_TMPDIR="$BATS_TEST_TMPDIR"  # a machine for each test
  make_machine
  make_cards
  use_short_intervals
  export CORVANE_DATABASE="$BATS_TEST_TMPDIR/corvane.db"
  SOCKET="$BATS_TEST_TMPDIR/run/s"
}

teardown() {
  local pid
  for pid in "$BATS_TEST_TMPDIR"/*.pid; do
    [ ! -e "$pid" ] || kill -KILL "$(cat "$pid")" 2>/dev/null || true
  done
}

pid_of() { cat "$BATS_TEST_TMPDIR/$1.pid"; }

start() {
  corvane-host serve --simulate --socket "$SOCKET" 2>>"$BATS_TEST_TMPDIR/serve.err" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/serve.pid"
  eventually is_ready "$SOCKET"
}
stop() {
  kill -TERM "$(pid_of serve)"
  wait "$(pid_of serve)"
}
# kill_both: kills the service and its plug-in process.
kill_both() {
  local pid
  pid=$(pid_of serve)
  # shellcheck disable=SC2046  # two process ids
  kill -KILL "$pid" $(pgrep -P "$pid" -f plugin-process)
  wait "$pid" || true
}

# follow ARGUMENTS...: starts a command in the background and waits until it is connected to the
# service.
follow() {
  corvane-host --socket "$SOCKET" "$@" -v >"$BATS_TEST_TMPDIR/follow.out" 2>"$BATS_TEST_TMPDIR/follow.err" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/follow.pid"
  eventually grep -q "using the service" "$BATS_TEST_TMPDIR/follow.err"
}
# ends CODE: waits for the command and expects this exit code.
ends() {
  local rc=0
  wait "$(pid_of follow)" || rc=$?
  rm "$BATS_TEST_TMPDIR/follow.pid"
  same "$1" "$rc"
}

LOST="corvane-host: note: the connection to the service was lost; reconnecting"
losses() { grep -cxF "$LOST" "$BATS_TEST_TMPDIR/follow.err" || true; }
has_losses() { [ "$(losses)" = "$1" ]; }

# numbers: prints the event numbers in the JSON lines of standard input.
numbers() {
  python3 -c 'import json, sys
print(*(event["number"] for line in sys.stdin for event in json.loads(line)["result"]["events"]))'
}
followed() { numbers <"$BATS_TEST_TMPDIR/follow.out"; }
has_followed() { [ "$(followed | wc -w)" -ge "$1" ]; }
logged() { corvane-host --socket "$SOCKET" events -o jsonl --limit 1000 | numbers; }

# change_cards: changes the cards while the service runs, after it was killed, and after it was
# stopped.
change_cards() {
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  eventually has_followed 1
  kill_both
  cardsim raise card0 NEAR_WEARING_OUT
  eventually has_losses 1
  start
  eventually has_followed 2
  cardsim raise card0 CORRECTABLE_PCI_ERRORS
  eventually has_followed 3
  stop
  cardsim clear card0 TEMPERATURE_ABOVE_WARN
  cardsim raise card1 NEAR_WEARING_OUT
  eventually has_losses 2
  STARTED=$(date -u +%Y-%m-%dT%H:%M:%S+00:00)
  start
  eventually has_followed 4
}

@test "events -f continues after the service was killed and after it was stopped" {
  start
  follow events -f -o jsonl
  change_cards
  has_all() { [ "$(followed)" = "$(logged)" ]; }
  eventually has_all
  kill -TERM "$(pid_of follow)"
  ends 130
  same "$(seq -s ' ' "$(followed | wc -w)")" "$(followed)"
  same 2 "$(losses)"
}

@test "watch continues after the service was killed and after it was stopped" {
  start
  follow watch -o jsonl
  change_cards
  has_all() { [ "$(followed)" = "$(logged)" ]; }
  eventually has_all
  # The cards are shown as the new service reports them.
  shows_new() { [ "$(tail -n 1 "$BATS_TEST_TMPDIR/follow.out" | python3 -c 'import json, sys
print(json.load(sys.stdin)["observed_at"])')" \> "$STARTED" ]; }
  eventually shows_new
  kill -TERM "$(pid_of follow)"
  ends 130
  same 2 "$(losses)"
}

@test "events --for exits with 0 while the service is not running" {
  start
  follow events --for 10s -o jsonl
  kill_both
  ends 0
  same 1 "$(losses)"
}

@test "watch --for exits with 0 while the service is not running" {
  start
  follow watch --for 10s -o jsonl
  eventually test -s "$BATS_TEST_TMPDIR/follow.out"
  kill_both
  ends 0
  same 1 "$(losses)"
}

@test "watch prints one block when the service is killed, with the time of its values" {
  start
  follow watch --for 12s
  eventually grep -q "^a0 .* 48°C  " "$BATS_TEST_TMPDIR/follow.out"
  kill_both
  eventually grep -q "disconnected" "$BATS_TEST_TMPDIR/follow.out"
  ends 0
  same 1 "$(grep -cE '^20[^ ]+ disconnected; values are from 20[^ ]+$' "$BATS_TEST_TMPDIR/follow.out")"
  sed -n '/disconnected/,$p' "$BATS_TEST_TMPDIR/follow.out" >"$BATS_TEST_TMPDIR/after"
  grep -q '^a0 .* 48°C? ' "$BATS_TEST_TMPDIR/after"
  same 1 "$(grep -c '^20' "$BATS_TEST_TMPDIR/after")"
}

@test "a signal stops events -f while the service is not running" {
  start
  follow events -f
  kill_both
  eventually has_losses 1
  kill -TERM "$(pid_of follow)"
  ends 130
}

@test "events -f exits when its reader exits while the service is not running" {
  start
  mkfifo "$BATS_TEST_TMPDIR/pipe"
  cat "$BATS_TEST_TMPDIR/pipe" >"$BATS_TEST_TMPDIR/cat.out" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/cat.pid"
  corvane-host --socket "$SOCKET" events -v -f -o jsonl >"$BATS_TEST_TMPDIR/pipe" 2>"$BATS_TEST_TMPDIR/follow.err" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/follow.pid"
  eventually grep -q "using the service" "$BATS_TEST_TMPDIR/follow.err"
  kill_both
  eventually has_losses 1
  kill -KILL "$(pid_of cat)"
  ends 0
}

@test "wait continues after the service was killed and started again" {
  start
  follow wait a0 "temperature_celsius>60" --timeout 2m
  kill_both
  eventually has_losses 1
  cardsim set card0 temp_internal_deg_c 61
  start
  ends 0
  grep -qE "^a0 temperature_celsius>60: 61(\.0)? ?°C after " "$BATS_TEST_TMPDIR/follow.out" ||
    { cat "$BATS_TEST_TMPDIR/follow.out"; false; }
}
