#!/usr/bin/env bats
# Every command works for the other cards while one card hangs or cannot be opened.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
}

# faulty NAME ARGUMENTS...: changes a copy of the cards with cardsim and prints the option for it.
faulty() {
  local file="$BATS_FILE_TMPDIR/$1.json"
  cp "$CARDSIM_STATE" "$file"
  CARDSIM_STATE="$file" cardsim "${@:2}" >&2
  cards_option "$file"
}

# try_all OPTION [timed-out]: runs every command with these cards.
try_all() { /usr/bin/python3 "$CORVANE_SOURCE/tests/console/hung_card.py" "$@"; }

@test "every command works while another card hangs when it is opened" {
  try_all "$(faulty opened hang vsl_open card1)"
}

@test "every command works while another card hangs when its temperature is read" {
  try_all "$(faulty read hang vsl_has_temp_internal_deg_c card1)"
}

@test "every command works while another card cannot be opened" {
  try_all "$(faulty failing fail vsl_open card1 --code 12 --text "device busy")"
}

@test "every command times out if the start of the plug-in takes longer than --timeout" {
  direct_only "a service answers during the start"
  try_all "$(faulty slow hang vsl_open card1)" timed-out
}

@test "list fails if the card library cannot list the cards" {
  direct_only "checks the exit code of the start"
  keep unlisted corvane-host "$(faulty unlisted fail vsl_iom_iterate --code 12 --text "device busy")" list
  ended unlisted 1
  said unlisted "corvane-host: cannot list the cards: device busy"
}
