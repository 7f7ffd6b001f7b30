#!/usr/bin/env bats
# Failures: exit codes and messages, without changes or leftover files.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  printf 'PollInterval\0 [[[\n' >"$BATS_FILE_TMPDIR/damaged.ini"
  printf '{"cards": [' >"$BATS_FILE_TMPDIR/damaged.json"
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/nodriver.json"
  cardsim --state "$BATS_FILE_TMPDIR/nodriver.json" fail vsl_init --code 5 --text "no driver"
  cp "$BATS_FILE_TMPDIR/nodriver.json" "$BATS_FILE_TMPDIR/empty.json"
  cardsim --state "$BATS_FILE_TMPDIR/empty.json" new --force

  keep empty with empty list &
  keep emptytree with empty tree &
  keep quiet with empty list -q &
  if_direct keep bus corvane-host list &
  if_direct keep nodriver with nodriver list &
  if_direct keep damaged with damaged list &
  if_direct keep missing with missing list &
  keep noobject host show a7 &
  wait
  if_direct keep serials test_plugin odd get SAME &
  if_direct keep version test_plugin version list &
  if_direct keep memory test_plugin memory list &
  if_direct keep locks test_plugin locks list &
  CONSOLE_TEST_LOG="$BATS_FILE_TMPDIR/numbers.log" if_direct keep numbers test_plugin numbers list &
  if_direct keep noisy test_plugin noisy list -o value &
  if_direct keep verbose test_plugin noisy list -o value -v &
  keep full to_full_disk host list &
  if_direct keep tracefile host --trace 2 --trace-file "$BATS_FILE_TMPDIR/trace.log" list -o value &
  if_direct keep traceerr host --trace 2 list -o value &
  wait
}

to_full_disk() { "$@" >/dev/full; }

# with_config FILE COMMAND...: runs the command with a copy of FILE as the plug-in's configuration.
with_config() {
  rm -rf "$BATS_TEST_TMPDIR/config"
  mkdir "$BATS_TEST_TMPDIR/config"
  cp "$1" "$BATS_TEST_TMPDIR/config/Corvane.ini"
  CORVANE_CONFIG_DIR="$BATS_TEST_TMPDIR/config" keep config "${@:2}"
}

@test "list and tree print a note on a machine without cards" {
  local name names=(empty)
  [ -n "${CORVANE_TEST_SERVICE:-}" ] || names+=(bus)
  for name in "${names[@]}"; do
    ended "$name" 0
    silent "$name" out
    said "$name" "corvane-host: note: No supported adapter was found in this machine."
  done
  ended emptytree 0
  same "plugin SanDisk-Plugin" "$(out emptytree | sed -e 1d -e 's/  */ /g')"
}

@test "--quiet suppresses the note" {
  ended quiet 0
  silent quiet out
  silent quiet err
}

@test "list fails if the card library does not start" {
  direct_only "a service does not become ready without the card library"
  ended nodriver 1
  silent nodriver out
  grep -q "^corvane-host: cannot start the plug-in: .* (20012)$" "$BATS_FILE_TMPDIR/nodriver.err"
}

@test "a damaged state file of the simulator is reported and not changed" {
  direct_only "a service reads the state file"
  ended damaged 1
  silent damaged out
  grep -q "^corvane-host: cannot simulate cards: .*damaged.json" "$BATS_FILE_TMPDIR/damaged.err"
  same '{"cards": [' "$(cat "$BATS_FILE_TMPDIR/damaged.json")"
}

@test "a missing state file of the simulator is reported and not created" {
  direct_only "a service reads the state file"
  ended missing 1
  grep -q "^corvane-host: cannot simulate cards: .*missing.json" "$BATS_FILE_TMPDIR/missing.err"
  [ ! -e "$BATS_FILE_TMPDIR/missing.json" ]
}

@test "the temporary directory of a simulation is removed" {
  direct_only "the service keeps the temporary directory"
  same "" "$(ls -A "$TMPDIR")"
}

@test "set reports a damaged configuration and does not change it" {
  with_config "$BATS_FILE_TMPDIR/damaged.ini" host set plugin poll_interval=30
  ended config 1
  silent config out
  grep -q "^corvane-host: cannot read .*/config/Corvane.ini: not an ini file$" \
    "$BATS_FILE_TMPDIR/config.err"
  cmp "$BATS_FILE_TMPDIR/damaged.ini" "$BATS_TEST_TMPDIR/config/Corvane.ini"
}

