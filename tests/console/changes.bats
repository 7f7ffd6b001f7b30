#!/usr/bin/env bats
# What changing commands report: dry runs, `changed`, confirmation, and the causes of failures.

bats_require_minimum_version 1.5.0
load helper

# The rows "NAME|CARDS|EXIT CODE|CHANGED|WOULD CHANGE|ARGUMENTS" of the commands that run once with
# and once without --dry-run, each time on new cards. CHANGED is that of the run without --dry-run.
ROWS='attached|attached|4|false|null|format a0/d0 --capacity 50 --confirm S100
sector|detached|4|false|null|format a0/d0 --sector-size 1000 --confirm S100
small|detached|4|false|null|format a0/d0 --sector-size 256 --confirm S100
serial|detached|4|false|null|format a0/d0 --capacity 50 --confirm S200
layout|detached|0|false|false|format a0/d0 --capacity 80 --confirm S100
here|attached|0|false|false|format a0/d0 --capacity 80 --sector-size 512 --confirm S100
again|detached|0|true|true|format a0/d0 --capacity 80 --confirm S100 --again
format|detached|0|true|true|format S100 --capacity 50 --confirm S100
attach|detached|0|true|true|attach a0 --yes
attach2|attached|0|false|false|attach a0 --yes
detach|attached|0|true|true|detach S100 --confirm S100
detach2|detached|0|false|false|detach a0 --confirm S100
detachx|attached|4|false|null|detach a0 --yes --confirm S200
op|attached|0|true|true|op run a0 DETACH --yes
op2|detached|4|false|null|op run a0 DETACH --yes
led|attached|0|true|true|locate slot:5 on
led2|attached|0|false|false|locate a0 off
leds|attached|0|true|true|locate a0 a1 on
units|attached|4|false|null|offline a0/d0 --yes --confirm S200
same|attached|0|false|false|set plugin poll_interval=2
fixed|attached|4|false|null|set a0 name=Bob
kind|attached|2|false|null|offline plugin --yes
none|attached|3|false|null|detach S900 --yes'

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  cardsim set card0 iom_format_max_size_bytes 1099511627776
  cardsim set card0 iom_format_min_sector_size_bytes 512
  cardsim set card0 iom_format_max_sector_size_bytes 4096
  cardsim set card0 iom_format_sector_size_multiplier 512
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/attached.cards"
  cardsim set card0 iom_state 0
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/detached.cards"
  local name cards words count=0
  while IFS='|' read -r name cards _ _ _ words; do
    cp "$BATS_FILE_TMPDIR/$cards.cards" "$BATS_FILE_TMPDIR/$name.json"
    # shellcheck disable=SC2086  # the row contains several words
    pair "$name" $words &
    count=$((count + 1))
    [ $((count % 6)) -ne 0 ] || wait
  done <<<"$ROWS"
  wait
  failures
}

# pair NAME ARGUMENTS...: runs a command with --dry-run as NAME.dry, then without it as NAME.
pair() {
  keep "$1.dry" with "$1" "${@:2}" -n -o json
  cp "$BATS_FILE_TMPDIR/$1.json" "$BATS_FILE_TMPDIR/$1.after_dry"
  keep "$1" with "$1" "${@:2}" -o json
}

