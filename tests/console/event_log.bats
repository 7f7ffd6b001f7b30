#!/usr/bin/env bats
# The event log: events of earlier runs, their objects, and since when an object has its status.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  echo PollInterval=2 >"$CORVANE_CONFIG_DIR/Corvane.ini"
  local log="$BATS_FILE_TMPDIR/log.db" file
  # Without a service, which would read the log when it starts, before the entries are added.
  CORVANE_DATABASE="$log" keep none corvane-host --simulate events
  # Serial numbers identify cards, because ids change between runs and names depend on the slot.
  add_log_entries "$log" \
    "2026-11-19T23:59:59 3 10967 5 'BoardX (9)' 'Too hot.' S100 19038" \
    "2026-11-20T00:00:00 2 10980 5 'BoardX (9)' 'Back to normal.' S100 19038" \
    "2026-11-20T05:31:00 2 10985 5 'DriveX (0)' 'New size.' S100 19018" \
    "2026-11-20T05:31:01 3 11094 6 'BoardY (1)' 'Card removed.' S900 19038" \
    "2026-11-20T06:00:00 4 10957 6 'SanDisk BoardA (1)' 'An old entry.' '' 0"
  CORVANE_DATABASE="$log" keep all host events -o tsv &
  CORVANE_DATABASE="$log" keep json host events -o json &
  CORVANE_DATABASE="$log" keep lines host events -o jsonl &
  CORVANE_DATABASE="$log" keep day host events --since 2026-11-20 -o tsv -H &
  CORVANE_DATABASE="$log" keep second host events --since 2026-11-20T05:31:00Z -o tsv -H &
  CORVANE_DATABASE="$log" keep offset host events --since 2026-11-20T06:31:01+01:00 -o tsv -H &
  CORVANE_DATABASE="$log" keep newest host events --limit 2 -o tsv -H &
  wait
  CORVANE_DATABASE="$log" keep to host events --since 2026-11-20 --to "2026-11-20 05:31:01 UTC" -o tsv -H &
  CORVANE_DATABASE="$log" keep narrow screen 40x60 ends 0 print -- \
    corvane-host "$(CORVANE_DATABASE="$log" cards_option "$CARDSIM_STATE")" events &
  CORVANE_DATABASE="$log" keep card host events a0 -o tsv -H &
  CORVANE_DATABASE="$log" keep drive host events a0/d0 -o tsv -H &
  CORVANE_DATABASE="$log" keep plugin host events plugin -o tsv -H &
  CORVANE_DATABASE="$log" keep other host events a1 &
  CORVANE_DATABASE="$log" keep left host events S900 --limit 1 -o tsv -H &
  CORVANE_DATABASE="$log" keep unknown host events S901 &
  CORVANE_DATABASE="$log" keep follow follow_one &
  keep badsince host events --since 2026-02-31 &
  keep badlimit host events --limit -1 &
  wait
  CORVANE_DATABASE=/proc/none/host.db if_direct keep broken host events a1 -o json &
  CORVANE_DATABASE=/proc/none/host.db if_direct keep brokenodd test_plugin events events &
  CORVANE_DATABASE=/proc/none/host.db if_direct keep statusbroken host status &
  if_direct keep noread unwritable 000 events -o json &
  if_direct keep nowrite unwritable 444 events -o tsv -H &
  if_direct keep nodatabase host --database /etc/passwd events &
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/large.db" if_direct keep large measure_large_log &
  keep relative relative_days &
  wait
  if_direct keep warned warn_across_runs
}

teardown_file() { if_direct chmod u+w "$BATS_FILE_TMPDIR"/other*; }

# unwritable MODE ARGUMENTS...: runs the program with a copy of the log in a read-only directory.
unwritable() {
  local directory="$BATS_FILE_TMPDIR/other$1"
  mkdir "$directory"
  cp "$BATS_FILE_TMPDIR/log.db" "$directory/log.db"
  chmod "$1" "$directory/log.db"
  chmod 555 "$directory"
  CORVANE_DATABASE="$directory/log.db" unprivileged corvane-host --simulate "${@:2}"
}

