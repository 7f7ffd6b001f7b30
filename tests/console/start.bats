#!/usr/bin/env bats
# Failures during startup, and cleanup after the program is killed.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  rmdir "$CORVANE_SYSFS/bus/pci/devices"
  cardsim sysfs "$CORVANE_SYSFS"
}

# without_threads NAME ARGUMENTS...: like keep, runs corvane-host with a plug-in that cannot start
# threads.
without_threads() {
  local name="$1"
  shift
  LD_PRELOAD="$NO_PLUGIN_THREAD" ASAN_OPTIONS="${ASAN_OPTIONS-}:verify_asan_link_order=0" \
    keep "$name" timeout 100 corvane-host "$@"
}

@test "the program exits without stopping the plug-in if it cannot start a thread" {
  local log="$BATS_TEST_TMPDIR/log"
  # Thread creation fails once the plug-in's log has its first line, which it writes during
  # startup.
  export CONSOLE_TEST_LOG="$log" CONSOLE_TEST_NO_THREADS="$log"
  CONSOLE_TEST_PLUGIN="hang in DeInitialize" without_threads unstopped --plugin "$TEST_PLUGIN" list
  unset CONSOLE_TEST_LOG CONSOLE_TEST_NO_THREADS
  ended unstopped 1
  said unstopped "corvane-host: note: cannot start a thread to stop the plug-in; exiting without stopping it"
  said unstopped "corvane-host: cannot start a thread: Resource temporarily unavailable"
  same "Initialize" "$(cat "$log")"
}

@test "the error for an unreadable configuration suggests checking its permissions" {
  local config="$BATS_TEST_TMPDIR/config"
  mkdir "$config"
  echo PollInterval=20 >"$config/Corvane.ini"
  chmod 000 "$config/Corvane.ini"
  CORVANE_CONFIG_DIR="$config" keep denied unprivileged corvane-host list
  ended denied 6
  same "corvane-host: cannot read $config/Corvane.ini: Permission denied
  Check the permissions of the file and its directories: namei -l $config/Corvane.ini
  Run the command as the file's owner or as root. Nothing was changed." "$(err denied)"
}

@test "the error for an invalid configuration suggests repairing or removing it" {
  mkdir "$BATS_TEST_TMPDIR/config"
  printf 'PollInterval\0 [[[\n' >"$BATS_TEST_TMPDIR/config/Corvane.ini"
  CORVANE_CONFIG_DIR="$BATS_TEST_TMPDIR/config" keep damaged corvane-host list
  ended damaged 1
  same "  Repair or remove the file. Nothing was changed." "$(err damaged | tail -n +2)"
}

is_cleaned_up() { [ -z "$(ls -A "$TMPDIR")" ]; }

# signal_simulation SIGNAL NAME: sends the signal to a running simulation and expects its directory
# to be removed.
signal_simulation() {
  # Programs that a shell starts in the background ignore SIGQUIT.
  stop_when "$1" "$TMPDIR" . "$2" env --default-signal=QUIT corvane-host --simulate watch || true
  eventually is_cleaned_up
}

# fatal_signals: prints the signals that terminate the program because it does not handle them,
# including one real-time signal.
fatal_signals() {
  kill -l | tr -s ' \t' '\n' | sed -n 's/^SIG//p' |
    grep -vxE '(INT|TERM|HUP|PIPE|XFSZ|CHLD|CONT|STOP|TSTP|TTIN|TTOU|URG|WINCH)|RTM.*[-+].*|RTMAX'
}

@test "the directory of a killed simulation is removed" {
  local signal
  ulimit -c 0
  fatal_signals | grep -qx QUIT
  for signal in $(fatal_signals); do
    signal_simulation "$signal" "kill$signal"
    # A sanitizer reports some of these signals and exits with a different code.
    [ -n "$CORVANE_SANITIZE" ] || ended "kill$signal" $((128 + $(kill -l "$signal")))
  done
}

# has_child_in_other_session PID: succeeds if a child of this process has a different session.
has_child_in_other_session() {
  cat /proc/[0-9]*/stat 2>/dev/null | sed 's/.*) //' |
    awk -v pid="$1" '$2 == pid && $4 != pid {found = 1} END {exit !found}'
}

