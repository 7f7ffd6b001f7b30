#!/usr/bin/env bats
# The event log, printed once and followed.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  keep pending test_plugin events events &
  keep timed test_plugin events events --for 10s &
  keep tsv follow 3 -o tsv &
  keep lines follow 2 -o jsonl &
  keep json test_plugin events events -o json &
  keep none test_plugin quiet events --for 0s &
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/log.db" keep logged follow 3 &
  wait
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/log.db" keep gone test_plugin quiet events 0x0000000000000099 -o tsv -H &
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/log.db" keep never test_plugin quiet events 0x0000000000000098 &
  wait
}

# follow COUNT ARGUMENTS...: prints the first COUNT lines of events -f.
follow() { test_plugin events events -f "${@:2}" | head -n "$1"; }

WARNING="The temperature of adapter (unnamed) is above its warning threshold."
REMOVED="Adapter (unnamed) was removed or is not responding."

@test "events prints time, severity, object and text of pending events" {
  ended pending 0
  same "2026-11-21T05:31:02+00:00 warning 10967 CTRL_TEMPERATURE_ABOVE_WARN a0 $WARNING" \
    "$(out pending | sed -e 1d -e 's/  */ /g')"
}

@test "events --for prints new events as they arrive" {
  ended timed 0
  same "TIME SEVERITY ID EVENT OBJECT TEXT
2026-11-21T05:31:02+00:00 warning 10967 CTRL_TEMPERATURE_ABOVE_WARN a0 $WARNING
2026-11-21T05:31:02+00:00 information 11094 CTRL_PNPREMOVE 0x0000000000000099 $REMOVED" \
    "$(out timed | sed -e 's/  */ /g')"
}

@test "columns stay aligned for events that arrive later" {
  same "45
45" "$(out timed | sed 1d | awk '{print index($0, "CTRL_")}')"
}

@test "events -o tsv prints one header row" {
  same "time	severity	event_id	event	object	text
2026-11-21T05:31:02+00:00	warning	10967	CTRL_TEMPERATURE_ABOVE_WARN	a0	$WARNING
2026-11-21T05:31:02+00:00	information	11094	CTRL_PNPREMOVE	0x0000000000000099	$REMOVED" "$(out tsv)"
}

@test "events -o jsonl prints one document per event" {
  valid lines:2
  same '["CTRL_PNPREMOVE", null, null, "0x0000000000000099", "Card"]' \
    "$(out lines | tail -1 | python3 -c 'import json,sys; e=json.loads(sys.stdin.read())["result"]["events"][0]; print(json.dumps([e[k] for k in ("event", "object", "id", "logged_id", "source")]))')"
}

@test "events in JSON match the schema" {
  valid json
  same '[10967, "warning", "a0"]' \
    "$(json json '[d["result"]["events"][0][k] for k in ("event_id", "severity", "object")]')"
}

@test "events accepts the logged id of a removed object and rejects an unknown one" {
  ended gone 0
  same "2026-11-21T05:31:02+00:00	information	11094	CTRL_PNPREMOVE	0x0000000000000099	$REMOVED" \
    "$(out gone)"
  ended never 3
  silent never out
}

@test "events --for without events prints nothing" {
  ended none 0
  silent none out
  silent none err
}
