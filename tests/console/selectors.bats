#!/usr/bin/env bats
# The names of objects in commands, and commands for several objects.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  cardsim set card1 pci_slot_num 6
  local name
  i=0
  # Each name of card0 and of its drive, as the program prints it.
  for name in S100 0000:3b:02.1 3b:02.1 pci:0000:3b:02.1 pci:3B:02.1 slot:5 /dev/fct0; do
    keep "name$i" host get "$name" serial_number
    i=$((i + 1))
  done
  keep values host get a0 -o json
  keep drive_values host get a0/d0 -o json
  unique=$(json values 'd["result"]["values"]["unique_id"]' | jq -r .)
  keep unique host get "$unique" serial_number
  keep id host show a0 -o json
  keep by_id host get "$(json id 'd["result"]["fields"]["id"]' | jq -r .)" serial_number
  keep drive host format S100 --capacity 80 --sector-size 512 -n -o json
  keep led_drive host locate a0/d0 on -n -o json
  keep slot_no host get slot:9 serial_number
  keep detach_drive host detach a0/d0 -n
  keep get_several host get a0 S200 serial_number pci_slot
  keep get_all host get all serial_number -o tsv
  keep get_json host get all serial_number -o json
  keep status_two host status a1 a0 -o json
  keep off host locate all off -o json
  keep mixed host attach a0 a1 -n -o json
  cardsim set card1 beacon_state absent
  keep some own some locate all on -o json
  keep wrong own some locate a0 a7 off
  cardsim set card1 pci_slot_num 5
  keep ambiguous own ambiguous show slot:5
}

@test "every name that is printed selects its card" {
  local n
  for n in name0 name1 name2 name3 name4 name5 name6 unique by_id; do
    ended "$n" 0 || { err "$n"; false; }
    same S100 "$(out "$n")"
  done
}

@test "a name without a card is an error, and several matches are listed" {
  ended slot_no 3
  said slot_no "corvane-host: slot:9: no such object"
  ended ambiguous 3
  said ambiguous "corvane-host: slot:5: ambiguous, matches 2 objects"
  grep -q "^  Matches: a0 (.*), a1 (.*)$" "$BATS_FILE_TMPDIR/ambiguous.err"
}

@test "the name of a card with one drive means its drive where a drive is needed" {
  ended drive 0
  same '["a0/d0", "OP_FORMAT_DEVICE"]' \
    "$(json drive '[d["result"][k] for k in ("object", "operation")]')"
}

@test "the name of a drive means its card for the locate LED, but not for a detach" {
  ended led_drive 0
  same '"a0"' "$(json led_drive 'd["result"]["object"]')"
  ended detach_drive 2
  said detach_drive "  Did you mean 'a0'?"
}

@test "get prints the values of several objects in their order" {
  ended get_several 0
  same "S100
5
S200
6" "$(out get_several)"
  same "object	property	value
a0	serial_number	S100
a1	serial_number	S200" "$(out get_all)"
  valid get_json
  same '[["a0", "S100"], ["a1", "S200"]]' \
    "$(json get_json '[[r["object"], r["values"]["serial_number"]] for r in d["result"]["results"]]')"
}

@test "status shows several objects in their order" {
  ended status_two 0
  same '["a1", "a1/d0", "a0", "a0/d0"]' \
    "$(json status_two '[o["object"] for o in d["result"]["objects"]]')"
}

@test "locate all off has nothing to do if all LEDs are off" {
  ended off 0
  valid off
  same '[false, [["a0", "off", "off", false], ["a1", "off", "off", false]]]' \
    "$(json off '[d["changed"], [[r[k] for k in ("object", "before", "after", "changed")] for r in d["result"]["results"]]]')"
}

@test "exit code 8 means that some objects succeeded and some failed" {
  ended some 8
  valid some
  same '[8, true, ["a0", "on"], ["a1", 4, "NO_LIGHT"]]' \
    "$(json some '[d["exit_code"], d["changed"]] + [[r["object"], r["after"]] if "after" in r else [r["object"], r["exit_code"], r["message"]["id"]] for r in d["result"]["results"]]')"
  said some "corvane-host: locate a1: no locate LED"
}

@test "a wrong name among several is refused before anything is changed" {
  ended wrong 3
  said wrong "corvane-host: a7: no such object"
}

@test "commands for several objects report that nothing would change" {
  ended mixed 0
  same '[false, [false, false]]' \
    "$(json mixed '[d["changed"], [r["would_change"] for r in d["result"]["results"]]]')"
}
