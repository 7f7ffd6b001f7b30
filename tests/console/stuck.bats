#!/usr/bin/env bats
# Every command exits and reports the problem if the plug-in or the card library hangs, or if the
# plug-in cannot start its thread.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
}

check_every_command() { /usr/bin/python3 "$CORVANE_SOURCE/tests/console/stuck.py" "$1"; }

@test "every command times out when the plug-in hangs" {
  check_every_command timeout
}

@test "every command exits after one SIGINT when the plug-in hangs" {
  check_every_command signal
}

@test "list prints its result even if the plug-in does not stop" {
  CONSOLE_TEST_PLUGIN="hang in DeInitialize" keep stop \
    timeout 100 corvane-host --plugin "$TEST_PLUGIN" list -o value
  ended stop 0
  same "a0
a0/d0
a1
0x0000000000000031" "$(out stop)"
  said stop "corvane-host: note: the plug-in did not stop; exiting anyway"
}

@test "set warns after a timeout that the change may still take effect" {
  CONSOLE_TEST_PLUGIN="hang in SetProperty" keep set \
    timeout 100 corvane-host --plugin "$TEST_PLUGIN" set plugin poll_interval=30 --timeout 1s
  ended set 7
  said set "  The command may still take effect; check with show."
}

# with_hung_library COMMAND...: runs the command while the simulator's state file is locked, so that
# the card library hangs when the plug-in switches off the locate LEDs at its start.
with_hung_library() {
  local sys="$BATS_TEST_TMPDIR/sys"
  cardsim sysfs "$sys"
  cardsim set card0 beacon_state true
  cardsim set card1 beacon_state true
  exec 8>"$CARDSIM_STATE.lock"
  flock 8
  CORVANE_SYSFS="$sys" "$@"
}

@test "list exits with 7 if the card library hangs" {
  with_hung_library keep library timeout 100 corvane-host list --timeout 1s
  ended library 7
  said library "corvane-host: the plug-in is not responding"
}

@test "every command has a default timeout for a hanging card library" {
  with_hung_library check_every_command library
}

@test "every command that loads the plug-in reports that it cannot poll the cards" {
  check_every_command no-worker
}

@test "commands reject an invalid --timeout before they load the plug-in" {
  local command
  for command in list tree status events watch metrics rows plugin check; do
    CONSOLE_TEST_PLUGIN=hang run timeout 100 corvane-host --plugin "$TEST_PLUGIN" "$command" --timeout soon
    [[ "$status" == 2 || "$command:$status" == check:3 ]]
    [[ "$output" == *"--timeout: invalid duration 'soon'"* ]]
  done
}
