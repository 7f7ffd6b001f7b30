#!/usr/bin/env bats
# With few file descriptors or an unreadable PCI device directory, commands report an error instead
# of a machine without cards.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  rmdir "$CORVANE_SYSFS/bus/pci/devices"
  cardsim sysfs "$CORVANE_SYSFS"
  # Without a service, the commands read the cards from the simulated sysfs.
  SERVED=
  [ -z "${CORVANE_TEST_SERVICE:-}" ] || SERVED=$(cards_option "$CARDSIM_STATE")
  export SERVED
  keep list corvane-host ${SERVED:+"$SERVED"} list -o value
  keep check corvane-host ${SERVED:+"$SERVED"} check
  keep metrics corvane-host ${SERVED:+"$SERVED"} metrics
}

# with_limit COMMAND LIMIT...: runs the command with each limit.
with_limit() {
  local command="$1" limit format=()
  shift
  [ "$command" != list ] || format=(-o value)
  # The leak check of the address sanitizer needs additional descriptors.
  local ASAN_OPTIONS="${ASAN_OPTIONS-}:detect_leaks=0"
  export ASAN_OPTIONS
  for limit; do
    # shellcheck disable=SC2016  # expanded by the inner bash
    keep "$command.$limit" bash -c 'ulimit -n "$1" && exec corvane-host "${@:2}"' bash "$limit" \
      ${SERVED:+"$SERVED"} "$command" "${format[@]}" &
  done
  wait
}

# Metrics that differ between two runs.
TIMES="duration|age_seconds|end_of_life"

# correct_or_error COMMAND LIMIT: expects the output of a run without a limit, or an error. The
# checks are joined by && because set -e has no effect if the caller handles the failure.
correct_or_error() {
  local name="$1.$2"
  if [ "$(rc "$name")" = "$(rc "$1")" ]; then
    same "$(out "$1" | grep -vE "$TIMES")" "$(out "$name" | grep -vE "$TIMES")"
  else
    [ "$(rc "$name")" -ne 0 ] &&
      { [ -s "$BATS_FILE_TMPDIR/$name.err" ] || [ -s "$BATS_FILE_TMPDIR/$name.out" ]; } &&
      run ! grep -q "No supported adapter" "$BATS_FILE_TMPDIR/$name".{out,err}
  fi
}

@test "with any descriptor limit, the result is correct or an error" {
  local command first limit
  for command in list check metrics; do
    for first in 3 13 23 33 43 53 63 73 83; do
      # shellcheck disable=SC2046  # numbers
      with_limit "$command" $(seq "$first" $((first + 9)))
    done
    for limit in $(seq 3 92); do
      correct_or_error "$command" "$limit" || { echo "$command with $limit descriptors"; false; }
    done
    ended "$command.92" "$(rc "$command")"
  done
}

@test "the test detects a result that is neither correct nor an error" {
  local message
  echo 1 >"$BATS_FILE_TMPDIR/list.no.rc"
  : >"$BATS_FILE_TMPDIR/list.no.out"
  for message in "" "No supported adapter was found in this machine."; do
    printf '%s' "$message" >"$BATS_FILE_TMPDIR/list.no.err"
    run -1 correct_or_error list no
  done
  echo "Too many open files" >"$BATS_FILE_TMPDIR/list.no.err"
  run -0 correct_or_error list no
  # Wrong output with the expected exit code, and success where the run without a limit fails.
  echo "$(rc list)" >"$BATS_FILE_TMPDIR/list.no.rc"
  run -1 correct_or_error list no
  echo 7 >"$BATS_FILE_TMPDIR/refused.rc"
  echo 0 >"$BATS_FILE_TMPDIR/refused.no.rc"
  echo "something" | tee "$BATS_FILE_TMPDIR/refused.no.out" >"$BATS_FILE_TMPDIR/refused.no.err"
  run -1 correct_or_error refused no
}

@test "the error for too few file descriptors states how many are needed" {
  direct_only "tests a plug-in in the same process"
  ended list.20 1
  grep -qE "^corvane-host: cannot start the plug-in: only [0-9]+ more files can be opened; up to 64 are needed \(Too many open files\)$" \
    "$BATS_FILE_TMPDIR/list.20.err"
  grep -qx "  Raise the limit: ulimit -n 256" "$BATS_FILE_TMPDIR/list.20.err"
  ended check.20 3
}

@test "an unreadable PCI device directory is an error" {
  direct_only "tests a plug-in in the same process"
  local sys="$BATS_TEST_TMPDIR/sys"
  mkdir -p "$sys/bus/pci"
  ln -s devices "$sys/bus/pci/devices"
  CORVANE_SYSFS="$sys" keep loop corvane-host list
  ended loop 1
  said loop "corvane-host: cannot read $sys/bus/pci/devices: Too many levels of symbolic links"
}

@test "list exits with 6 without permission to read the PCI devices" {
  direct_only "tests a plug-in in the same process"
  local sys="$BATS_TEST_TMPDIR/sys"
  mkdir -p "$sys/bus/pci/devices/0000:3b:02.1"
  touch "$sys/bus/pci/devices/0000:3b:02.1/vendor"
  chmod 0 "$sys/bus/pci/devices/0000:3b:02.1/vendor"
  CORVANE_SYSFS="$sys" keep file unprivileged corvane-host list
  ended file 6
  said file "corvane-host: cannot read $sys/bus/pci/devices/0000:3b:02.1/vendor: Permission denied"
  chmod 0 "$sys/bus/pci/devices"
  CORVANE_SYSFS="$sys" keep directory unprivileged corvane-host list
  chmod 755 "$sys/bus/pci/devices"
  ended directory 6
  said directory "corvane-host: cannot read $sys/bus/pci/devices: Permission denied"
}

@test "list reports no cards on a machine without a PCI bus" {
  direct_only "tests a plug-in in the same process"
  mkdir "$BATS_TEST_TMPDIR/sys"
  CORVANE_SYSFS="$BATS_TEST_TMPDIR/sys" keep bus corvane-host list
  ended bus 0
  said bus "corvane-host: note: No supported adapter was found in this machine."
}
