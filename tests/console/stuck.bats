#!/usr/bin/env bats
# A plug-in or card library that never returns, or a plug-in without its thread: every command ends
# and says so.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
}

every() { /usr/bin/python3 "$CORVANE_SOURCE/tests/console/stuck.py" "$1"; }

@test "every command ends by itself when the plug-in hangs" {
  every timeout
}

@test "every command ends after one SIGINT when the plug-in hangs" {
  every signal
}

@test "a result is printed even if the plug-in does not stop" {
  CONSOLE_TEST_PLUGIN="hang in DeInitialize" keep stop \
    timeout 100 corvane-host --plugin "$ODD_PLUGIN" list -o value
  ended stop 0
  same "a0
a0/d0
a1
0x0000000000000031" "$(out stop)"
  said stop "corvane-host: note: the plug-in does not stop; exiting anyway"
}

@test "a change that times out may still take effect, and says so" {
  CONSOLE_TEST_PLUGIN="hang in SetProperty" keep set \
    timeout 100 corvane-host --plugin "$ODD_PLUGIN" set plugin poll_interval=30 --timeout 1s
  ended set 7
  said set "  The command may still take effect; check with show."
}

# The card library waits for the lock of the cards as long as the command runs.
with_hung_library() {
  local sys="$BATS_TEST_TMPDIR/sys"
  cardsim sysfs "$sys"
  exec 8>"$CARDSIM_STATE.lock"
  flock 8
  CORVANE_SYSFS="$sys" "$@"
}

@test "a card library that hangs ends the command with 7" {
  with_hung_library keep library timeout 100 corvane-host list --timeout 1s
  ended library 7
  said library "corvane-host: the plug-in does not respond"
}

@test "every command has a default timeout for a card library that hangs" {
  with_hung_library every library
}

@test "every command that loads the plug-in reports that it cannot poll the cards" {
  every no-worker
}

@test "a wrong --timeout is refused by every command before the plug-in is loaded" {
  local command
  for command in list tree status events watch metrics rows plugin check; do
    CONSOLE_TEST_PLUGIN=hang run timeout 100 corvane-host --plugin "$ODD_PLUGIN" "$command" --timeout soon
    [[ "$status" == 2 || "$command:$status" == check:3 ]]
    [[ "$output" == *"--timeout: invalid duration 'soon'"* ]]
  done
}