# failures: runs a detach that the card library lets fail, and a format that fails after its checks.
failures() {
  local name code text
  while IFS='|' read -r name code text; do
    cp "$BATS_FILE_TMPDIR/attached.cards" "$BATS_FILE_TMPDIR/$name.json"
    cards "$name" fail vsl_op_start --code "$code" --text "$text" >/dev/null
    keep "$name" with "$name" detach a0 --yes &
  done <<'END'
denied|12|operation not permitted
denied_code|12|
busy|8|the card is in use
slow|13|command timed out
gone|3|the card has been removed
other|99|flux capacitor failure
END
  wait
  cp "$BATS_FILE_TMPDIR/detached.cards" "$BATS_FILE_TMPDIR/broken.json"
  cards broken fail vsl_op_wait_for_result --code 99 --text "flux capacitor failure" >/dev/null
  keep broken with broken format a0/d0 --capacity 50 --confirm S100 &
  cp "$BATS_FILE_TMPDIR/attached.cards" "$BATS_FILE_TMPDIR/lamp.json"
  cards lamp fail vsl_set_beacon_state --code 12 --text "permission denied" >/dev/null
  keep lamp with lamp locate a0 on &
  local name
  for name in switched removed; do
    cp "$BATS_FILE_TMPDIR/attached.cards" "$BATS_FILE_TMPDIR/$name.json"
    keep "$name" with "$name" locate a0 on --for 1h &
  done
  is_on() { [ "$(card "$1" beacon_state)" = true ]; }
  eventually is_on switched
  cards switched set card0 beacon_state false
  eventually is_on removed
  cards removed remove card0
  wait
}

# Runs `check NAME EXIT CHANGED WOULD` for each row.
each_row() {
  local name code changed would
  while IFS='|' read -r name _ code changed would _; do
    "$1" "$name" "$code" "$changed" "$would" || { echo "in row $name"; return 1; }
  done <<<"$ROWS"
}

same_exit() { ended "$1" "$2" && ended "$1.dry" "$2"; }

# The exit codes of usage errors have no document from the command itself.
says_changed() {
  valid "$1" "$1.dry" && same "$3" "$(json "$1" 'd["changed"]')" &&
    same false "$(json "$1.dry" 'd["changed"]')"
}

says_would_change() {
  [ "$2" = 0 ] || return 0
  same "$4" "$(json "$1.dry" '(lambda r: any(e["would_change"] for e in r.get("results", [r])))(d["result"])')"
}

changed_nothing_dry() {
  local cards
  cards=$(grep "^$1|" <<<"$ROWS" | cut -d '|' -f 2)
  cmp "$BATS_FILE_TMPDIR/$cards.cards" "$BATS_FILE_TMPDIR/$1.after_dry"
}

@test "a dry run ends with the exit code of the real run" { each_row same_exit; }

@test "changing commands say whether they have changed anything" { each_row says_changed; }

@test "a dry run says whether the real run would change anything" { each_row says_would_change; }

@test "a dry run changes no card" { each_row changed_nothing_dry; }

@test "format names the card's limit for the sector size before it asks" {
  grep -q "^corvane-host: format a0/d0: the card does not accept this value (.*: the sector size must be 512 to 4096 bytes)$" \
    "$BATS_FILE_TMPDIR/small.err"
  said small "  Pass a value within the card's limits. Nothing was changed."
  cmp "$BATS_FILE_TMPDIR/detached.cards" "$BATS_FILE_TMPDIR/small.json"
}

@test "format of an attached card is refused with the command that detaches it" {
  said attached "corvane-host: format a0/d0: a0 is attached"
  said attached "  Detach it first: corvane-host detach a0"
}

@test "--confirm names each card, or nothing is changed" {
  local name
  for name in one all_one extra both; do cp "$BATS_FILE_TMPDIR/attached.cards" "$BATS_FILE_TMPDIR/$name.json"; done
  keep one with one detach a0 a1 --yes --confirm S100 &
  keep all_one with all_one detach all --confirm S200 &
  keep both with both detach all --confirm S200,S100 &
  wait
  ended one 4
  said one "corvane-host: detach a1: 'S100' is not the serial number"
  ended all_one 4
  said all_one "  Nothing was changed."
  for name in one all_one; do cmp "$BATS_FILE_TMPDIR/attached.cards" "$BATS_FILE_TMPDIR/$name.json"; done
  ended both 0
  same "0 0" "$(cards both get card0 iom_state) $(cards both get card1 iom_state)"
}

