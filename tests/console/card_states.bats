#!/usr/bin/env bats
# Cards that have several states at once, and commands for cards whose state is unknown or changing.
# Each test has its own cards and database.

# shellcheck disable=SC2030,SC2031  # variables that are set in one test only

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  echo PollInterval=2 >"$CORVANE_CONFIG_DIR/Corvane.ini"
}

# Three cards, seen once: a0 is FA00000001, a1 is FA00000002, a2 is FA00000003.
setup() {
  load helper
  export CARDSIM_STATE="$BATS_TEST_TMPDIR/cards.json" CORVANE_DATABASE="$BATS_TEST_TMPDIR/states.db"
  cardsim new
  cardsim add flash-785g
  cardsim add flash-2400g
  cardsim add flash-2600g
  host list >/dev/null
}

# has NAME FIELD VALUE: succeeds if the field has the value.
has() { [ "$(host get "$1" "$2")" = "$3" ]; }

# make_unreadable: lets a1 fail when it is opened.
make_unreadable() {
  cardsim fail vsl_open card1 --text "bad flash"
  eventually has a1 status UNREADABLE
}

UNREADABLE="the card cannot be opened: bad flash (error 1)"

@test "list, tree and chosen columns show that a card with another problem is detached" {
  cardsim set card1 temp_internal_deg_c 79
  cardsim set card1 iom_state 0
  eventually has a1 plugin_status_reasons DETACHED
  eventually has a1 status WARNING
  grep -E '^a1  WARNING +79°C! .* FA00000002  detached$' <<<"$(host list)"
  grep -E '^a1 +WARNING, detached$' <<<"$(host list -c object,status)"
  grep -E 'a1 .* WARNING, detached ' <<<"$(host tree)"
  same WARNING "$(host get a1 status)"
  # The status of a card without another problem says it already.
  cardsim set card0 iom_state 0
  eventually has a0 status DETACHED
  grep -E '^a0  detached .* FA00000001$' <<<"$(host list)"
}

@test "get reports that the values of an unreadable card are old, and exits with 1" {
  make_unreadable
  keep old host get a1 temperature_celsius status
  ended old 1
  same UNREADABLE "$(out old | tail -n 1)"
  grep -qE "^corvane-host: a1: the card cannot be opened: bad flash \(error 1\); its values are (unknown|from [0-9]{2}:[0-9]{2} \([0-9]+ s\))\$" \
    "$BATS_FILE_TMPDIR/old.err"
  said old "  See: corvane-host status a1"
  keep drive host get a1/d0 sector_size_bytes
  # Without a service, the card has no drives.
  [ -z "${CORVANE_TEST_SERVICE:-}" ] || ended drive 1
  keep json host get a1 temperature_celsius -o json
  valid json
  same '[1, true, "CARD_UNREADABLE"]' \
    "$(json json '[d["exit_code"], d["result"]["stale"], d["messages"][-1]["id"]]')"
  keep both host get a0 a1 temperature_celsius
  ended both 8
}

@test "get succeeds for what is current although a card cannot be read" {
  make_unreadable
  keep current host get a1 status unreadable_reason serial_number pci_slot
  ended current 0
  same "UNREADABLE
$UNREADABLE
FA00000002
2" "$(out current)"
  silent current err
  keep json host get a0 temperature_celsius -o json
  ended json 0
  same false "$(json json 'd["result"]["stale"]')"
}

@test "old values of an unreadable card do not end a wait" {
  make_unreadable
  local condition
  for condition in attached 'temperature_celsius<200' 'activity=IDLE'; do
    keep wait host wait a1 "$condition" --timeout 1s
    ended wait 7
    said wait "corvane-host: wait a1 $condition: timed out after 1.0 s, now $UNREADABLE"
  done
  run -0 host wait a1 unreadable --timeout 30s
  run -0 host wait a1 present --timeout 30s
  run -2 host wait a1 nosuch=1 --timeout 30s
}

@test "changes of an unreadable card fail with the cause instead of its old state" {
  cardsim set card1 iom_state 0
  eventually has a1 status DETACHED
  make_unreadable
  keep detach host detach a1 --yes
  keep format host format a1 --capacity factory --confirm FA00000002
  # Without a service, the plug-in does not report the card at all.
  [ -n "${CORVANE_TEST_SERVICE:-}" ] || { ended detach 4 && ended format 4; return; }
  ended detach 1
  same "corvane-host: detach a1: $UNREADABLE
  See: corvane-host status a1
  Nothing was changed." "$(err detach)"
  ended format 1
  said format "corvane-host: format a1/d0: $UNREADABLE"
}