# Measures the CPU time for reading the newest 50, the newest 3 and all of 20,000 log entries, and
# for reading an empty log.
measure_large_log() {
  host events >/dev/null 2>&1
  python3 - "$CORVANE_DATABASE" <<'END'
import sqlite3, sys

with sqlite3.connect(sys.argv[1]) as database:
    database.executemany(
        "INSERT INTO host_event_log (time, severity, event_id, object_id, name, message,"
        " serial_number, object_type) VALUES (?, 3, 10967, 7, 'Board', ?, 'S200', 19038)",
        ((1700000000000 + n, f"Entry {n}.") for n in range(1, 20001)))
END
  CORVANE_DATABASE=:memory: cost host events >/dev/null 2>&1
  cost host events -o tsv -H >"$BATS_FILE_TMPDIR/newest50.out" 2>"$BATS_FILE_TMPDIR/newest50.err"
  cost host events a1 --limit 3 -o tsv -H >"$BATS_FILE_TMPDIR/newest3.out"
  cost host events --limit 20000 -o tsv -H >"$BATS_FILE_TMPDIR/newest20000.out"
}

# cost COMMAND...: runs the command and appends its user and system CPU time in seconds to `costs`.
cost() {
  local TIMEFORMAT="%3U %3S"
  { time "$@" 2>&3; } 3>&2 2>>"$BATS_FILE_TMPDIR/costs"
}

# Prints the entries that each --since selects. Their times are chosen so that the test works at any
# time of day.
relative_days() {
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/days.db"
  corvane-host --simulate events >/dev/null 2>&1
  add_log_entries "$CORVANE_DATABASE" \
    "$(date -u -d '2 days ago' +%F)T00:00:00 2 10980 5 X before S100 19038" \
    "$(date -u -d yesterday +%F)T00:00:00 2 10980 5 X yesterday S100 19038" \
    "$(date -u -d '90 minutes ago' +%FT%T) 2 10980 5 X recent S100 19038"
  local since
  for since in yesterday 2h 1h 2d 3d; do
    host events --since "$since" -o tsv -H 2>/dev/null | cut -f 6 | tr '\n' ' '
    echo "$since"
  done
}

follow_one() {
  host events -f -o jsonl | head -n 1
  echo "${PIPESTATUS[*]}" >"$BATS_FILE_TMPDIR/follow.ends"
}

# One run observes a warning, and the next run shows its start. Then the card recovers, and the
# warning returns while no host is running.
warn_across_runs() {
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/warned.db"
  local before
  before=$(date +%s)
  one_event_after raise
  host events a0 -o tsv -H
  keep since host status a0 -o json
  keep since_text host status
  one_event_after clear
  cardsim raise card0 CORRECTABLE_PCI_ERRORS
  keep unseen host status -o json
  cardsim remove card0
  keep moved host events -o json
  echo "$before $(date +%s)" >"$BATS_FILE_TMPDIR/warned.times"
}

# Changes the card after the host has read its objects, and waits for the event. The plug-in reports
# a change after three polls.
one_event_after() {
  local trace="$BATS_FILE_TMPDIR/$1.trace"
  host events -f --limit 0 -o jsonl --trace 2 --trace-file "$trace" | head -n 1 >/dev/null &
  eventually has_read "$trace"
  cardsim "$1" card0 CORRECTABLE_PCI_ERRORS >/dev/null
  wait $!
}

texts() { out "$1" | cut -f 6 | tr '\n' '|'; }

@test "events prints a note for an empty log" {
  ended none 0
  silent none out
  said none "corvane-host: note: no matching events in the log"
}

