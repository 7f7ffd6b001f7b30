#!/usr/bin/env bats
# The status command, which shows problems with causes and actions; the wait command; and events
# that are followed while a card changes.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  echo PollInterval=2 >"$CORVANE_CONFIG_DIR/Corvane.ini"
  local name
  for name in degraded soon event leave; do cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$name.json"; done
  cards degraded set card0 iom_state 0
  cards degraded set card1 temp_internal_deg_c 86.5
  cards degraded clear card1 TEMPERATURE_ABOVE_WARN
  cards degraded raise card1 TEMPERATURE_ABOVE_ERROR

  keep all host status &
  keep drive host status a0/d0 &
  keep tsv host status a1 -o tsv -H &
  keep json host status -o json &
  keep lines host status -o jsonl &
  keep ascii with degraded status --ascii &
  keep degradeddrive with degraded status a0/d0 &
  keep degradedlist with degraded list --long &
  keep degradedtsv with degraded list -o tsv -H -c object,status &
  keep degradedcheck with degraded check &
  keep degradedblock with degraded watch -o table --for 0s &
  keep degradedjson with degraded status -o json &
  if_direct keep none corvane-host status &
  wait
  keep already host wait a1 warning &
  keep late host wait S100 'temperature_celsius<40' --timeout 1s &
  keep latejson host wait a0 failed --timeout 0s -o json &
  keep reason host wait a1 status_reasons=attached -o value &
  keep meaning host wait a1 attached &
  keep less host wait a1 'temperature_celsius<400' --timeout 0s &
  keep unequal host wait a1 'temperature_celsius!=70' --timeout 0s &
  keep absent host wait a7 ok &
  keep gone host wait a7 gone &
  keep awaited host wait a7 present --timeout 0s &
  keep present host wait pci:0000:5e:00.0 present -o json &
  keep word host wait a0 atached &
  keep wornout host wait a0 'reserve_space_ratio<5%' --timeout 0s &
  keep unworn host wait a0 'reserve_space_ratio>96.5%' --timeout 0s &
  keep hotpercent host wait a0 'temperature_celsius<5%' --timeout 0s &
  keep number host wait a0 'temperature_celsius>hot' &
  keep property host wait a0 temperatur=4 &
  if_direct keep unread wait_without_reader &
  wait
  if_direct keep soon with soon wait S200 'status!=WARNING' --trace 2 --trace-file "$(trace_of soon)" &
  if_direct keep leave with leave wait a0 gone --trace 2 --trace-file "$(trace_of leave)" &
  if_direct change_after_read leave remove card0 &
  if_direct stop_when TERM "$BATS_FILE_TMPDIR/stopped.log" GetTopology stopped \
    corvane-host --plugin "$TEST_PLUGIN" wait a0 gone &
  if_direct change_after_read soon clear card1 TEMPERATURE_ABOVE_WARN &
  if_direct keep follow one_event &
  if_direct change_after_read event raise card0 CORRECTABLE_PCI_ERRORS &
  wait
}

trace_of() { echo "$BATS_FILE_TMPDIR/$1.trace"; }

# change_after_read NAME ARGUMENTS...: changes the cards after the program has read them.
change_after_read() {
  eventually has_read "$(trace_of "$1")"
  cards "$@"
}

one_event() {
  with event events -f -o jsonl --trace 2 --trace-file "$(trace_of event)" | head -n 1
  echo "${PIPESTATUS[*]}" >"$BATS_FILE_TMPDIR/follow.ends"
}

# Runs a wait whose reader has exited. Prints its exit code, duration and CPU time.
wait_without_reader() {
  local TIMEFORMAT="%R %U %S" code=0
  time {
    test_plugin quiet wait a0 gone --timeout 4s | true
    code=${PIPESTATUS[0]}
  }
  echo "$code"
} 2>"$BATS_FILE_TMPDIR/unread.times"

@test "status shows problems, causes and actions" {
  ended all 0
  silent all err
  same "a1 WARNING  slot 2, S200
   Temperature above its warning threshold: temperature unknown, limit 78 °C     Check fans and airflow around the card in slot 2, or reduce its load.     explain TEMPERATURE_ABOVE_WARN
1 of 2 cards ok" "$(out all)"
}

@test "the drive of a detached card is detached in every form" {
  same "a0/d0 detached  slot 5, S100" "$(out degradeddrive)"
  grep -qE "^a0/d0 +detached .* DriveA \(0\)" "$BATS_FILE_TMPDIR/degradedlist.out"
  same "a0/d0	DETACHED" "$(out degradedtsv | grep a0/d0)"
  grep -q "^a0/d0 detached: DriveA (0)" "$BATS_FILE_TMPDIR/degradedcheck.out"
  grep -qE "^a0/d0 +DriveA \(0\) +detached" "$BATS_FILE_TMPDIR/degradedblock.out"
  same '["DETACHED"]' \
    "$(json degradedjson '[o["status"] for o in d["result"]["objects"] if o["object"] == "a0/d0"]')"
}

@test "wait accepts percentages only for ratios" {
  ended unworn 0
  ended wornout 7
  ended hotpercent 2
  said hotpercent "corvane-host: wait: '5%' is not a number"
}

