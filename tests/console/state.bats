#!/usr/bin/env bats
# Commands for the state that a service keeps: history, ack, unack and forget. Each test runs them
# through a service, and in a copy of its database without a service.

# shellcheck disable=SC2030,SC2031  # variables that are set in one test only

bats_require_minimum_version 1.5.0
load helper
load service

setup_file() {
  load helper
  load service
  make_machine
  make_cards
  use_short_intervals
  cardsim add 0x2001
  cardsim set card2 serial_number GONE
  cardsim set card2 pci_bus 100
  start_service
  cardsim remove card2
  is_missing() {
    ask known GET /v1/known-cards
    [ "$(json known '[c["present"] for c in d["cards"] if c["serial_number"] == "GONE"]')" = "[false]" ]
  }
  eventually is_missing
  add_history
}

teardown_file() {
  load service
  stop_service
}

# Adds hourly history of S100, with a gap of one hour, and of GONE, and copies the database. Cards
# have the positions 0 (S100), 1 (S200) and 2 (GONE).
add_history() {
  python3 - "$CORVANE_DATABASE" "$BATS_FILE_TMPDIR/direct.db" <<'END'
import calendar, sqlite3, sys

start = calendar.timegm((2026, 11, 1, 0, 0, 0)) // 3600
database = sqlite3.connect(sys.argv[1], timeout=60)
with database:
    for position, hour, low, high, mean, written in (
            (0, 0, 39000, 41000, 40000, 1000), (0, 1, 49000, 52000, 50000, 2000),
            (0, 3, 44000, 46000, 45000, 9007199254740994), (2, 0, 30000, 32000, 31000, 5)):
        database.execute(
            "INSERT INTO host_history_hours (id, time, samples, temperature_min, temperature_max,"
            " temperature_mean, written) VALUES (?, ?, 60, ?, ?, ?, ?)",
            (position * 17544 + 1000 + hour, start + hour, low, high, mean, written))
database.backup(sqlite3.connect(sys.argv[2]))
END
}

# both NAME ARGUMENTS...: runs a command through the service and keeps its output as NAME, then
# without the service on the copied database as NAME.direct.
both() {
  keep "$1" corvane-host --socket "$SOCKET" "${@:2}"
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/direct.db" keep "$1.direct" corvane-host --simulate "${@:2}"
}

# Like `ended`, `said`, `same` and `json`, for both runs.
both_ended() { ended "$1" "$2" && ended "$1.direct" "$2"; }
both_said() { said "$1" "$2" && said "$1.direct" "$2"; }
both_printed() { same "$2" "$(out "$1")" && same "$2" "$(out "$1.direct")"; }
both_json() { valid "$1" "$1.direct" && same "$3" "$(json "$1" "$2")" && same "$3" "$(json "$1.direct" "$2")"; }

DAY=(--from 2026-11-01 --to 2026-11-02)

@test "history prints the recorded values of a range" {
  both tsv history S100 temperature_celsius "${DAY[@]}" -o tsv
  both_ended tsv 0
  both_printed tsv "time	minimum	maximum	mean
2026-11-01T00:00:00+00:00	39	41	40
2026-11-01T01:00:00+00:00	49	52	50
2026-11-01T03:00:00+00:00	44	46	45"
  both value history a0 temperature_celsius "${DAY[@]}" -o value
  both_printed value "40
50
45"
  both hour history a0 temperature_celsius --from 2026-11-01T01:00:00Z --to 2026-11-01T02:00Z -o value
  both_printed hour "50"
  both bytes history a0 BYTES_WRITTEN "${DAY[@]}" -o value
  both_printed bytes "1000
2000
9007199254740994"
}

@test "history shows a sparkline with a gap, and the range of the values" {
  both table history a0 temperature_celsius "${DAY[@]}"
  same "$(out table)" "$(out table.direct)"
  same "TIME MINIMUM MAXIMUM MEAN" "$(out table | head -1 | xargs)"
  same "▁█ ▅  minimum 39 °C, maximum 52 °C" "$(out table | tail -1)"
  both ascii history a0 temperature_celsius "${DAY[@]}" --ascii
  same "_# =  minimum 39 C, maximum 52 C" "$(out ascii | tail -1)"
}

