#!/usr/bin/env bats
# The event log, printed once and followed.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  cardsim new
  cardsim add 0x2001
  cardsim set card0 serial_number S100
  cardsim set card0 board_name BoardA
  cardsim set card0 product_name DriveA
  echo PollInterval=2 >"$CORVANE_CONFIG_DIR/Corvane.ini"
  copy raised
  copy raisedlines
  copy still
  if_direct keep pending test_plugin events events &
  if_direct keep timed test_plugin events events --for 10s &
  if_direct keep tsv follow 3 -o tsv &
  if_direct keep lines follow 2 -o jsonl &
  if_direct keep json test_plugin events events -o json &
  if_direct keep none test_plugin quiet events --for 0s &
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/log.db" if_direct keep logged follow 3 &
  wait
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/log.db" if_direct keep gone test_plugin quiet events 0x0000000000000099 -o tsv -H &
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/log.db" if_direct keep never test_plugin quiet events 0x0000000000000098 &
  keep raised follow_card raised 2 -f -o tsv &
  keep raisedlines follow_card raisedlines 1 -f -o jsonl &
  keep still with still events --for 0s &
  wait
}

# follow COUNT ARGUMENTS...: prints the first COUNT lines of events -f.
follow() { test_plugin events events -f "${@:2}" | head -n "$1"; }

# follow_card NAME COUNT ARGUMENTS...: prints the first COUNT lines of events for the cards in
# NAME.json, one of which gets a warning once its status has been read.
follow_card() {
  local name="$1" count="$2" options=() CORVANE_DATABASE="$BATS_FILE_TMPDIR/$1.db"
  local trace="$BATS_FILE_TMPDIR/$1.trace"
  export CORVANE_DATABASE
  shift 2
  [ -n "${CORVANE_TEST_SERVICE:-}" ] || options+=(--trace 2 --trace-file "$trace")
  # Starts the service, if one is used.
  options+=("$(cards_option "$BATS_FILE_TMPDIR/$name.json")")
  { if_direct eventually has_read "$trace" && cards "$name" raise card0 CORRECTABLE_PCI_ERRORS; } \
    >/dev/null &
  corvane-host "${options[@]}" events "$@" | head -n "$count"
  wait
}

WARNING="The temperature of adapter (unnamed) is above its warning threshold."
REMOVED="Adapter (unnamed) was removed or is not responding."

@test "events prints time, severity, object and text of pending events" {
  direct_only "uses the test plug-in"
  ended pending 0
  same "2026-11-21T05:31:02+00:00 warning 10967 CTRL_TEMPERATURE_ABOVE_WARN a0 $WARNING" \
    "$(out pending | sed -e 1d -e 's/  */ /g')"
}

@test "events --for prints new events as they arrive" {
  direct_only "uses the test plug-in"
  ended timed 0
  same "TIME SEVERITY ID EVENT OBJECT TEXT
2026-11-21T05:31:02+00:00 warning 10967 CTRL_TEMPERATURE_ABOVE_WARN a0 $WARNING
2026-11-21T05:31:02+00:00 information 11094 CTRL_PNPREMOVE 0x0000000000000099 $REMOVED" \
    "$(out timed | sed -e 's/  */ /g')"
}

@test "columns stay aligned for events that arrive later" {
  direct_only "uses the test plug-in"
  same "45
45" "$(out timed | sed 1d | awk '{print index($0, "CTRL_")}')"
}

@test "events -o tsv prints one header row" {
  direct_only "uses the test plug-in"
  same "time	severity	event_id	event	object	text
2026-11-21T05:31:02+00:00	warning	10967	CTRL_TEMPERATURE_ABOVE_WARN	a0	$WARNING
2026-11-21T05:31:02+00:00	information	11094	CTRL_PNPREMOVE	0x0000000000000099	$REMOVED" "$(out tsv)"
}

@test "events -o jsonl prints one document per event" {
  direct_only "uses the test plug-in"
  valid lines:2
  same '["CTRL_PNPREMOVE", null, null, "0x0000000000000099", "Card"]' \
    "$(out lines | tail -1 | python3 -c 'import json,sys; e=json.loads(sys.stdin.read())["result"]["events"][0]; print(json.dumps([e[k] for k in ("event", "object", "id", "logged_id", "source")]))')"
}

@test "events in JSON match the schema" {
  direct_only "uses the test plug-in"
  valid json
  same '[10967, "warning", "a0"]' \
    "$(json json '[d["result"]["events"][0][k] for k in ("event_id", "severity", "object")]')"
}

@test "events accepts the logged id of a removed object and rejects an unknown one" {
  direct_only "uses the test plug-in"
  ended gone 0
  same "2026-11-21T05:31:02+00:00	information	11094	CTRL_PNPREMOVE	0x0000000000000099	$REMOVED" \
    "$(out gone)"
  ended never 3
  silent never out
}

@test "events --for without events prints nothing" {
  direct_only "uses the test plug-in"
  ended none 0
  silent none out
  silent none err
}

@test "events -f prints an event that occurs later" {
  ended raised 0
  same "time	severity	event_id	event	object	text
warning	10970	CTRL_CORRECTABLE_PCI_ERRORS	a0	Adapter SanDisk BoardA (1) has PCI errors that were corrected." \
    "$(out raised | sed 's/^20[0-9T:+-]*\t//')"
}

@test "events -f -o jsonl prints a document for an event that occurs later" {
  ended raisedlines 0
  valid raisedlines:1
  same '["CTRL_CORRECTABLE_PCI_ERRORS","a0","S100"]' \
    "$(jq -c '.result.events[0] | [.event, .object, .serial_number]' <<<"$(out raisedlines)")"
}

@test "events --for prints nothing for cards without events" {
  ended still 0
  silent still out
  silent still err
}
