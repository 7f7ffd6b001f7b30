#!/usr/bin/env bats
# The check command for monitoring systems: a status line with performance data, a line for each
# object, and an exit code from 0 to 3 even after failures.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  local name
  for name in well critical mixed duplicate odd nodriver closed empty; do
    cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$name.json"
  done
  cards well clear card1 TEMPERATURE_ABOVE_WARN
  cards critical set card0 temp_internal_deg_c 91.5
  cards critical raise card0 TEMPERATURE_ABOVE_ERROR
  cards mixed set card0 iom_state 0
  cards mixed set card1 temp_internal_deg_c 79
  cards mixed raise card1 NEAR_WEARING_OUT
  cards duplicate set card1 serial_number S100
  cards odd set card0 serial_number 'a|b=c "d" e\f'
  cards odd set card0 board_name $'Bö|rd\ntwo'
  cards odd set card1 serial_number ''
  cards nodriver fail vsl_init --code 5 --text "no driver"
  cards closed fail vsl_open --code 12
  cards empty new --force
  mkdir "$BATS_FILE_TMPDIR/damaged"
  printf 'PollInterval\0 [[[\n' >"$BATS_FILE_TMPDIR/damaged/Corvane.ini"

  keep well with well check &
  keep warning host check &
  keep critical with critical check &
  keep mixed with mixed check &
  keep ascii env LC_ALL=C corvane-host "$(cards_option "$BATS_FILE_TMPDIR/mixed.json")" check a1 &
  keep card host check S100 &
  keep drive host check a1/d0 &
  keep duplicate with duplicate check &
  keep odd with odd check &
  wait
  keep json host check -o json &
  keep emptyjson with empty check -o json &
  keep empty with empty check &
  if_direct keep bus corvane-host check &
  keep closed with closed check &
  keep noobject host check a9 &
  keep ambiguous with duplicate check S100 &
  if_direct keep nodriver with nodriver check &
  if_direct keep damaged env CORVANE_CONFIG_DIR="$BATS_FILE_TMPDIR/damaged" corvane-host check &
  wait
  if_direct keep noplugin corvane-host check --plugin '/none|such' &
  if_direct keep notplugin corvane-host check --plugin "$CORVANE_BUILD/lib/libhostkit.so" &
  if_direct keep version test_plugin version check &
  if_direct keep smart test_plugin smart check &
  if_direct keep slow test_plugin slow check --timeout 200ms &
  if_direct keep topology test_plugin topology check &
  if_direct keep crash test_plugin crash check &
  if_direct keep crashloud test_plugin crash check -v &
  if_direct keep exit test_plugin exit check &
  if_direct keep crashjson test_plugin crash check -o json &
  if_direct keep late test_plugin hang check --timeout 200ms &
  if_direct keep latejson test_plugin hang check --timeout 200ms -o json &
  CONSOLE_TEST_LOG="$BATS_FILE_TMPDIR/stuck.log" if_direct keep stuck test_plugin hang1 check --timeout 1s &
  if_direct keep late0 host check --timeout 0s &
  wait
  if_direct keep nooption corvane-host check --frobnicate &
  if_direct keep novalue corvane-host --ascii check --timeout &
  if_direct keep badformat corvane-host check -o xml &
  if_direct keep other corvane-host list --frobnicate check &
  if_direct keep badduration corvane-host check --timeout soon &
  if_direct keep longduration corvane-host check --timeout 10001d &
  keep longest host check --timeout 10000d &
  if_direct keep nooptionjson corvane-host check --frobnicate -o json &
  CONSOLE_TEST_PLUGIN=hang if_direct stop_when TERM "$BATS_FILE_TMPDIR/stopped.log" Initialize stopped \
    corvane-host --plugin "$TEST_PLUGIN" check &
  keep full to_full_disk host check &
  wait
}

to_full_disk() { "$@" >/dev/full; }

# line NAME TEXT: expects TEXT as the status line, without its performance data.
line() { same "$2" "$(out "$1" | sed -e 's/ | .*//' -e 1q)"; }
# readings NAME: prints the performance data, one reading per line.
readings() { out "$1" | sed -n '1s/.* | //p' | tr ' ' '\n'; }

@test "check exits with 0 for healthy cards and lists each object" {
  ended well 0
  line well "CORVANE OK - 2 cards: 2 OK"
  same "a0 ok: SanDisk BoardA (1), serial S100
a0/d0 available: DriveA (0)
a1 ok: MOLT EP PX600 (2), serial S200
a1/d0 available: MOLT EP PX600 2.6TB (0)" "$(out well | sed 1d)"
}

@test "check exits with 1 for a warning, with its reason and action" {
  ended warning 1
  line warning "CORVANE WARNING - 2 cards: 1 WARNING, 1 OK; a1 WARNING: Temperature above its warning threshold: temperature unknown, limit 78 °C"
  same "a1 WARNING: MOLT EP PX600 (2), serial S200
  Temperature above its warning threshold: temperature unknown, limit 78 °C. Check fans and airflow around the card, or reduce its load." \
    "$(out warning | sed -n '2,3p')"
}

