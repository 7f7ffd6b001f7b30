#!/usr/bin/env bats
# All forms of output agree about the cards, and a card that is not there is not healthy.

bats_require_minimum_version 1.5.0
load helper

# The states of the 40 simulated cards: the eight card states combined with five conditions.
STATES="detached attaching attached detaching busy minimal failed stopped"
CONDITIONS="healthy hot worn low_reserve unknown"

# set_condition CARD CONDITION
set_condition() {
  case "$2" in
    hot)
      cardsim set "$1" temp_internal_deg_c 79.5
      cardsim raise "$1" TEMPERATURE_ABOVE_WARN ;;
    worn)
      cardsim set "$1" total_physical_bytes_written 9007199254740995000
      cardsim raise "$1" NEAR_WEARING_OUT ;;
    low_reserve)
      cardsim set "$1" reserve_space_pct 4
      cardsim set "$1" reserve_status 1 ;;
    unknown)
      local attribute
      for attribute in temp_internal_deg_c reserve_space_pct rated_endurance_tbytes \
        iom_format_size_bytes sector_size_bytes beacon_state; do
        cardsim set "$1" "$attribute" absent
      done ;;
  esac
}

make_forty() {
  cardsim new
  cardsim add flash-785g --count 42
  local number=0 state=0 name condition
  for name in $STATES; do
    for condition in $CONDITIONS; do
      cardsim set "card$number" iom_state "$state"
      set_condition "card$number" "$condition"
      number=$((number + 1))
    done
    state=$((state + 1))
  done
}

setup_file() {
  load helper
  make_machine
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/truth.db"
  make_forty
  # Through a service, the LED stays on.
  host locate a0 on >/dev/null
  cardsim remove card40
}

# statuses SELECTOR...: prints the effective and the plug-in's status of each object.
statuses() {
  local name
  for name; do echo "$name $(host get "$name" status plugin_status | tr '\n' ' ')"; done
}

# is_missing NAME: succeeds once the card is shown as missing.
is_missing() { [ "$(host get "$1" status)" = MISSING ]; }

@test "40 cards in all states: every form says the same about every field" {
  eventually is_missing a40
  local every=8
  [ -z "${CORVANE_TEST_SERVICE:-}" ] || every=1
  local option
  option=$(cards_option "$CARDSIM_STATE")
  run --separate-stderr python3 "$CORVANE_SOURCE/tests/console/truth.py" "$every" "$option"
  same "83 objects agree" "$output"
}