@test "list exits with 6 without read permission for the configuration" {
  direct_only "a service reads the configuration"
  mkdir "$BATS_TEST_TMPDIR/config"
  printf 'PollInterval=20\n' >"$BATS_TEST_TMPDIR/config/Corvane.ini"
  chmod 000 "$BATS_TEST_TMPDIR/config/Corvane.ini"
  CORVANE_CONFIG_DIR="$BATS_TEST_TMPDIR/config" keep denied unprivileged corvane-host list
  ended denied 6
  grep -q "/config/Corvane.ini: Permission denied$" "$BATS_FILE_TMPDIR/denied.err"
}

@test "errors for an unknown command, option, column or name contain a suggestion" {
  run -2 corvane-host lsit
  [[ "$output" == *"lsit: unknown command"*"Did you mean 'list'?"* ]]
  run -2 corvane-host list --colour always
  [[ "$output" == *"unknown option --colour"*"Did you mean '--color'?"* ]]
  run -2 corvane-host list -c nmae
  [[ "$output" == *"unknown column 'nmae'"*"Did you mean 'name'?"* ]]
  ended noobject 3
  said noobject "corvane-host: a7: no such object"
  said noobject "  Objects: plugin, a0, a0/d0, a1, a1/d0"
  run -3 corvane-host explain CTRL_NORMLA
  [[ "$output" == *"Did you mean 'CTRL_NORMAL'?"* ]]
}

@test "the error for --simulate FILE without an equals sign shows the correct form" {
  run -2 corvane-host --simulate /tmp/cards.json list
  same "corvane-host: /tmp/cards.json: unknown command
  To use it as the file of simulated cards: --simulate=/tmp/cards.json" "$output"
}

@test "JSON of a failure contains the command if it is known" {
  local words
  for words in "show a1 -o jsonl" "show a1 -c x -o json" "show -o json" "show a1 --nope -o json"; do
    # shellcheck disable=SC2086  # words
    same show "$(host $words 2>/dev/null | jq -r .command)"
  done
  same watch "$(corvane-host watch -o json 2>/dev/null | jq -r .command)"
  same null "$(corvane-host lsit -o json 2>/dev/null | jq -r .command)"
  same null "$(corvane-host complete -o json 2>/dev/null | jq -r .command)"
}

@test "a closed pipe is not a failure" {
  local command
  for command in metrics list; do
    run bash -c 'corvane-host -q "$3" "$1" 2>"$2" | true; echo "${PIPESTATUS[0]}"' \
      reader "$command" "$BATS_TEST_TMPDIR/err" "$(cards_option "$CARDSIM_STATE")"
    same 0 "$output"
    [ ! -s "$BATS_TEST_TMPDIR/err" ]
  done
}

@test "an ambiguous name is an error" {
  direct_only "uses the test plug-in"
  ended serials 3
  silent serials out
  said serials "corvane-host: SAME: ambiguous, matches 2 objects"
  said serials "  Matches: a0 (SAME), a1 (SAME)"
}

@test "invalid arguments and options are usage errors" {
  local words
  for words in "" "show" "list a0" "set plugin" "help list show" "tree --follow" \
    "tree --for 5" "events --for soon" "events --for -1s" "events -f -o json" "list --color pink" \
    "-o"; do
    # shellcheck disable=SC2086  # words
    run -2 corvane-host $words
    [[ "$output" == "corvane-host: "* ]]
  done
}

@test "invalid trace levels are a usage error" {
  run -2 corvane-host --trace 2,x list
  [[ "$output" == *"--trace: invalid levels '2,x'"* ]]
}

@test "the error for a trace file that cannot be opened contains the reason" {
  direct_only "tests options that load the plug-in"
  run -1 corvane-host --trace-file "$BATS_FILE_TMPDIR" list
  [[ "$output" == *"cannot open trace file $BATS_FILE_TMPDIR: Is a directory"* ]]
}

@test "the trace is written only to the trace file or to standard error" {
  direct_only "tests options that load the plug-in"
  same "a0
a0/d0
a1
a1/d0" "$(out tracefile)"
  same "$(out tracefile)" "$(out traceerr)"
  silent tracefile err
  grep -q "ENTER GetTopology" "$BATS_FILE_TMPDIR/trace.log"
  grep -q "ENTER GetTopology" "$BATS_FILE_TMPDIR/traceerr.err"
}