@test "check exits with 2 for an error and lists it before a warning" {
  ended critical 2
  line critical "CORVANE CRITICAL - 2 cards: 1 CRITICAL, 1 WARNING; a0 FAILED: Temperature above its maximum: 92 °C, limit 85 °C; a1 WARNING: Temperature above its warning threshold: temperature unknown, limit 78 °C"
}

@test "a predicted drive failure is a warning and is listed before unknown states" {
  direct_only "uses the test plug-in"
  ended smart 1
  line smart "CORVANE WARNING - 2 cards: 1 WARNING, 1 OK; a0/d0 AVAILABLE_SMART; 0x0000000000000031 unknown"
}

@test "the status line lists all reasons of all objects" {
  ended mixed 1
  line mixed "CORVANE WARNING - 2 cards: 2 WARNING; a0 detached; a1 WARNING: Temperature above its warning threshold: 79 °C, limit 78 °C, Nearly worn out: endurance used 2 %"
}

@test "a locale without UTF-8 gets ASCII characters" {
  ended ascii 1
  line ascii "CORVANE WARNING - 1 card: 1 WARNING; a1 WARNING: Temperature above its warning threshold: 79 C, limit 78 C, Nearly worn out: endurance used 2 %"
}

@test "check OBJ includes the objects below it" {
  ended card 0
  line card "CORVANE OK - 1 card: 1 OK"
  ended drive 0
  line drive "CORVANE OK - 1 drive: 1 OK"
  same "" "$(readings drive)"
}

@test "performance data has units, limits and a stable card name" {
  same "S100_temperature_celsius=48.2;78;85
S100_reserve_space=97%;10:;;0;100
S100_endurance_used=25%;;;0
S100_slot_power_watts=23.7;;;0;24.75
S100_read_bytes=2199023255552c
S100_written_bytes=1099511627776c" "$(readings card)"
}

@test "a value that a card does not report has no performance data" {
  same "S200_endurance_used S200_slot_power_watts S200_read_bytes S200_written_bytes" \
    "$(readings warning | sed -n 's/^\(S200_[a-z_]*\)=.*/\1/p' | paste -sd' ')"
}

@test "cards with the same serial number have different performance data" {
  same "pci:0000:3b:02.1
pci:0000:5e:00.0" "$(readings duplicate | sed 's/_.*//' | sort -u)"
}

@test "unusual strings of a card do not break the status line or the performance data" {
  ended odd 1
  same 1 "$(out odd | head -1 | tr -cd '|' | wc -c)"
  same "a_b_c__d__e_f_temperature_celsius=48.2;78;85" "$(readings odd | head -1)"
  same "pci:0000:5e:00.0_endurance_used=2%;;;0" "$(readings odd | grep -m1 pci)"
  same 'a0 ok: SanDisk Bö/rd\x0atwo (1), serial a/b=c "d" e\f' "$(out odd | sed -n 5p)"
  same 'a1 WARNING: MOLT EP PX600 (2)' "$(out odd | sed -n 2p)"
}