@test "status shows a reason with its reading and limit" {
  ended ascii 0
  same "a1 FAILED  slot 2, S200
   86 C (warning 78, critical 85)     Cool the card in slot 2 immediately: stop its load, and fix fans and airflow.     explain TEMPERATURE_ABOVE_ERROR
a1/d0 FAILED  slot 2, S200
   the plug-in reports no reason     show a1/d0
a0 detached  slot 5, S100
   Detached     Attach the card in slot 5 to make its drive available to the system.     explain DETACHED
0 of 2 cards ok" "$(out ascii)"
}

@test "status OBJ shows a drive even if it is healthy" {
  same "a0/d0 available  slot 5, S100" "$(out drive)"
}

@test "status -o tsv prints one row per reason" {
  same "a1	WARNING	TEMPERATURE_ABOVE_WARN	Temperature above its warning threshold: temperature unknown, limit 78 °C	Check fans and airflow around the card, or reduce its load.
a1/d0	AVAILABLE	-	-	-" "$(out tsv)"
}

@test "status -o json contains the reasons with measured value and limit" {
  valid json degradedjson lines:4
  same '[["a0", true, []], ["a0/d0", true, []], ["a1", false, ["TEMPERATURE_ABOVE_WARN"]], ["a1/d0", true, []]]' \
    "$(json json '[[o["object"], o["ok"], [r["name"] for r in o["reasons"]]] for o in d["result"]["objects"]]')"
  same '[{"name": "temperature_celsius", "value": 86.5}, {"name": "temperature_critical_celsius", "value": 85.0}]' \
    "$(json degradedjson '[d["result"]["objects"][2]["reasons"][0][k] for k in ("measured", "limit")]')"
}

@test "status prints nothing on a machine without cards" {
  direct_only "runs without a service"
  ended none 0
  silent none out
}

@test "wait succeeds without a change if the condition is already true" {
  ended already 0
  silent already err
  out already | grep -qxE 'a1 warning: WARNING after [0-9.]+ s'
  same "TEMPERATURE_ABOVE_WARN,ATTACHED" "$(out reason)"
}

@test "wait returns when the plug-in reports the change" {
  direct_only "synchronizes with the trace of an in-process plug-in (client.bats waits through a service)"
  ended soon 0
  grep -qE '^a1 status!=WARNING: OK after [0-9.]+ s$' "$BATS_FILE_TMPDIR/soon.out"
}

@test "wait gone detects a removed card even if another card now has its name" {
  direct_only "synchronizes with the trace of an in-process plug-in (client.bats waits through a service)"
  ended leave 0
  grep -qE '^a0 gone: gone after [1-9][0-9.]* s$|^a0 gone: gone after 0[.][1-9] s$' \
    "$BATS_FILE_TMPDIR/leave.out"
}

@test "wait exits with 7 on timeout and reports the last value" {
  ended late 7
  silent late out
  said late "corvane-host: wait a0 temperature_celsius<40: timed out after 1.0 s, now 48 °C"
  ended latejson 7
  valid latejson
  same '[7, "TIMED_OUT"]' "$(json latejson '[d["exit_code"], d["messages"][-1]["id"]]')"
}

@test "a comparison with an unknown number is never true" {
  ended less 7
  ended unequal 7
  said less "corvane-host: wait a1 temperature_celsius<400: timed out after 0.0 s, now unknown"
}

@test "wait shows the meaning of the reason that it waited for" {
  out meaning | grep -qxE 'a1 attached: Attached after [0-9.]+ s'
  same "TEMPERATURE_ABOVE_WARN,ATTACHED" "$(out reason)"
}

@test "wait rejects an unknown object" {
  local name
  for name in absent gone awaited; do
    ended "$name" 3
    said "$name" "corvane-host: a7: no such object"
  done
  ended present 0
  valid present
  same '["a1", "present", "present"]' \
    "$(json present '[d["result"][k] for k in ("object", "condition", "seen")]')"
}

@test "wait rejects an invalid condition" {
  ended word 2
  said word "  Did you mean 'attached'?"
  ended number 2
  said number "corvane-host: wait: 'hot' is not a number"
  ended property 2
  said property "corvane-host: a0: no property 'temperatur'"
}

@test "wait exits with 130 when interrupted and reports the last value" {
  direct_only "uses the test plug-in"
  ended stopped 130
  said stopped "corvane-host: note: a0 was present"
}

@test "a wait whose reader has exited continues without using CPU time" {
  direct_only "uses the test plug-in"
  same 7 "$(out unread)"
  tail -1 "$BATS_FILE_TMPDIR/unread.times" | awk '{exit !($1 >= 4 && $2 + $3 < $1 / 4)}'
}

@test "events -f prints events as they are detected and exits when its reader exits" {
  direct_only "synchronizes with the trace of an in-process plug-in (client.bats follows events through a service)"
  same "0 0" "$(cat "$BATS_FILE_TMPDIR/follow.ends")"
  valid follow
  same '[[10970, "CTRL_CORRECTABLE_PCI_ERRORS", "warning", "a0"]]' \
    "$(json follow '[[e[k] for k in ("event_id", "event", "severity", "object")] for e in d["result"]["events"]]')"
}
