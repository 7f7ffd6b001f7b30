#!/usr/bin/env bats
# Timeouts and signals while the plug-in hangs or a card is slow.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  cardsim set card0 iom_state 0
  cardsim set card0 attach_ms 8000
  export TERM=xterm-256color
  export CONSOLE_TEST_PLUGIN=hang1
  if_direct stuck TERM asked list -o json &
  if_direct stuck "INT TERM" both list &
  echo "of an earlier run" >"$BATS_FILE_TMPDIR/kept.prom"
  if_direct stuck INT metrics metrics --textfile "$BATS_FILE_TMPDIR/kept.prom" &
  CONSOLE_TEST_PLUGIN=hang3 if_direct stuck TERM waiting wait a0 gone &
  CONSOLE_TEST_LOG="$BATS_FILE_TMPDIR/keyed.log" if_direct keep keyed \
    screen 24x100 run "$(until_hangs keyed)" press Ctrl-C see "the plug-in is not responding" ends 130 \
    -- corvane-host --plugin "$TEST_PLUGIN" status &
  CONSOLE_TEST_PLUGIN=hang2 if_direct keep late corvane-host --plugin "$TEST_PLUGIN" wait a0 gone --timeout 1s &
  CONSOLE_TEST_PLUGIN=hang3 CONSOLE_TEST_LOG="$BATS_FILE_TMPDIR/view.log" if_direct keep view \
    screen 24x100 see "EVENTS (0)" raw '\e[?1049h' run "$(until_hangs view)" press Ctrl-C ends 130 raw '\e[?1049l' see "is not responding" \
    -- corvane-host --plugin "$TEST_PLUGIN" watch &
  wait
  keep slow own slow attach a0 -y --timeout 1s &
  if_direct keep twice screen 24x100 see "Attaching a0 ..." press Ctrl-C see "will not be rolled back" press Ctrl-C \
    ends -2 -- corvane-host "$(cards_option "$(copy twice)")" attach a0 -y &
  keep once screen 24x100 see "Attaching a0 ..." press Ctrl-C see "will not be rolled back" ends 130 \
    -- corvane-host "$(cards_option "$(copy once)")" attach a0 -y &
  wait
}

# until_hangs NAME: prints a command that waits until the plug-in's log shows that it hangs.
until_hangs() { echo "until grep -qs hangs '$BATS_FILE_TMPDIR/$1.log'; do sleep 0.05; done"; }

# stuck SIGNALS NAME ARGUMENTS...: sends the signals to a run while the plug-in hangs.
stuck() {
  stop_when "$1" "$BATS_FILE_TMPDIR/$2.log" hangs "$2" \
    corvane-host --plugin "$TEST_PLUGIN" "${@:3}"
}

# The plug-in would hang for ten minutes or more.
@test "one signal stops a command whose read hangs" {
  direct_only "uses the test plug-in"
  ended asked 130
  [ "$(cat "$BATS_FILE_TMPDIR/asked.seconds")" -lt 500 ]
  valid asked
  same '[130, "STOPPED"]' "$(json asked '[d["exit_code"], d["messages"][-1]["id"]]')"
  said asked "corvane-host: interrupted; the plug-in is not responding"
}

@test "a second signal, even a different one, terminates the program immediately" {
  direct_only "uses the test plug-in"
  ended both 143
  same "corvane-host: terminated by a second signal" "$(err both)"
}

@test "metrics keeps the previous text file when a signal interrupts a hanging read" {
  direct_only "uses the test plug-in"
  ended metrics 130
  same "corvane-host: interrupted; the plug-in is not responding" \
    "$(err metrics)"
  same "of an earlier run" "$(cat "$BATS_FILE_TMPDIR/kept.prom")"
}

@test "wait reports the last value when interrupted" {
  direct_only "uses the test plug-in"
  ended waiting 130
  said waiting "corvane-host: note: a0 was present"
}

@test "Ctrl-C stops status and watch while a read hangs, and restores the terminal" {
  direct_only "uses the test plug-in"
  ended keyed 0 || { err keyed; false; }
  ended view 0 || { err view; false; }
}

@test "wait exits with 7 if the plug-in hangs" {
  direct_only "uses the test plug-in"
  ended late 7
  said late "corvane-host: the plug-in is not responding"
}

@test "attach exits with 7 after --timeout and reports that the job continues" {
  ended slow 7
  said slow "corvane-host: note: attach a0 is in progress and will not be rolled back"
  said slow "corvane-host: attach a0: not attached within 1 s"
}

is_attached() { [ "$(card "$1" iom_state)" = 2 ]; }

@test "the first Ctrl-C waits for a job, the second exits" {
  ended once 0 || { err once; false; }
  # A service continues the job, so the command does not wait for it.
  if_direct ended twice 0 || { err twice; false; }
  if_direct same 2 "$(card once iom_state)"
  eventually is_attached once
}
