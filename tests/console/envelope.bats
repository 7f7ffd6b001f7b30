#!/usr/bin/env bats
# Machine-readable output of every command: JSON that matches the schema even after failures, and
# piped output without escape sequences.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  local name
  for name in two duplicate empty closed escape; do
    cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$name.json"
  done
  cards duplicate set card0 serial_number SAME
  cards duplicate set card1 serial_number SAME
  cards empty new --force
  cards closed fail vsl_open --code 12
  cards escape set card0 board_name $'x\x1b[31my'
  cards escape set card0 product_name $'x\x1b]0;y\a'
  cards escape set card0 serial_number $'\x1b[2J'
  printf '{"cards": [' >"$BATS_FILE_TMPDIR/damaged.json"
}

check_every_command() { /usr/bin/python3 "$CORVANE_SOURCE/tests/console/envelope.py" "$1"; }

@test "the schema covers every command" {
  check_every_command schema
}

@test "a failed check of the schema names the document, the member and the file" {
  printf '{"format": {"name": "corvane-host", "major": 1, "minor": 0, "patch": 7}}' \
    >"$BATS_FILE_TMPDIR/patched.out"
  run -1 valid patched
  [[ "$output" == "patched: \$"*"docs/corvane-host.schema.json does not describe this output" ]]
}

@test "a member has the same type in all documents" {
  check_every_command types
}

@test "every command in every situation prints JSON that matches the schema and the exit code" {
  check_every_command json
}

@test "piped output contains no escape byte" {
  check_every_command escapes
}