@test "events shows the current names of logged objects" {
  ended all 0
  silent all err
  same "time	severity	event_id	event	object	text
2026-11-19T23:59:59+00:00	warning	10967	CTRL_TEMPERATURE_ABOVE_WARN	a0	Too hot.
2026-11-20T00:00:00+00:00	information	10980	CTRL_NORMAL	a0	Back to normal.
2026-11-20T05:31:00+00:00	information	10985	PD_FORMAT_CHANGED	a0/d0	New size.
2026-11-20T05:31:01+00:00	warning	11094	CTRL_PNPREMOVE	S900	Card removed.
2026-11-20T06:00:00+00:00	error	10957	CTRL_INTERNAL_ERROR	a0	An old entry." "$(out all)"
}

@test "events -o json contains the object of each event and matches the schema" {
  valid json lines:5
  same '[["a0", "S100", "BoardX (9)"], ["a0", "S100", "BoardX (9)"], ["a0/d0", "S100", "DriveX (0)"], [null, "S900", "BoardY (1)"], ["a0", null, "SanDisk BoardA (1)"]]' \
    "$(json json '[[e[k] for k in ("object", "serial_number", "source")] for e in d["result"]["events"]]')"
  same '[["0x0130000000000001", "0x0000000000000005"], ["0x0130000000000001", "0x0000000000000005"], ["0x0130000000000002", "0x0000000000000005"], [null, "0x0000000000000006"], ["0x0130000000000001", "0x0000000000000006"]]' \
    "$(json json '[[e[k] for k in ("id", "logged_id")] for e in d["result"]["events"]]')"
  schema_rejects json 'd["result"]["events"][0]["logged_id"] = None' \
    'd["result"]["events"][0]["serial_number"] = 5' \
    'del d["result"]["events"][0]["serial_number"]'
}

@test "--since selects events from that time on, and --limit the newest events" {
  same "Back to normal.|New size.|Card removed.|An old entry.|" "$(texts day)"
  same "New size.|Card removed.|An old entry.|" "$(texts second)"
  same "Card removed.|An old entry.|" "$(texts offset)"
  same "Card removed.|An old entry.|" "$(texts newest)"
}

@test "--to selects events before that time" {
  same "Back to normal.|New size.|" "$(texts to)"
}

@test "events are wrapped on a terminal that is too narrow for the table" {
  ended narrow 0
  grep -qx "2026-11-20 06:00:00 UTC  a0  error  10957" "$BATS_FILE_TMPDIR/narrow.out"
  grep -qx "  CTRL_INTERNAL_ERROR" "$BATS_FILE_TMPDIR/narrow.out"
  grep -qx "  An old entry." "$BATS_FILE_TMPDIR/narrow.out"
}

@test "--since accepts days and durations" {
  same "yesterday recent yesterday
recent 2h
1h
yesterday recent 2d
before yesterday recent 3d" "$(out relative)"
}

@test "events OBJ includes the objects below it" {
  same "Too hot.|Back to normal.|New size.|An old entry.|" "$(texts card)"
  same "New size.|" "$(texts drive)"
  same "Too hot.|Back to normal.|New size.|An old entry.|" "$(texts plugin)"
  ended other 0
  silent other out
}

@test "events accepts the serial number of a removed card and rejects an unknown one" {
  same "Card removed.|" "$(texts left)"
  ended unknown 3
  said unknown "corvane-host: S901: no such object"
}

@test "events --follow prints the log first and exits when its reader exits" {
  same "0 0" "$(cat "$BATS_FILE_TMPDIR/follow.ends")"
  same '["Too hot."]' "$(json follow '[e["text"] for e in d["result"]["events"]]')"
}

@test "--since and --limit reject invalid values" {
  ended badsince 2
  said badsince "corvane-host: events: --since: invalid time '2026-02-31'"
  ended badlimit 2
  said badlimit "corvane-host: events: --limit: invalid number '-1'"
}

