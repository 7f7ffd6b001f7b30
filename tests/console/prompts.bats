#!/usr/bin/env bats
# Prompts and responses on a terminal, and the state of the card afterwards.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  export TERM=xterm-256color
  local name
  # Cards are detached for formats, because an attached card rejects them.
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/attached.before"
  for name in yes no enter eof halt edit narrow dumb piped offline forced op; do
    cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$name.json"
  done
  cardsim set card0 iom_state 0
  cardsim set card0 iom_format_max_size_bytes 1099511627776

  on yes 24x120 see "Detach the adapter? [y/N]" press y press Enter ends 0 \
    see "Detaching a0 ... 0:" see "a0: attached -> detached" -- detach a0 &
  on no 24x120 see "[y/N]" press n press Enter ends 4 see "canceled" -- detach a0 &
  on enter 24x120 see "[y/N]" press Enter ends 4 see "Nothing was changed." -- detach a0 &
  on eof 24x120 see "[y/N]" press Ctrl-D ends 4 see "Nothing was changed." -- detach a0 &
  on halt 24x120 see "[y/N]" press Ctrl-C ends 130 see "Nothing was changed." -- detach a0 &
  on edit 24x160 see "[y/N]" press nx press Backspace press Backspace press y see "[y/N] y" \
    press Left press n see "[y/N] ny" press Enter ends 4 -- detach a0 &
  wait
  on narrow 24x40 see "? [y/N]" press n press Enter ends 4 see "Nothing was changed." -- detach a0 &
  TERM=dumb on dumb 24x120 see "[y/N]" press y press Enter ends 0 see "a0: attached -> detached" -- detach a0 &
  keep piped screen 24x120 see "[y/N]" press y press Enter ends 0 \
    -- sh -c "corvane-host '$(cards_option "$BATS_FILE_TMPDIR/piped.json")' detach a0 | cat >'$BATS_FILE_TMPDIR/piped.answer'" &
  on right 24x120 see "LED     the card's locate LED is blinking" see "(Enter cancels):" \
    press S10 run "cardsim --state $BATS_FILE_TMPDIR/right.json get card0 beacon_state | grep true" \
    press 0 press Enter ends 0 see "Formatting a0/d0 ... 0:" see "a0/d0: 550 GB" -- format a0/d0 --capacity 50 &
  on wrong 24x120 see "(Enter cancels):" press S200 press Enter ends 4 \
    see "'S200' is not the serial number" -- format a0/d0 --capacity 50 &
  on almost 24x120 see "(Enter cancels):" press s100 press Enter ends 4 see "Nothing was changed." \
    -- format a0/d0 --capacity 50 &
  wait
  on formatno 24x120 see "(Enter cancels):" press y press Enter ends 4 -- format a0/d0 --capacity 50 &
  on formatenter 24x120 see "(Enter cancels):" press Enter ends 4 see "canceled" -- format a0/d0 --capacity 50 &
  on formathalt 24x120 see "(Enter cancels):" press S1 press Ctrl-C ends 130 see "Nothing was changed." -- format a0/d0 --capacity 50 &
  on formateof 24x120 see "(Enter cancels):" press Ctrl-D ends 4 see "Nothing was changed." -- format a0/d0 --capacity 50 &
  on formatyes 24x120 see "(Enter cancels):" press Enter ends 4 -- format a0/d0 --capacity 50 -y &
  on dry 24x120 see "Nothing was changed." ends 0 see "ALL DATA ON THIS DRIVE WILL BE LOST" \
    -- format a0/d0 --dry-run --capacity 50 &
  wait
  on attach 24x120 see "Attach the adapter? [y/N]" press yes press Enter ends 0 \
    see "Attaching a0 ... 0:" see "a0: detached -> attached" -- attach a0 &
  on offline 24x120 see "[y/N]" press Ctrl-C ends 130 see "Nothing was changed." -- offline a0/d0 &
  on forced 24x120 see "Forced: " see "[y/N]" press Enter ends 4 -- detach a0 --force &
  on op 24x120 see "[y/N]" press no press Enter ends 4 -- op run a0 DETACH &
  on opformat 24x120 see "(Enter cancels):" press S101 press Enter ends 4 -- op run a0/d0 FORMAT_DEVICE &
  wait
  keep script own script format a0/d0 --capacity 50 &
  on noinput 24x120 see "Nothing was changed." ends 4 -- format a0/d0 --capacity 50 --no-input &
  on noquestion 24x120 see "--no-input was given" ends 4 -- attach a0 --no-input &
  keep mounted mounted &
  wait
}