@test "history draws a graph on a terminal, with axes that fit" {
  keep graph screen 14x40 ends 0 print -- corvane-host --socket "$SOCKET" history a0 \
    temperature_celsius "${DAY[@]}"
  ended graph 0 || { err graph; false; }
  same "50 °C ┤          ⡴⠋⠉⠉⠉⠉⠁
      │        ⢀⡞⠁
      │       ⣠⠏
46 °C ┤     ⢀⡼⠁                   ⢀⣀⣀⣀⣀⣀
      │    ⢠⠞
      │   ⡴⠋
      │ ⢀⡞⠁
40 °C ┤⣠⠏
      └─────────────────────────────────
       00:00                       04:00
minimum 39 °C, maximum 52 °C" "$(out graph | sed '/^$/d')"
  keep asciigraph screen 14x40 ends 0 print -- corvane-host --socket "$SOCKET" history a0 \
    temperature_celsius "${DAY[@]}" --ascii
  run ! grep -qP '[^\x00-\x7F]' "$BATS_FILE_TMPDIR/asciigraph.out"
  same "     +----------------------------------
      00:00                        04:00
minimum 39 C, maximum 52 C" "$(out asciigraph | sed '/^$/d' | tail -3)"
  out asciigraph | head -1 | grep -qE '^50 C [|] +[*]+$'
  TZ=UTC-5:30 keep localgraph screen 14x40 ends 0 print -- corvane-host \
    --socket "$SOCKET" history a0 temperature_celsius "${DAY[@]}" --local-time
  same "       05:30                       09:30" "$(out localgraph | grep :)"
}

@test "history --local-time changes the times of the table only" {
  TZ=UTC-5:30 both local history a0 temperature_celsius "${DAY[@]}" --local-time
  same "2026-11-01T05:30:00+05:30" "$(out local | sed -n 2p | cut -d ' ' -f 1)"
  TZ=UTC-5:30 both localtsv history a0 temperature_celsius "${DAY[@]}" --local-time -o tsv -H
  same "2026-11-01T00:00:00+00:00" "$(out localtsv | sed -n 1p | cut -f 1)"
}

@test "history --step combines values" {
  both step history a0 temperature_celsius "${DAY[@]}" --step 1d -o tsv -H
  both_printed step "2026-11-01T00:00:00+00:00	39	52	45"
}

@test "history -o json and jsonl match the schema" {
  both json history S100 temperature_celsius "${DAY[@]}" -o json
  both_json json '[d["result"][k] for k in ("object", "serial_number", "property", "from", "step_seconds")] + [len(d["result"]["points"])]' \
    '["a0", "S100", "temperature_celsius", "2026-11-01T00:00:00+00:00", 3600, 3]'
  both large history a0 written_bytes "${DAY[@]}" -o json
  both_json large 'd["result"]["points"][2]["maximum_s"]' '"9007199254740994"'
  both lines history S100 temperature_celsius "${DAY[@]}" -o jsonl
  valid lines:3 lines.direct:3
  schema_rejects json 'd["result"]["points"][0]["mean"] = None' 'del d["result"]["serial_number"]' \
    'd["result"]["property"] = "status"'
}

@test "history shows a missing card by its serial number" {
  both missing history GONE temperature_celsius "${DAY[@]}" -o json
  both_json missing '[d["result"]["object"], [p["mean"] for p in d["result"]["points"]]]' '["a2", [31.0]]'
}

@test "history without recorded values prints a note" {
  both none history S200 temperature_celsius "${DAY[@]}"
  both_ended none 0
  both_said none "corvane-host: note: no values of a1 temperature_celsius were recorded in this range"
  silent none out
}

@test "history rejects unknown objects, unrecorded properties and invalid times" {
  both unknown history S900 temperature_celsius
  both_ended unknown 3
  both_said unknown "corvane-host: S900: no such object"
  both drive history plugin temperature_celsius
  both_ended drive 2
  both_said drive "corvane-host: history plugin: plugin is not an adapter"
  both status history a0 status
  both_ended status 2
  both_said status "corvane-host: history: 'status' is not a recorded property"
  both typo history a0 temperature_celsiu
  both_said typo "  Did you mean 'temperature_celsius'?"
  both reversed history a0 temperature_celsius --from 1d --to 2d
  both_ended reversed 2
  both_said reversed "corvane-host: history: --to: the range ends before it starts"
  both starts history a0 temperature_celsius --from 1d --since 1d
  both_ended starts 2
  both badstep history a0 temperature_celsius --step x
  both_said badstep "corvane-host: history: --step: invalid duration 'x'"
}