@test "a file that is not a plug-in is not loaded" {
  direct_only "tests options that load the plug-in"
  run -5 corvane-host --plugin /none/libCorvane.so list
  [[ "$output" == *"file not found: /none/libCorvane.so"* ]]
  run -5 corvane-host --plugin "$BATS_FILE_TMPDIR/cards.json" list
  [[ "$output" == *"cannot load the plug-in:"*"cards.json"* ]]
  run -5 corvane-host --plugin "$CORVANE_BUILD/lib/libhostkit.so" list
  [[ "$output" == *"libhostkit.so is not a storage plug-in: no symbol createIf"* ]]
}

@test "a plug-in with another interface version or a failing createIf is not used" {
  direct_only "uses the test plug-in"
  ended version 5
  grep -q "has interface version 3, this host requires version 2$" "$BATS_FILE_TMPDIR/version.err"
  ended memory 5
}

@test "list reports the error of a plug-in that does not start" {
  direct_only "uses the test plug-in"
  ended locks 1
  grep -q "^corvane-host: cannot start the plug-in: .* (20011)$" "$BATS_FILE_TMPDIR/locks.err"
}

@test "a plug-in that refuses its adapter numbers is stopped and reported" {
  direct_only "uses the test plug-in"
  ended numbers 1
  silent numbers out
  grep -qE "^corvane-host: cannot assign adapter numbers: .* \\([0-9]+\\)$" "$BATS_FILE_TMPDIR/numbers.err"
  same "Initialize
SetAdapterIDs 1 2
DeInitialize
destroyed" "$(cat "$BATS_FILE_TMPDIR/numbers.log")"
}

@test "the output of a plug-in is kept separate from the result" {
  direct_only "uses the test plug-in"
  same "a0
a0/d0
a1
0x0000000000000031" "$(out noisy)"
  silent noisy err
  same "$(out noisy)" "$(out verbose)"
  same "noise 1
noise 2
noise 4
noise 10
noise 3" "$(err verbose)"
}

@test "list fails if its output cannot be written" {
  ended full 1
  said full "corvane-host: cannot write the output: No space left on device"
}

@test "every command fails in every output format if the output device is full" {
  direct_only "runs each command with separate cards and configuration"
  export CORVANE_DATABASE="$BATS_TEST_TMPDIR/log.db"
  keep none host events
  add_log_entries "$CORVANE_DATABASE" "2026-11-19T23:59:59 3 10967 1 'BoardA (1)' 'Too hot.' S100 19038"
  /usr/bin/python3 "$CORVANE_SOURCE/tests/console/full.py"
}

@test "a message has at most four lines" {
  local name names=(empty noobject full)
  [ -n "${CORVANE_TEST_SERVICE:-}" ] || names+=(nodriver damaged missing serials version locks)
  for name in "${names[@]}"; do
    local file="$BATS_FILE_TMPDIR/$name.err"
    [ "$(wc -l <"$file")" -le 4 ] || { cat "$file"; false; }
  done
}

@test "Ctrl-C while the plug-in starts stops it cleanly" {
  direct_only "uses the test plug-in"
  CONSOLE_TEST_PLUGIN=slow stop_when INT "$BATS_FILE_TMPDIR/early.log" Initialize early \
    corvane-host --plugin "$TEST_PLUGIN" list
  ended early 130
  silent early out
  same "Initialize
SetAdapterIDs 1 2
DeInitialize
destroyed" "$(cat "$BATS_FILE_TMPDIR/early.log")"
}

# stop_follower SIGNAL NAME: sends the signal to events -f while it waits for a second event.
stop_follower() {
  CONSOLE_TEST_PLUGIN=events stop_when "$1" "$BATS_FILE_TMPDIR/$2.out" CTRL_TEMPERATURE "$2" \
    corvane-host --plugin "$TEST_PLUGIN" events -f
}

@test "Ctrl-C while waiting for events stops the plug-in cleanly" {
  direct_only "uses the test plug-in"
  stop_follower INT waiting
  ended waiting 130
  same "DeInitialize
destroyed" "$(tail -2 "$BATS_FILE_TMPDIR/waiting.log")"
}

@test "Ctrl-C during a simulation removes its temporary directory" {
  direct_only "tests options that load the plug-in"
  # The first file in $TMPDIR shows that the simulation's directory exists.
  stop_when INT "$TMPDIR" . simulated corvane-host --simulate list
  ended simulated 130
  silent simulated out
  same "" "$(ls -A "$TMPDIR")"
}

@test "SIGTERM stops the plug-in cleanly" {
  direct_only "uses the test plug-in"
  stop_follower TERM terminated
  ended terminated 130
  same "destroyed" "$(tail -1 "$BATS_FILE_TMPDIR/terminated.log")"
}