# on NAME SIZE STEP... -- ARGUMENTS...: runs the program with a separate copy of the cards, on a
# terminal of this size.
on() {
  local name="$1" file="$BATS_FILE_TMPDIR/$1.json" steps=()
  shift
  [ -e "$file" ] || cp "$CARDSIM_STATE" "$file"
  while [ "$1" != -- ]; do
    steps+=("$1")
    shift
  done
  keep "$name" screen "${steps[@]}" print -- corvane-host "$(cards_option "$file")" "${@:2}"
}

mounted() {
  local sysfs="$BATS_FILE_TMPDIR/used"
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/mounted.json"
  CARDSIM_STATE="$BATS_FILE_TMPDIR/mounted.json" make_mounted_sysfs "$sysfs"
  CORVANE_SYSFS="$sysfs" CARDSIM_STATE="$BATS_FILE_TMPDIR/mounted.json" \
    screen 24x120 see ": fioa is held by md7, fioa is mounted at $(any_mount 2)" ends 4 \
    see "Nothing was changed." \
    -- corvane-host ${CORVANE_TEST_SERVICE:+"$(cards_option "$BATS_FILE_TMPDIR/mounted.json")"} \
    format a0/d0 --capacity 50
}

# played NAME...: expects that all steps of these runs succeeded.
played() {
  local name
  for name; do
    ended "$name" 0 || { err "$name"; false; }
  done
}

# still_attached NAME...: expects that the cards are attached and unchanged.
still_attached() {
  local name
  for name; do cmp "$BATS_FILE_TMPDIR/attached.before" "$BATS_FILE_TMPDIR/$name.json"; done
}

@test "y confirms a detach" {
  played yes dumb
  same 0 "$(card yes iom_state)"
  same 0 "$(card dumb iom_state)"
}

@test "n, an empty line and end of input cancel a detach" {
  played no enter eof
  still_attached no enter eof
}

@test "Ctrl-C at a prompt exits with 130 and changes nothing" {
  played halt
  still_attached halt
}

@test "attach, offline, detach and op run prompt for confirmation" {
  played attach offline forced op opformat
  same 2 "$(card attach iom_state)"
  still_attached offline forced op
  untouched opformat
}

@test "the response can be edited, and a narrow terminal shows the end of the prompt" {
  played edit narrow
  still_attached edit narrow
}

@test "the prompt is not written to standard output" {
  played piped
  cp "$BATS_FILE_TMPDIR/piped.answer" "$BATS_FILE_TMPDIR/answer.out"
  same "a0: attached -> detached" "$(untimed answer)"
}

@test "format requires the serial number, and the locate LED blinks during the prompt" {
  played right
  same false "$(card right beacon_state)"
  same 549755813888 "$(card right iom_format_size_bytes)"
}

@test "a wrong serial number changes nothing" {
  played wrong almost formatno
  untouched wrong almost formatno
}

@test "an empty line, end of input and Ctrl-C cancel a format, even with --yes" {
  played formatenter formateof formathalt formatyes
  untouched formatenter formateof formathalt formatyes
}

@test "a dry run does not prompt and changes nothing" {
  played dry
  untouched dry
  run ! grep -q "Enter cancels" "$BATS_FILE_TMPDIR/dry.out"
}

@test "format without a terminal, and format and attach with --no-input, are refused" {
  ended script 4
  said script "  Nothing was changed."
  played noinput noquestion
  untouched script noinput noquestion
}

@test "format refuses a drive in use without a prompt" {
  played mounted
  untouched mounted
}
