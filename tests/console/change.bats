#!/usr/bin/env bats
# The set command, and the calls that set and list make to the test plug-in.

bats_require_minimum_version 1.5.0
load helper

# Each change has its own configuration directory.
setup_file() {
  load helper
  make_machine
  make_cards
  mkdir "$BATS_FILE_TMPDIR/kept"
  printf '; mine\nOther=1\nPollInterval=20\n' >"$BATS_FILE_TMPDIR/kept/Corvane.ini"
  mkdir "$BATS_FILE_TMPDIR/read_only"
  printf 'PollInterval=20\n' >"$BATS_FILE_TMPDIR/read_only/Corvane.ini"
  chmod a-w "$BATS_FILE_TMPDIR/read_only"

  keep first change new poll_interval=30 &
  keep kept change kept POLL_INTERVAL=40 &
  keep low change low 30005=1 &
  keep high change high poll_interval_seconds=300 &
  keep same change same poll_interval=15 &
  if_direct keep read_only change_read_only &
  keep word change word poll_interval=soon &
  keep huge change huge poll_interval=99999999999 &
  wait
  keep none change none poll_intervl=5 &
  if_direct keep shape corvane-host set plugin poll_interval &
  keep table change table poll_interval=16 -o tsv &
  keep fixed host set a0 name=Bob &
  if_direct keep nocards corvane-host set plugin poll_interval=30 &
  CONSOLE_TEST_LOG="$BATS_FILE_TMPDIR/set.log" if_direct keep odd test_plugin set set plugin poll_interval=33 &
  CONSOLE_TEST_LOG="$BATS_FILE_TMPDIR/unset.log" if_direct keep unset test_plugin unset set plugin poll_interval=33 &
  CONSOLE_TEST_LOG="$BATS_FILE_TMPDIR/topology.log" if_direct keep topology test_plugin topology list &
  wait
}

teardown_file() { chmod u+w "$BATS_FILE_TMPDIR/read_only"; }

# change DIRECTORY ASSIGNMENT...
change() { CORVANE_CONFIG_DIR="$BATS_FILE_TMPDIR/$1" host set plugin "${@:2}"; }
# change_read_only: changes a file that cannot be written.
change_read_only() {
  CORVANE_CONFIG_DIR="$BATS_FILE_TMPDIR/read_only" unprivileged corvane-host --simulate set plugin \
    poll_interval=60
}

@test "set reports the value before and after and saves it" {
  ended first 0
  silent first err
  same "plugin poll_interval: 15 -> 30" "$(out first)"
  same "PollInterval=30" "$(cat "$BATS_FILE_TMPDIR/new/Corvane.ini")"
}

@test "set keeps the other keys of the file" {
  same "plugin poll_interval: 20 -> 40" "$(out kept)"
  grep -qx "Other=1" "$BATS_FILE_TMPDIR/kept/Corvane.ini"
  grep -qx "PollInterval=40" "$BATS_FILE_TMPDIR/kept/Corvane.ini"
}

@test "set raises a value below the range and prints a note" {
  ended low 0
  same "plugin poll_interval: 15 -> 2" "$(out low)"
  said low "corvane-host: note: 1 is out of range (2 to 255); set to 2"
}

@test "set lowers a value above the range and prints a note" {
  ended high 0
  same "plugin poll_interval: 15 -> 255" "$(out high)"
  said high "corvane-host: note: 300 is out of range (2 to 255); set to 255"
}

@test "set reports a value that is already set" {
  ended same 0
  same "plugin poll_interval: already 15" "$(out same)"
}

@test "set fails if the change cannot be saved" {
  direct_only "the service is not subject to the user's permissions"
  ended read_only 1
  same "plugin poll_interval: 20 -> 60" "$(out read_only)"
  said read_only "  60 applies to this run only; the file is unchanged."
  same "PollInterval=20" "$(cat "$BATS_FILE_TMPDIR/read_only/Corvane.ini")"
}

@test "set -o tsv prints one row" {
  same "object	property	before	after
plugin	poll_interval	15	16" "$(out table)"
}

@test "set rejects an invalid number and an invalid assignment" {
  local name
  for name in word huge $(if_direct echo shape); do
    ended "$name" 2
    silent "$name" out
  done
  said word "corvane-host: set: 'soon' is not a valid integer"
  if_direct said shape "corvane-host: set: 'poll_interval' is not PROP=VALUE"
  [ ! -e "$BATS_FILE_TMPDIR/word/Corvane.ini" ]
}

@test "set suggests a name for an unknown property" {
  ended none 2
  said none "corvane-host: plugin: no property 'poll_intervl'"
  said none "  Did you mean 'poll_interval'?"
}

@test "set refuses a read-only property" {
  ended fixed 4
  silent fixed out
  said fixed "corvane-host: set a0 name: read-only"
  said fixed "  Nothing was changed."
}

@test "set works on a machine without cards" {
  direct_only "tests a plug-in in the same process"
  ended nocards 0
  same "plugin poll_interval: 15 -> 30" "$(out nocards)"
}

@test "set numbers the adapters from 1, passes the range of the property, and stops the plug-in" {
  direct_only "uses the test plug-in"
  ended odd 0
  same "Initialize
SetAdapterIDs 1 2
GetTopology
SetProperty 16 30005 33 2 255
DeInitialize
destroyed" "$(cat "$BATS_FILE_TMPDIR/set.log")"
}

@test "set reports the error of a plug-in that refuses the change" {
  direct_only "uses the test plug-in"
  ended unset 1
  silent unset out
  grep -q "^corvane-host: set plugin poll_interval: .* (20004)$" \
    "$BATS_FILE_TMPDIR/unset.err"
}

@test "list stops a plug-in that fails after startup" {
  direct_only "uses the test plug-in"
  ended topology 1
  same "Initialize
SetAdapterIDs 1 2
GetTopology
DeInitialize
destroyed" "$(cat "$BATS_FILE_TMPDIR/topology.log")"
}
