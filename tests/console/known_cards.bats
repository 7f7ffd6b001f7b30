#!/usr/bin/env bats
# Cards that were seen earlier: their names, and how they are shown while they are missing or cannot
# be read. Each test has its own cards and database.

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
  export CARDSIM_STATE="$BATS_TEST_TMPDIR/cards.json" CORVANE_DATABASE="$BATS_TEST_TMPDIR/known.db"
  cardsim new
  cardsim add flash-785g
  cardsim add flash-2400g
  cardsim add flash-2600g
  cp "$CARDSIM_STATE" "$BATS_TEST_TMPDIR/complete.json"
  host list >/dev/null
}

# value NAME FIELD: prints a field of an object.
value() { host get "$1" "$2"; }

# has NAME FIELD VALUE: succeeds if the field has the value.
has() { [ "$(value "$1" "$2")" = "$3" ]; }

# pull CARD: removes a card and waits until the host has noticed.
pull() {
  cardsim remove "card$1"
  eventually has "a$1" status MISSING
}

# serials: prints the name and serial number of each card.
serials() {
  host list -o json | python3 -c '
import json, sys
cards = json.load(sys.stdin)["result"]["objects"]
names = ["{}={}".format(c["object"], c["serial_number"]) for c in cards if c["type"] == "adapter"]
print(*names)'
}

@test "removing a card renames no other card" {
  pull 1
  same "a0=FA00000001 a1=FA00000002 a2=FA00000003" "$(serials)"
  pull 0
  same "a0=FA00000001 a1=FA00000002 a2=FA00000003" "$(serials)"
  same OK "$(value FA00000003 plugin_status)"
}

@test "a card that returns has its old name" {
  pull 0
  cp "$BATS_TEST_TMPDIR/complete.json" "$CARDSIM_STATE"
  eventually has a0 status OK
  same "a0=FA00000001 a1=FA00000002 a2=FA00000003" "$(serials)"
}

@test "a missing card is shown with its last place in every view" {
  cardsim set card1 pci_slot_num 7
  eventually has a1 pci_slot 7
  pull 1
  same $'FA00000002\n7\n0000:04:00.0\nMISSING\n-' \
    "$(host get a1 serial_number pci_slot pci_address status temperature_celsius)"
  [[ "$(value a1 last_seen_at)" == 20*T*+00:00 ]]
  grep -E '^-   MISSING .*  FA00000002  last seen [0-9:]{5}$' <<<"$(host list)"
  grep -E 'a1 .* MISSING' <<<"$(host tree)"
  grep -E '^  status +MISSING' <<<"$(host show a1)"
  grep -F 'Card missing: last seen 20' <<<"$(host status)"
  grep -F 'at PCI 0000:04:00.0, slot 7' <<<"$(host status a1)"
  grep -F 'run: corvane-host forget FA00000002     explain MISSING' <<<"$(host status a1)"
  run -2 host check
  [[ "$output" == "CORVANE CRITICAL - 3 cards: 1 CRITICAL, "*"a1 MISSING"* ]]
  grep -E '^a1 .*MISSING' <<<"$(host watch --for 1s)"
  grep -F 'corvane_adapter_status{adapter="FA00000002",corvane_adapter_status="MISSING"} 1' \
    <<<"$(host metrics)"
  grep -F 'corvane_adapters 2' <<<"$(host metrics)"
}

@test "JSON has no id and no values for a missing card" {
  pull 1
  keep missing host show a1 -o json
  valid missing
  same '[null, "MISSING", null, ["MISSING"], null, []]' "$(json missing \
    '[d["result"]["fields"][f] for f in ("id", "status", "plugin_status", "status_reasons",
      "temperature_celsius", "children")]')"
}

@test "changes of a missing card are refused" {
  pull 1
  local command
  for command in "attach a1 --yes" "locate a1 on" "op run a1 LOCATE_DEVICE"; do
    # shellcheck disable=SC2086  # a row is a command line
    run -4 --separate-stderr host $command
    [[ "$stderr" == *"card FA00000002 is missing"* ]] || { echo "$stderr"; false; }
  done
}

@test "forget removes a missing card, and refuses a present one" {
  pull 1
  run -4 host forget FA00000001 --yes
  host forget FA00000002 --yes
  same "a0=FA00000001 a2=FA00000003" "$(serials)"
}

@test "a card that cannot be opened is unreadable, not absent" {
  cardsim fail vsl_open card1 --text "bad flash"
  eventually has a1 status UNREADABLE
  same FA00000002 "$(value a1 serial_number)"
  [ "$(value a1 unreadable_reason)" != - ]
  # Without a service, the card has not been read before.
  local temperature='-'
  [ -z "${CORVANE_TEST_SERVICE:-}" ] || temperature='[0-9]+°C!?\?'
  grep -E "^a1  UNREADABLE +$temperature " <<<"$(host list)"
  run -2 host check
  [[ "$output" == *"a1 UNREADABLE: the card cannot be opened: bad flash (error 1), last seen "* ]]
  cardsim clear-failure vsl_open card1
  eventually has a1 status OK
}

# shows_acknowledged STATUS ID: expects a1, whose problem is acknowledged, to be OK and named in
# check, status and list. ID is its name in list.
shows_acknowledged() {
  local who
  who="acknowledged by $(id -un) until 20[0-9T:+-]*: sent in"
  run -0 host check
  same "CORVANE OK - 3 cards: 3 OK; acknowledged: a1 $1" "$(sed -e 's/ | .*//' -e 1q <<<"$output")"
  grep -qx "  $who" <<<"$output"
  grep -qx "   $who" <<<"$(host status)"
  keep status host status a1 -o json
  valid status
  same "[\"$1\", \"sent in\"]" "$(json status \
    '[[r["name"], r["acknowledgment"]["note"]] for r in d["result"]["objects"][0]["reasons"]][0]')"
  host list | grep -E "^$2 +$1 .* FA00000002  acknowledged\$"
}

@test "an acknowledged missing card is OK and named in check, status and list" {
  pull 1
  run -2 host check
  host ack a1 MISSING --until 2d --note "sent in"
  shows_acknowledged MISSING -
  host unack a1 MISSING
  run -2 host check
}

@test "an acknowledged unreadable card is OK and named in check, status and list" {
  cardsim fail vsl_open card1 --text "bad flash"
  eventually has a1 status UNREADABLE
  host ack a1 UNREADABLE --until 2d --note "sent in"
  shows_acknowledged UNREADABLE a1
  host unack a1 UNREADABLE
  run -2 host check
}

@test "without a database, names follow the order of the cards" {
  direct_only "a service uses one database"
  cardsim remove card0
  export CORVANE_DATABASE=:memory:
  same "a0=FA00000002 a1=FA00000003" "$(serials)"
}