@test "check reports why a card cannot be read before its old problems" {
  cardsim set card1 iom_state 0
  eventually has a1 status DETACHED
  make_unreadable
  run -2 host check --perfdata none
  [[ "${lines[0]}" == "CORVANE CRITICAL - 3 cards: 1 CRITICAL, 2 OK; a1 UNREADABLE: $UNREADABLE"* ]]
}

@test "the first line of check keeps the measured values of several cards" {
  cardsim set card0 temp_internal_deg_c 90
  cardsim set card1 temp_internal_deg_c 91
  cardsim set card2 temp_internal_deg_c 79
  eventually has a0 status FAILED
  eventually has a1 status FAILED
  eventually has a2 status WARNING
  run -2 host check --perfdata none
  same "CORVANE CRITICAL - 3 cards: 2 CRITICAL, 1 WARNING; a0 FAILED: 90 °C, limit 85 °C; \
a1 FAILED: 91 °C, limit 85 °C; a2 WARNING: 79 °C, limit 78 °C" "${lines[0]}"
}

@test "a value just above its limit is not rounded to the limit" {
  cardsim set card1 temp_internal_deg_c 78.4
  eventually has a1 status WARNING
  run -1 host check --perfdata none
  [[ "${lines[0]}" == *"a1 WARNING: Temperature above its warning threshold: 78.4 °C, limit 78 °C" ]]
  grep -F '   78.4 °C (warning 78, critical 85)' <<<"$(host status a1)"
}

# is_formatting: succeeds if status shows the format of a2 before the state of its card.
is_formatting() {
  host status >"$BATS_TEST_TMPDIR/status"
  head -n 1 "$BATS_TEST_TMPDIR/status" | grep -E '^a2/d0 FORMATTING  slot 3, FA00000003'
}

@test "status shows a format first, and does not advise to attach the card" {
  cardsim set card2 iom_state 0
  cardsim set card2 format_ms 20000
  eventually has a2 status DETACHED
  host format a2 --capacity 80 --confirm FA00000003 >/dev/null 2>&1 &
  eventually is_formatting
  grep -xF '   a format is running     Wait until it is done: corvane-host wait a2 activity=IDLE' \
    "$BATS_TEST_TMPDIR/status"
  # Without a service, the card of another program's format is only busy.
  [ -z "${CORVANE_TEST_SERVICE:-}" ] ||
    grep -xF '   Detached     Wait until the format is done.     explain DETACHED' \
      "$BATS_TEST_TMPDIR/status"
  run ! grep -F 'Attach the card' "$BATS_TEST_TMPDIR/status"
  wait
}

@test "a refused detach names the card that is being detached, and how to wait for it" {
  [ -n "${CORVANE_TEST_SERVICE:-}" ] || skip "only a service runs several commands at a time"
  cardsim set card0 detach_ms 20000
  host detach a0 --yes >/dev/null 2>&1 &
  eventually has a0 activity DETACHING
  keep refused host detach a1 --yes
  ended refused 4
  same "corvane-host: detach a1: a0 (FA00000001) is detaching, and only one card at a time can be attached or detached (20031)
  Wait until this is done: corvane-host wait a0 detached
  Nothing was changed." "$(err refused)"
  wait
}

@test "changes suggest no other card's serial number" {
  keep wrong host detach FA00000009 --yes
  ended wrong 3
  same "corvane-host: FA00000009: no such object
  Objects: plugin, a0, a0/d0, a1, a1/d0, a2 and 1 more
  List them all: corvane-host tree" "$(err wrong)"
  keep lower host detach fa00000002 --yes
  ended lower 3
  said lower "  Did you mean 'FA00000002'?"
}

@test "locate all reports a missing card as missing" {
  cardsim remove card1
  eventually has a1 status MISSING
  keep all host locate all off
  ended all 8
  grep -qF "card FA00000002 is missing" "$BATS_FILE_TMPDIR/all.err"
}

@test "wait calls a missing card missing" {
  cardsim remove card1
  eventually has a1 status MISSING
  keep wait host wait a1 present --timeout 1s
  ended wait 7
  said wait "corvane-host: wait a1 present: timed out after 1.0 s, now MISSING"
}

@test "list -c accepts the heading ID, and shows the objects if no column identifies them" {
  same "OBJECT STATUS
a0     ok" "$(host list -c ID,STATUS | head -n 2)"
  same "OBJECT TEMP" "$(host list -c temp | head -n 1 | tr -s ' ')"
  same "SERIAL TEMP" "$(host list -c serial,temp | head -n 1 | tr -s ' ')"
  same "temperature_celsius" "$(host list -c temp -o tsv | head -n 1)"
}