@test "an unreadable log is an error for events and for status" {
  direct_only "the service reads the log (client.bats and service_state.bats test its failures)"
  ended broken 1
  valid broken
  same '["NO_EVENT_LOG"]' "$(json broken '[m["id"] for m in d["messages"]]')"
  said broken "corvane-host: cannot read the event log /proc/none/host.db: unable to open database file"
  ended brokenodd 1
  silent brokenodd out
  ended nodatabase 1
  same "corvane-host: cannot read the event log /etc/passwd: file is not a database
  Pass another database with --database." "$(err nodatabase)"
  ended statusbroken 1
  same 1 "$(err statusbroken | grep -c 'cannot use the event log: unable to open database file')"
}

@test "events reads a read-only log without changing it" {
  direct_only "the service reads the log (client.bats and service_state.bats test its failures)"
  ended nowrite 0
  silent nowrite err
  same "Too hot.|Back to normal.|New size.|Card removed.|An old entry.|" "$(texts nowrite)"
  same log.db "$(ls "$BATS_FILE_TMPDIR/other444")"
  cmp "$BATS_FILE_TMPDIR/log.db" "$BATS_FILE_TMPDIR/other444/log.db"
}

@test "events exits with 6 without read permission for the log" {
  direct_only "the service reads the log (client.bats and service_state.bats test its failures)"
  ended noread 6
  valid noread
  said noread "corvane-host: cannot read the event log $BATS_FILE_TMPDIR/other000/log.db: Permission denied"
}

@test "events reads the newest entries of a large log quickly" {
  direct_only "measures the processor time of the command"
  same 20000 "$(out newest20000 | wc -l)"
  awk '{cost[NR] = $1 + $2 - cost[1]} END {half = cost[4] / 2; exit !(cost[2] < half && cost[3] < half)}' \
    "$BATS_FILE_TMPDIR/costs" || { cat "$BATS_FILE_TMPDIR/costs"; false; }
  same 50 "$(out newest50 | wc -l)"
  same "Entry 19951." "$(out newest50 | head -1 | cut -f 6)"
  same "Entry 20000." "$(out newest50 | tail -1 | cut -f 6)"
  said newest50 "corvane-host: note: showing the newest 50 events; the log contains older ones"
  same "Entry 19998.|Entry 19999.|Entry 20000.|" "$(texts newest3)"
}

@test "status shows since when an object has its status, from an event of an earlier run" {
  direct_only "tests separate runs that load the plug-in"
  read -r before after <"$BATS_FILE_TMPDIR/warned.times"
  valid since
  local since
  since=$(date -d "$(json since 'd["result"]["objects"][0]["since"]' | tr -d '"')" +%s)
  [ "$since" -ge "$before" ] && [ "$since" -le "$after" ]
  same "$(out warned | grep PCI | cut -f 1 | head -1)" \
    "$(json since 'd["result"]["objects"][0]["since"]' | tr -d '"')"
  grep -qE '^a0 WARNING  slot 5, S100, since [0-9:]{5} \([0-9]+ s\)$' "$BATS_FILE_TMPDIR/since_text.out"
  grep -qE '^a1 WARNING  slot 2, S200$' "$BATS_FILE_TMPDIR/since_text.out"
  grep -qE '^   .*     explain CORRECTABLE_PCI_ERRORS$' "$BATS_FILE_TMPDIR/since_text.out"
}

@test "status does not show since when, if no host was running when the status changed" {
  direct_only "tests separate runs that load the plug-in"
  valid unseen
  same '[["a0", "WARNING", null], ["a0/d0", "AVAILABLE", null], ["a1", "WARNING", null], ["a1/d0", "AVAILABLE", null]]' \
    "$(json unseen '[[o["object"], o["status"], o["since"]] for o in d["result"]["objects"]]')"
  schema_rejects unseen 'd["result"]["objects"][0].pop("since")' \
    'd["result"]["objects"][0]["since"] = "05:31"'
}

@test "events of a removed card keep its name" {
  direct_only "tests separate runs that load the plug-in"
  same '[["a0", "S100", "CTRL_CORRECTABLE_PCI_ERRORS"], ["a0", "S100", "CTRL_NORMAL"]]' \
    "$(json moved '[[e[k] for k in ("object", "serial_number", "event")] for e in d["result"]["events"]]')"
}