@test "check is CRITICAL if a card cannot be opened" {
  direct_only "the plug-in of a service has its own start"
  ended closed 2
  line closed "CORVANE CRITICAL - 2 cards: 2 CRITICAL; a0 UNREADABLE: the card cannot be opened: failure injected by cardsim (error 1…; a1 UNREADABLE: the card cannot be opened: failure injected by cardsim (error 1…"
  [[ "$(out closed)" == *"a0 UNREADABLE: serial S100
  the card cannot be opened: "*", PCI 0000:3b:02.1. "* ]]
}

@test "check is UNKNOWN on a machine without a card" {
  local name
  for name in empty $(if_direct echo bus); do
    ended "$name" 3
    same "CORVANE UNKNOWN - no supported adapter found in this machine" "$(out "$name")"
  done
}

@test "check is UNKNOWN for an unknown or ambiguous object" {
  ended noobject 3
  line noobject "CORVANE UNKNOWN - a9: no such object"
  ended ambiguous 3
  line ambiguous "CORVANE UNKNOWN - S100: ambiguous, matches 2 objects"
}

@test "check is UNKNOWN after a failure, with the reason in the status line" {
  direct_only "tests a plug-in in the same process"
  local name text
  while IFS='~' read -r name text; do
    echo "$name"
    ended "$name" 3
    line "$name" "CORVANE UNKNOWN - $text"
  done <<END
noplugin~cannot load the plug-in: file not found: /none/such
notplugin~cannot load the plug-in: $CORVANE_BUILD/lib/libhostkit.so is not a storage plug-in: no symbol createIf
version~cannot load the plug-in: $TEST_PLUGIN has interface version 3, this host requires version 2
topology~cannot read the topology: The adapter rejected the command (20003)
damaged~cannot read $BATS_FILE_TMPDIR/damaged/Corvane.ini: not an ini file
crash~check: the program crashed (Aborted)
exit~check: the program exited with code 0
slow~check: timed out after 200 ms
late~check: timed out after 200 ms
late0~check: timed out after 0 ms
stopped~interrupted
nooption~unknown option --frobnicate
badformat~-o: invalid value 'xml'
badduration~--timeout: invalid duration 'soon'
longduration~--timeout: invalid duration '10001d'
END
  ended novalue 3
  out novalue | grep -q "^CORVANE UNKNOWN - --timeout"
  ended nodriver 3
  out nodriver | grep -q "^CORVANE UNKNOWN - cannot start the plug-in: .* (20012)$"
}

@test "--timeout accepts the longest duration" {
  ended longest 1
  line longest "CORVANE WARNING - 2 cards: 1 WARNING, 1 OK; a1 WARNING: Temperature above its warning threshold: temperature unknown, limit 78 °C"
}

@test "check prints nothing on standard error without --verbose" {
  direct_only "tests a plug-in in the same process"
  local name
  for name in well warning empty bus closed noobject noplugin late crash exit nooption stopped; do
    silent "$name" err
  done
  same "noise
corvane-host: check: the program crashed (Aborted)" "$(err crashloud)"
}

@test "check gives up on a plug-in that hangs" {
  direct_only "uses the test plug-in"
  SECONDS=0
  CONSOLE_TEST_PLUGIN=hang run -3 corvane-host --plugin "$TEST_PLUGIN" check --timeout 1s
  [ "$SECONDS" -ge 1 ]
  same "CORVANE UNKNOWN - check: timed out after 1000 ms" "${lines[0]}"
}

@test "check does not stop the plug-in or run exit handlers while a read hangs" {
  direct_only "uses the test plug-in"
  ended stuck 3
  line stuck "CORVANE UNKNOWN - check: timed out after 1000 ms"
  same "Initialize
SetAdapterIDs 1 2
GetTopology
hangs" "$(cat "$BATS_FILE_TMPDIR/stuck.log")"
}

@test "check leaves no process and no temporary directory" {
  direct_only "tests a plug-in in the same process"
  same "" "$(pgrep -f -- "--plugin $TEST_PLUGIN check" || true)"
  same "" "$(ls -A "$TMPDIR")"
}

@test "a signal to the entire process group leaves no temporary directory" {
  direct_only "tests a plug-in in the same process"
  mkdir "$BATS_TEST_TMPDIR/tmp"
  # The temporary directory exists when the first trace line of the plug-in appears.
  TMPDIR="$BATS_TEST_TMPDIR/tmp" stop_when TERM "$BATS_TEST_TMPDIR/trace" ENTER group \
    setsid corvane-host --simulate check --trace 2 --trace-file "$BATS_TEST_TMPDIR/trace"
  ended group 3
  line group "CORVANE UNKNOWN - interrupted"
  same "" "$(ls -A "$BATS_TEST_TMPDIR/tmp")"
}

@test "the exit code is 0 to 3 even if the output cannot be written" {
  ended full 3
  same "corvane-host: cannot write the output: No space left on device" "$(err full)"
}

@test "the argument check of another command does not select the check command" {
  direct_only "needs no plug-in"
  ended other 2
  silent other out
}

@test "check -o json contains the state, the exit code and the performance data" {
  valid json emptyjson
  same '[1, "WARNING", "2 cards: 1 WARNING, 1 OK; a1 WARNING: Temperature above its warning threshold: temperature unknown, limit 78 \u00b0C", ["WARNING", "OK", "OK", "OK"]]' \
    "$(json json '[d["exit_code"], d["result"]["state"], d["result"]["summary"], [o["state"] for o in d["result"]["objects"]]]')"
  same '[{"object": "a0", "serial_number": "S100", "property": "reserve_space_ratio", "label": "S100_reserve_space", "value": 0.97, "warning": {"low": 0.1, "high": null, "alerts_inside": false}, "critical": null, "minimum": 0.0, "maximum": 1.0}]' \
    "$(json json '[r for r in d["result"]["readings"] if r["label"] == "S100_reserve_space"]')"
  same '[3, "UNKNOWN", []]' \
    "$(json emptyjson '[d["exit_code"], d["result"]["state"], d["result"]["objects"]]')"
}

@test "check -o json contains the exit code after a failure" {
  direct_only "tests a plug-in in the same process"
  valid crashjson latejson nooptionjson
  local row name id
  for row in crashjson:CRASHED latejson:TIMED_OUT nooptionjson:USAGE; do
    IFS=: read -r name id <<<"$row"
    ended "$name" 3
    same "[3, null, \"$id\"]" \
      "$(json "$name" '[d["exit_code"], d["result"], d["messages"][-1]["id"]]')"
  done
}