@test "ack and unack change an acknowledgment, and change nothing if repeated" {
  both first ack a1 TEMPERATURE_ABOVE_WARN --note "fan ordered"
  both_ended first 0
  both_printed first "a1 TEMPERATURE_ABOVE_WARN: acknowledged by $(id -un): fan ordered"
  both again ack S200 TEMPERATURE_ABOVE_WARN --note "fan ordered" -o json
  both_json again '[d["result"][k] for k in ("object", "serial_number", "reason", "changed")]' \
    '["a1", "S200", "TEMPERATURE_ABOVE_WARN", false]'
  both other ack a1 TEMPERATURE_ABOVE_WARN --until 2099-11-30T12:00:00Z -o json
  both_json other '[d["result"]["changed"], d["result"]["acknowledgment"]["until"], d["result"]["acknowledgment"]["note"]]' \
    '[true, "2099-11-30T12:00:00+00:00", ""]'
  schema_rejects other 'd["result"]["acknowledgment"]["until"] = "never"' 'del d["result"]["changed"]'
  ask listed GET /v1/acknowledgments
  same '[["S200", "TEMPERATURE_ABOVE_WARN", "2099-11-30T12:00:00+00:00"]]' \
    "$(json listed '[[a[k] for k in ("serial_number", "reason", "until")] for a in d["acknowledgments"]]')"
  both removed unack a1 TEMPERATURE_ABOVE_WARN -o json
  both_json removed '[d["result"]["acknowledgment"], d["result"]["changed"]]' '[null, true]'
  both none unack a1 TEMPERATURE_ABOVE_WARN -o json
  both_ended none 0
  both_json none '[d["result"]["acknowledgment"], d["result"]["changed"]]' '[null, false]'
}

