# Which card library the plug-in uses: the vendor's, or the simulator with --simulate.

bats_require_minimum_version 1.5.0

setup_file() {
  load helper
  make_machine
  unset LD_LIBRARY_PATH
  make_cards
  rm -r "$CORVANE_SYSFS"
  cardsim sysfs "$CORVANE_SYSFS"
  root="$BATS_FILE_TMPDIR/root"
  mkdir -p "$root/usr/lib"
  # A vendor's library with one card, in the place where a vendor would install it.
  cc -shared -fPIC -o "$root/usr/lib/libvsl_abstraction.so" -Wl,-soname,libvsl_abstraction.so \
    -I "$CORVANE_SOURCE/examples/foreign-sdk/include" \
    "$CORVANE_SOURCE/examples/foreign-sdk/src/cards.c"
  md5sum "$root/usr/lib/libvsl_abstraction.so" >"$BATS_FILE_TMPDIR/before"
  DESTDIR="$root" cmake --install "$CORVANE_BUILD" --prefix /usr >"$BATS_FILE_TMPDIR/install.log"
}

setup() {
  load helper
  unset LD_LIBRARY_PATH
  root="$BATS_FILE_TMPDIR/root"
}

installed() { "$root/usr/bin/corvane-host" "$@"; }

@test "an installation does not change the vendor's library" {
  md5sum --check "$BATS_FILE_TMPDIR/before"
}

@test "without the vendor's library, no simulated cards are shown" {
  local bare="$BATS_TEST_TMPDIR/bare"
  DESTDIR="$bare" cmake --install "$CORVANE_BUILD" --prefix /usr >/dev/null
  run -5 --separate-stderr "$bare/usr/bin/corvane-host" list
  same "" "$output"
  same "corvane-host: cannot load the plug-in: the card vendor's library libvsl_abstraction.so is not installed
  Install the vendor's library, or pass --simulate to use simulated cards." "$stderr"
}

@test "without the vendor's library, events and rows show what is stored" {
  local bare="$BATS_TEST_TMPDIR/bare"
  DESTDIR="$bare" cmake --install "$CORVANE_BUILD" --prefix /usr >/dev/null
  export CORVANE_DATABASE="$BATS_TEST_TMPDIR/log.db"
  "$bare/usr/bin/corvane-host" --simulate events >/dev/null 2>&1
  add_log_entries "$CORVANE_DATABASE" "2026-11-19T23:59:59 3 10967 1 'BoardA (1)' 'Too hot.' S100 19038"
  run -0 --separate-stderr "$bare/usr/bin/corvane-host" events -o tsv -H
  same "2026-11-19T23:59:59+00:00 a0 Too hot." "$(cut -f 1,5,6 <<<"$output" | tr '\t' ' ')"
  same "corvane-host: note: cannot load the plug-in: the card vendor's library libvsl_abstraction.so is not installed; showing the event log only" "$stderr"
  run -0 --separate-stderr "$bare/usr/bin/corvane-host" rows adapter
  # The plug-in removes its rows when it stops.
  same "adapter: 0 rows in host_adapter_rows" "$output"
}

@test "the vendor's library is used, although there is a file of simulated cards" {
  same FOREIGN01 "$(installed get a0 serial_number)"
}

@test "--simulate uses the simulator, although the vendor's library is installed" {
  same S100 "$(LD_LIBRARY_PATH="$root/usr/lib" installed --simulate get a0 serial_number)"
}

@test "the service uses the simulator only with --simulate" {
  local option expected
  for option in "" --simulate; do
    local socket="$BATS_TEST_TMPDIR/socket$option"
    # shellcheck disable=SC2086  # no argument if empty
    LD_LIBRARY_PATH="$root/usr/lib" "$root/usr/bin/corvane-host" serve $option --for 1h \
      --socket "$socket" 2>"$BATS_TEST_TMPDIR/err" </dev/null >/dev/null 3>&- &
    local service=$!
    expected=$([ -n "$option" ] && echo S100 || echo FOREIGN01)
    eventually serves "$socket" "$expected"
    kill "$service"
    wait "$service"
  done
}

serves() { [ "$(installed --socket "$1" get a0 serial_number 2>&1)" = "$2" ]; }

@test "each component can be installed separately" {
  local row component
  while IFS='|' read -r component row; do
    DESTDIR="$BATS_TEST_TMPDIR/$component" cmake --install "$CORVANE_BUILD" --prefix /usr \
      --component "$component" >/dev/null
    same "$row" "$(cd "$BATS_TEST_TMPDIR/$component/usr" && find . -name '*.so' -o -path './bin/*' |
      LC_ALL=C sort | tr '\n' ' ')"
  done <<'END'
plugin|./lib/libCorvane.so 
host|./bin/corvane-host ./lib/libhostkit.so 
simulator|./bin/cardsim ./lib/corvane/sim/libvsl_abstraction.so 
development|
END
}

@test "a host can be built with the development files" {
  local prefix="$root/usr"
  c++ -std=c++17 -o "$BATS_TEST_TMPDIR/host" -I "$prefix/include/corvane" \
    "$CORVANE_SOURCE/examples/conformance-host/main.cpp" "$prefix/lib/libhostkit.so" -ldl
  [ -x "$BATS_TEST_TMPDIR/host" ]
}

@test "the conformance host accepts the plug-in" {
  LD_LIBRARY_PATH="$CORVANE_BUILD/lib/corvane/sim" run -0 \
    "$CORVANE_BUILD/bin/conformance_host" "$CORVANE_BUILD/lib/libCorvane.so"
  grep -qxF "ok: there is one object per adapter" <<<"$output"
  same "" "$(grep -v '^ok: ' <<<"$output" | grep -v '^Corvane:  Initialize:  adapter count is 2$')"
}
