#!/usr/bin/env bats
# Colors on a terminal and in a pipe, and output on a narrow terminal.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  keep auto on_terminal xterm corvane-host --simulate list &
  keep dumb on_terminal dumb corvane-host --simulate list &
  keep never on_terminal xterm corvane-host --simulate list --color never &
  NO_COLOR=1 keep nocolor on_terminal xterm corvane-host --simulate list &
  NO_COLOR=1 keep always on_terminal xterm corvane-host --simulate list --color always &
  export TERM=xterm
  keep status screen 24x100 see "WARNING" colored "WARNING" see "1 of 2 cards ok" ends 0 \
    -- corvane-host --simulate status &
  keep piped host status &
  export CONSOLE_TEST_PLUGIN=events
  keep events screen 24x100 see "warning" colored "warning" uncolored "CTRL_" ends 0 \
    -- corvane-host --plugin "$TEST_PLUGIN" events &
  keep pipedevents test_plugin events events &
  wait
}

# on_terminal TERM COMMAND...: runs a command on a terminal of this type with 40 columns.
on_terminal() {
  TERM="$1" script -qec "stty cols 40; ${*:2}" /dev/null
}

plain() { out "$1" | tr -d '\r' | sed 's/\x1b\[[0-9;]*m//g'; }
colored() { grep -q $'\x1b\\[[0-9;]*m' "$BATS_FILE_TMPDIR/$1.out"; }

@test "states are colored on a terminal" {
  colored auto
  grep -q $'\x1b\\[32mok' "$BATS_FILE_TMPDIR/auto.out"
}

@test "status and events are colored on a terminal, and not in a pipe" {
  ended status 0 || { err status; false; }
  ended events 0 || { err events; false; }
  same 1 "$(out pipedevents | grep -c ' warning ')"
  local name
  for name in piped pipedevents; do
    run ! grep -q $'\x1b' "$BATS_FILE_TMPDIR/$name.out"
  done
}

@test "NO_COLOR, a dumb terminal and --color never disable colors" {
  local name
  for name in dumb never nocolor; do
    run ! colored "$name"
  done
}

@test "--color always overrides NO_COLOR" { colored always; }

@test "list omits columns on a narrow terminal, with and without colors" {
  same "ID  STATUS   TEMP  RESERVE  SLOT  SERIAL
a1  WARNING     -        -     2  S200
a0  ok       48°C     97 %     5  S100" "$(plain auto)"
  same "$(plain auto)" "$(plain never)"
}