# A terminal sends the signals of its keys to the entire process group.
@test "the directory of a simulation is removed when its process group is killed" {
  local signal pid
  for signal in QUIT KILL; do
    setsid env --default-signal=QUIT corvane-host --simulate watch >/dev/null 2>&1 3>&- &
    pid=$!
    # Wait for the process that will remove the directory.
    eventually has_child_in_other_session "$pid"
    kill "-$signal" -- "-$pid"
    wait "$pid" || true
    eventually is_cleaned_up
  done
}

@test "the directory of a stopped simulation is removed" {
  local signal
  for signal in TERM HUP INT; do
    signal_simulation "$signal" "stop$signal"
    ended "stop$signal" 130
  done
}

@test "--simulate refuses another user's temporary directory" {
  [ "$(id -u)" -eq 0 ] || skip "only root can change the owner of a file"
  mkdir "$BATS_TEST_TMPDIR/tmp"
  chown "65534" "$BATS_TEST_TMPDIR/tmp"
  TMPDIR="$BATS_TEST_TMPDIR/tmp" keep tmp corvane-host --simulate list
  ended tmp 1
  said tmp "corvane-host: cannot simulate cards: $BATS_TEST_TMPDIR/tmp is owned by uid 65534"
}

@test "list prints a note if the worker thread cannot be started" {
  without_threads list list -o value
  ended list 0
  same "a0
a0/d0
a1
a1/d0" "$(out list)"
  said list "corvane-host: note: the plug-in could not start the thread that polls the cards; no events will arrive"
}

@test "commands that wait for events fail if the worker thread cannot be started" {
  local name
  without_threads wait wait a0 gone
  without_threads watch watch
  without_threads follow events -f
  without_threads timed events --for 1s
  for name in wait watch follow timed; do
    ended "$name" 1
    silent "$name" out
    said "$name" "corvane-host: cannot wait: the plug-in could not start the thread that polls the cards; no events will arrive"
  done
}

@test "attach fails immediately if its thread cannot be started" {
  cardsim set card0 iom_state 0
  without_threads attach attach a0 -y
  cardsim set card0 iom_state 2
  ended attach 1
  said attach "corvane-host: attach a0: the plug-in could not start a thread"
}

@test "the program reports that it cannot start a thread" {
  [ -z "$CORVANE_SANITIZE" ] || skip "a sanitizer needs more address space than the limit allows"
  # The stack limit sets the size of each thread's stack, which is then too large to be allocated.
  # shellcheck disable=SC2016  # expanded by the inner bash
  keep thread bash -c 'ulimit -s 8000000 && ulimit -v 4000000 && exec corvane-host list'
  ended thread 1
  said thread "corvane-host: cannot start a thread: Resource temporarily unavailable"
}

@test "only commands that record something create the database of --database" {
  local missing="$BATS_TEST_TMPDIR/none/host.db" new="$BATS_TEST_TMPDIR/new.db" command
  for command in list "get a0 status" events status; do
    # shellcheck disable=SC2086  # a row is a command line
    keep reading host --database "$new" $command
    ended reading 1
    same "corvane-host: cannot open the database $new: No such file or directory
  Check the path passed with --database.
  To create a database: corvane-host serve --database FILE" "$(err reading)"
    [ ! -e "$new" ]
  done
  keep check host --database "$new" check
  ended check 3
  keep nowhere host --database "$missing" ack a0 MISSING
  ended nowhere 1
  said nowhere "  Create its directory: mkdir -p $BATS_TEST_TMPDIR/none"
  keep serve host --database "$missing" serve --socket "$BATS_TEST_TMPDIR/s" --for 1s
  ended serve 1
  [ ! -e "$BATS_TEST_TMPDIR/none" ]
  keep locate host --database "$new" locate a0 off
  ended locate 0
  [ -e "$new" ]
  keep existing host --database "$new" list
  ended existing 0
  keep memory host --database :memory: list
  ended memory 0
}