@test "a refused object does not hide that others were changed" {
  cp "$BATS_FILE_TMPDIR/attached.cards" "$BATS_FILE_TMPDIR/partly.json"
  local sysfs="$BATS_FILE_TMPDIR/mounted"
  CARDSIM_STATE="$BATS_FILE_TMPDIR/partly.json" make_mounted_sysfs "$sysfs"
  # With --simulate, the devices would be those of the simulation.
  CORVANE_SYSFS="$sysfs" CARDSIM_STATE="$BATS_FILE_TMPDIR/partly.json" keep partly \
    corvane-host ${CORVANE_TEST_SERVICE:+"$(cards_option "$BATS_FILE_TMPDIR/partly.json")"} \
    detach a0 a1 -y
  ended partly 8
  said partly "  a0 was not changed."
  run ! grep -q "Nothing was changed" "$BATS_FILE_TMPDIR/partly.err"
  same "2 0" "$(cards partly get card0 iom_state) $(cards partly get card1 iom_state)"
}

# The other program is killed at the end, because the card never finishes.
@test "attach is refused while another program detaches the card" {
  direct_only "session_jobs.bats tests two clients of a service"
  local name rival
  cp "$BATS_FILE_TMPDIR/attached.cards" "$BATS_FILE_TMPDIR/two.json"
  cards two set card0 detach_ms 3600000
  keep rival with two detach a0 -y &
  rival=$!
  is_detaching() { [ "$(card two iom_state)" = 3 ]; }
  eventually is_detaching
  keep attach with two attach a0 -y
  keep dry with two attach a0 -y -n
  keep detach with two detach a0 -y
  keep list with two list
  pkill -KILL -P "$rival"
  wait "$rival"
  for name in attach dry detach; do
    ended "$name" 4
    said "$name" "  Wait until this is done: corvane-host wait a0 detached"
  done
  err attach | grep -q '^corvane-host: attach a0: the card is being detached ('
  out list | grep -qE '^a0 .* S100 +detaching$'
}

@test "a wrong --confirm changes nothing" {
  said detachx "corvane-host: detach a0: 'S200' is not the serial number"
  cmp "$BATS_FILE_TMPDIR/attached.cards" "$BATS_FILE_TMPDIR/detachx.json"
}

@test "a denied permission exits with 6 and does not recommend --force" {
  local name
  for name in denied denied_code; do
    ended "$name" 6
    run ! grep -q -- --force "$BATS_FILE_TMPDIR/$name.err"
    said "$name" "  Run the command as root, or as a user with access to the card's control device."
  done
  said denied "corvane-host: detach a0: permission denied (vsl_op_start, code 12: operation not permitted)"
  ended lamp 6
  said lamp "corvane-host: locate a0: permission denied (vsl_set_beacon_state, code 12: permission denied)"
}

@test "a failed detach reports the card library's reason" {
  ended busy 1
  said busy "corvane-host: detach a0: the card is in use (vsl_op_start, code 8: the card is in use)"
  said busy "  To detach a busy card: corvane-host detach a0 --force"
  ended slow 7
  said slow "corvane-host: detach a0: the card is not responding (vsl_op_start, code 13: command timed out)"
  ended gone 3
  ended other 1
  said other "corvane-host: detach a0: the card rejected the command (vsl_op_start, code 99: flux capacitor failure)"
  run ! grep -q -- --force "$BATS_FILE_TMPDIR/other.err"
}

@test "a failed format reports the card library's reason" {
  ended broken 1
  said broken "corvane-host: format a0/d0: the card rejected the command (vsl_op_wait_for_result, code 99: flux capacitor failure)"
}

@test "locate --for notices an LED that another program switches off" {
  ended switched 1
  grep -q "^corvane-host: locate a0: another program switched the LED off after 0:" \
    "$BATS_FILE_TMPDIR/switched.err"
  # The advice is the command that was given.
  grep -qx "  Switch it on again: corvane-host locate a0 on --for 1h --s[^ ]*[= ][^ ]*" \
    "$BATS_FILE_TMPDIR/switched.err"
  if_direct said switched "  Without a service, every other corvane-host command switches it off, even list."
}

@test "locate --for notices that its card is removed" {
  ended removed 3
  grep -q "^corvane-host: locate a0: the card was removed after 0:" "$BATS_FILE_TMPDIR/removed.err"
}
