#!/usr/bin/env bats
# The API in all states of the service, compared with its document.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  cardsim add 0x2001
  cardsim set card2 serial_number GONE
  cardsim set card2 pci_bus 100
}

@test "requests, responses and problems match the API document, and all of it is observed" {
  mkdir "$BATS_FILE_TMPDIR/api"
  keep api timeout 800 python3 "$CORVANE_SOURCE/tests/console/conformance.py" "$BATS_FILE_TMPDIR/api" \
    "$API_STATES" "$CORVANE_BUILD/lib/libCorvane.so" "$CORVANE_BUILD/bin/corvane-host"
  out api
  ended api 0 || { err api; false; }
  silent api err
}