@test "ack --until accepts a duration, and a missing card is acknowledged by its serial number" {
  both gone ack GONE MISSING --until 2d -o json
  both_json gone '[d["result"]["object"], d["result"]["changed"]]' '["a2", true]'
  local name end
  for name in gone gone.direct; do
    end=$(date -d "$(json "$name" 'd["result"]["acknowledgment"]["until"]' | tr -d '"')" +%s)
    [ $((end - $(date +%s))) -gt $((47 * 3600)) ]
    [ $((end - $(date +%s))) -le $((48 * 3600 + 1)) ]
  done
}

# first_line NAME: prints the first line of a check, without its performance data.
first_line() { out "$1" | sed -e 's/ | .*//' -e 1q; }

@test "check treats an acknowledged reason as OK and names it" {
  both before check S200
  both_ended before 1
  both acked ack S200 TEMPERATURE_ABOVE_WARN --note "fan ordered"
  both after check S200
  both_ended after 0
  both status status S200
  both json check S200 -o json
  both_json json '[d["exit_code"], d["result"]["state"], [[p["state"], p["reason"], p["acknowledgment"]["note"]] for p in d["result"]["objects"][0]["problems"]]]' \
    '[0, "OK", [["WARNING", "TEMPERATURE_ABOVE_WARN", "fan ordered"]]]'
  local name
  for name in after after.direct; do
    same "CORVANE OK - 1 card: 1 OK; acknowledged: a1 TEMPERATURE_ABOVE_WARN" "$(first_line "$name")"
    grep -qx "  acknowledged by $(id -un): fan ordered" "$BATS_FILE_TMPDIR/$name.out"
  done
  for name in status status.direct; do
    grep -qx "   acknowledged by $(id -un): fan ordered" "$BATS_FILE_TMPDIR/$name.out"
  done
  both removed unack S200 TEMPERATURE_ABOVE_WARN
  both again check S200
  both_ended again 1
}

@test "a missing card is CRITICAL until it is acknowledged" {
  both cleared unack GONE MISSING
  both lost check
  both_ended lost 2
  both acked ack GONE MISSING --note "sent in"
  both_ended acked 0
  both known check
  both_ended known 1
  local name
  for name in lost lost.direct; do
    same "CORVANE CRITICAL - 3 cards: 1 CRITICAL, 1 WARNING, 1 OK; a2 MISSING; a1 WARNING: TEMPERATURE_ABOVE_WARN" \
      "$(first_line "$name")"
    grep -qE '^  last seen [0-9-]+T.* at PCI ' "$BATS_FILE_TMPDIR/$name.out"
  done
  for name in known known.direct; do
    first_line "$name" | grep -qE '^CORVANE WARNING - 3 cards: 1 WARNING, 2 OK; a1 WARNING: .*; acknowledged: a2 MISSING$'
  done
  both expected check --expect 2
  both_ended expected 1
  both three check --expect 3
  both_ended three 2
  both removed unack GONE MISSING
}

@test "ack of a reason that the card does not have prints a note" {
  both absent ack a0 DETACHED
  both_ended absent 0
  both_said absent "corvane-host: note: a0 does not have the reason DETACHED now; it is acknowledged when it occurs"
  both_said absent "  To undo this: corvane-host unack a0 DETACHED"
  both present ack a1 TEMPERATURE_ABOVE_WARN
  silent present err
  silent present.direct err
  both cleaned unack a0 DETACHED
  both cleaned unack a1 TEMPERATURE_ABOVE_WARN
}

@test "ack of MISSING is refused for a card that is present" {
  local name
  both refused ack a0 MISSING
  both dry ack a0 MISSING --dry-run
  for name in refused dry; do
    both_ended "$name" 4
    both_said "$name" "corvane-host: ack a0: the card is not missing"
    both_said "$name" "  Nothing was changed."
  done
  both removed unack a0 MISSING -o json
  both_json removed 'd["result"]["changed"]' false
}

@test "wait has conditions for missing and unreadable cards" {
  both missing wait GONE missing --timeout 5s
  both_ended missing 0
  both present wait a0 missing --timeout 100ms
  both_ended present 7
  both readable wait a0 unreadable --timeout 100ms
  both_ended readable 7
}

@test "ack rejects unknown cards and reasons, and times in the past" {
  both unknown ack S900 MISSING
  both_ended unknown 3
  both_said unknown "corvane-host: S900: no such object"
  both reason ack a0 MISING
  both_ended reason 2
  both_said reason "corvane-host: ack: 'MISING' is not a reason"
  both_said reason "  Did you mean 'MISSING'?"
  both unreason unack a0 OK
  both_ended unreason 2
  both past ack a0 MISSING --until 2020-01-01
  both_ended past 2
  both_said past "corvane-host: ack: --until: the time is in the past"
}

@test "forget refuses a present card" {
  both present forget S100 -y
  both_ended present 4
  both_said present "corvane-host: forget S100: the card is present"
  both unknown forget S900 -y
  both_ended unknown 3
  both_said unknown "corvane-host: forget S900: the card is not in the database"
}

@test "forget asks for confirmation and then removes a missing card" {
  both refused forget GONE
  both_ended refused 4
  both_said refused "corvane-host: forget GONE: not a terminal"
  both plan forget GONE --dry-run -o json
  both_json plan '[d["result"][k] for k in ("serial_number", "changed", "dry_run")]' '["GONE", false, true]'
  both forgotten forget GONE -y -o json
  both_ended forgotten 0
  both_json forgotten '[d["result"][k] for k in ("serial_number", "changed", "dry_run")]' '["GONE", true, false]'
  schema_rejects forgotten 'd["result"]["last_seen"] = None'
  ask known GET /v1/known-cards
  same '["S100", "S200"]' "$(json known '[c["serial_number"] for c in d["cards"]]')"
  both again forget GONE -y
  both_ended again 3
  both history history GONE temperature_celsius
  both_ended history 3
}

@test "without a service, forget removes a card that was present when the service stopped" {
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/direct.db"
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/fewer.json"
  cards fewer remove card1
  keep stale corvane-host --simulate="$BATS_FILE_TMPDIR/fewer.json" forget S200 -y
  ended stale 0
  same "S200: missing -> forgotten" "$(out stale)"
}

@test "without a service, ack refuses a database in use and records the card" {
  keep held host ack a0 DETACHED
  ended held 4
  CORVANE_DATABASE=:memory: keep fresh host ack a0 DETACHED
  ended fresh 0
}

@test "a database that cannot be used is reported" {
  CORVANE_DATABASE=/proc/none/x.db keep broken host history a0 temperature_celsius -o json
  ended broken 1
  valid broken
  same '"DATABASE_FAILED"' "$(json broken 'd["messages"][-1]["id"]')"
}

@test "history fails if its output cannot be written" {
  local rc=0
  corvane-host --socket "$SOCKET" history S100 temperature_celsius "${DAY[@]}" >/dev/full || rc=$?
  same 1 "$rc"
}
