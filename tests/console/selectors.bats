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
  keep status_some host status a1 a9 -o json
  keep show_two host show a1 a0/d0 S200 -o json
  keep show_some host show a0 a9 -o json
  keep show_none host show a8 a9
  keep show_text host show all
  keep show_tsv host show all -o tsv
  keep check_two host check a0/d0 a1 -o json
  keep check_some host check a0 a9
  keep check_worst host check a9 a1
  keep check_none host check a8 a9
  keep check_all host check all --expect 2
  keep off host locate all off -o json
  keep mixed host attach a0 a1 -n -o json
  cardsim set card1 beacon_state absent
  keep some own some locate all on -o json
  keep wrong own some locate a0 a7 off
  cards many new
  cards many add flash-785g --count 20
  for ((i = 0; i < 8; i++)); do cards many set "card$i" pci_slot_num 99; done
  keep many with many show a99
  keep many_matches with many show slot:99
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
  said ambiguous "  Matches: a0 (S100), a1 (S200)"
}

@test "with many cards, an unknown name is answered with a few objects" {
  ended many 3
  same "corvane-host: a99: no such object
  Did you mean 'a9'?
  Objects: plugin, a0, a0/d0, a1, a1/d0, a2 and 35 more
  List them all: corvane-host tree" "$(err many)"
  ended many_matches 3
  said many_matches "corvane-host: slot:99: ambiguous, matches 8 objects"
  grep -qx "  Matches: a0 (FA[0-9]*), .* and 2 more" "$BATS_FILE_TMPDIR/many_matches.err"
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

@test "status reports a name without an object and shows the others" {
  ended status_some 8
  valid status_some
  same '["a1", "a1/d0"]' "$(json status_some '[o["object"] for o in d["result"]["objects"]]')"
  said status_some "corvane-host: a9: no such object"
}

@test "show prints several objects, each once and in their order" {
  ended show_two 0
  valid show_two show_some
  same '["a1", "a0/d0"]' "$(json show_two '[r["fields"]["object"] for r in d["result"]["results"]]')"
  ended show_some 8
  same '["a0", ["a9", 3, "NO_SUCH_OBJECT"]]' \
    "$(json show_some '[r["object"] if "fields" in r else [r["object"], r["exit_code"], r["message"]["id"]] for r in d["result"]["results"]]')"
  said show_some "corvane-host: a9: no such object"
  ended show_none 3
  silent show_none out
  said show_none "corvane-host: a8: no such object"
  said show_none "corvane-host: a9: no such object"
}

@test "show separates the objects in text and tsv" {
  ended show_text 0
  same "a0
Health

a1
Health" "$(out show_text | grep -E '^(a[0-9]|Health|)$' | sed '$d')"
  same "object	property	value" "$(out show_tsv | head -1)"
  same "a0	serial_number	S100
a1	serial_number	S200" "$(out show_tsv | grep serial_number)"
}

@test "check reports the worst state of several objects" {
  ended check_two 1
  valid check_two
  same '["WARNING", ["a1", "a1/d0", "a0/d0"]]' \
    "$(json check_two '[d["result"]["state"], [o["object"] for o in d["result"]["objects"]]]')"
  ended check_all 1
  same "CORVANE WARNING - 2 cards: 1 WARNING, 1 OK" "$(out check_all | sed -e 's/;.*//' -e 1q)"
}

@test "a name without an object is UNKNOWN for check, and a warning is worse" {
  ended check_some 3
  same "CORVANE UNKNOWN - 1 card: 1 OK; a9: no such object" \
    "$(out check_some | sed -e 's/ | .*//' -e 1q)"
  same "a9: no such object" "$(out check_some | tail -1)"
  ended check_worst 1
  [[ "$(out check_worst | sed -e 's/ | .*//' -e 1q)" == "CORVANE WARNING - 1 card: 1 WARNING; a1 WARNING: "*"; a9: no such object" ]]
  ended check_none 3
  same "CORVANE UNKNOWN - a9: no such object" "$(out check_none | head -1)"
}

@test "locate all off has nothing to do if all LEDs are off" {
  ended off 0
  valid off
  same '[false, [["a0", "OFF", "OFF", false], ["a1", "OFF", "OFF", false]]]' \
    "$(json off '[d["changed"], [[r["object"], *(r[k]["locate_led"] for k in ("before", "after")), r["changed"]] for r in d["result"]["results"]]]')"
}

@test "exit code 8 means that some objects succeeded and some failed" {
  ended some 8
  valid some
  same '[8, true, ["a0", "ON"], ["a1", 4, "NO_LIGHT"]]' \
    "$(json some '[d["exit_code"], d["changed"]] + [[r["object"], r["after"]["locate_led"]] if "after" in r else [r["object"], r["exit_code"], r["message"]["id"]] for r in d["result"]["results"]]')"
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
