#!/usr/bin/env bats
# The metrics command: output checked by a strict parser, and atomic replacement of text files.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  local name
  for name in odd duplicate empty nodriver worn; do cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$name.json"; done
  cards odd set card0 serial_number $'a"b\\c\nd\te\x7f'
  cards odd set card0 board_name $'B\xc3\xb6rd "x" \\n {y="z"}'
  cards odd set card1 serial_number ''
  cards duplicate set card1 serial_number S100
  cards empty new --force
  cards nodriver fail vsl_init --code 5 --text "no driver"
  cards worn set card0 iom_state 0
  cards worn raise card1 TEMPERATURE_ABOVE_ERROR
  cards worn set card1 total_physical_bytes_written 0
  cards worn set card0 power_limit_watts absent

  SECONDS=0
  keep all host metrics &
  keep date host get S100 end_of_life_date &
  keep odd with odd metrics &
  keep duplicate with duplicate metrics &
  keep worn with worn metrics &
  keep empty with empty metrics -q &
  if_direct keep bus corvane-host metrics &
  if_direct keep ugly test_plugin odd metrics &
  wait
  echo "$SECONDS" >"$BATS_FILE_TMPDIR/all.seconds"
  if_direct keep noplugin corvane-host --plugin /none metrics &
  if_direct keep notplugin corvane-host --plugin "$CORVANE_BUILD/lib/libhostkit.so" metrics &
  if_direct keep nodriver with nodriver metrics &
  if_direct keep nodatabase env CORVANE_DATABASE=/proc/none/x corvane-host metrics -q &
  keep json host metrics -o json &
  if_direct keep downjson corvane-host --plugin /none metrics -o json &
  keep file host metrics --textfile "$BATS_FILE_TMPDIR/file.prom" &
  keep oddfile with odd metrics --textfile "$BATS_FILE_TMPDIR/odd.prom" &
  if_direct keep uglyfile test_plugin odd metrics --textfile "$BATS_FILE_TMPDIR/ugly.prom" &
  if_direct keep down corvane-host --plugin /none metrics --textfile "$BATS_FILE_TMPDIR/down.prom" &
  if_direct keep emptyfile corvane-host metrics -q --textfile "$BATS_FILE_TMPDIR/empty.prom" &
  if_direct keep trace corvane-host --trace x metrics &
  if_direct keep directory corvane-host metrics -q --textfile "$BATS_FILE_TMPDIR" &
  if_direct keep nodirectory corvane-host metrics -q --textfile "$BATS_FILE_TMPDIR/none/x.prom" &
  if_direct keep other corvane-host list --textfile x &
  wait
}

metrics() { /usr/bin/python3 "$CORVANE_SOURCE/tests/console/metrics.py" "$1" "$BATS_FILE_TMPDIR/$2.out"; }
# series NAME PATTERN: prints the series of a run that match the pattern.
series() { metrics series "$1" | grep -E -- "$2"; }
no_series() { run ! series "$1" "$2"; }
promtool_accepts() { "$PROMTOOL" check metrics <"$BATS_FILE_TMPDIR/$1.prom"; }

@test "a strict parser finds type and unit of every family" {
  ended all 0
  silent all err
  same "corvane_plugin_up gauge -
corvane_database_up gauge -
corvane_adapters gauge -
corvane_adapter info -
corvane_adapter_status stateset -
corvane_adapter_status_reason stateset -
corvane_adapter_reading_age_seconds gauge seconds
corvane_adapter_temperature_celsius gauge celsius
corvane_adapter_temperature_warning_celsius gauge celsius
corvane_adapter_temperature_critical_celsius gauge celsius
corvane_adapter_reserve_space_ratio gauge ratio
corvane_adapter_reserve_space_warning_ratio gauge ratio
corvane_adapter_read_bytes counter bytes
corvane_adapter_written_bytes counter bytes
corvane_adapter_endurance_used_ratio gauge ratio
corvane_adapter_end_of_life_timestamp_seconds gauge seconds
corvane_adapter_slot_power_watts gauge watts
corvane_adapter_power_limit_watts gauge watts
corvane_adapter_write_throttling stateset -
corvane_adapter_locate_led stateset -
corvane_drive info -
corvane_drive_state stateset -
corvane_drive_physical_size_bytes gauge bytes
corvane_drive_formatted_size_bytes gauge bytes
corvane_drive_sector_size_bytes gauge bytes
corvane_events counter -
corvane_scan_last_duration_seconds gauge seconds
corvane_scan_last_age_seconds gauge seconds" "$(metrics families all)"
  same "# EOF" "$(out all | tail -1)"
}

@test "metrics has all readings of a healthy card" {
  same "corvane_adapter_temperature_celsius adapter='S100' 48.2
corvane_adapter_temperature_warning_celsius adapter='S100' 78
corvane_adapter_temperature_critical_celsius adapter='S100' 85
corvane_adapter_reserve_space_ratio adapter='S100' 0.97
corvane_adapter_reserve_space_warning_ratio adapter='S100' 0.1
corvane_adapter_read_bytes_total adapter='S100' 2199023255552
corvane_adapter_written_bytes_total adapter='S100' 1099511627776
corvane_adapter_endurance_used_ratio adapter='S100' 0.25
corvane_adapter_slot_power_watts adapter='S100' 23.7
corvane_adapter_power_limit_watts adapter='S100' 24.75
corvane_drive_physical_size_bytes adapter='S100' drive='d0' 1099511627776
corvane_drive_formatted_size_bytes adapter='S100' drive='d0' 879608463360
corvane_drive_sector_size_bytes adapter='S100' drive='d0' 512" \
    "$(series all "_(celsius|ratio|bytes|bytes_total|watts) adapter='S100'")"
  same "corvane_plugin_up 1
corvane_database_up 1
corvane_adapters 2" "$(series all '_(up|adapters) ')"
}

@test "the end-of-life timestamp is the start of the day" {
  same "corvane_adapter_end_of_life_timestamp_seconds adapter='S100' $(date -u -d "$(out date)" +%s)" \
    "$(series all "end_of_life.*S100")"
}

@test "state sets are 1 for the current state and 0 for the others" {
  same "corvane_adapter_status adapter='S200' corvane_adapter_status='OK' 0
corvane_adapter_status adapter='S200' corvane_adapter_status='WARNING' 1
corvane_adapter_status adapter='S200' corvane_adapter_status='FAILED' 0
corvane_adapter_status adapter='S200' corvane_adapter_status='MISSING' 0
corvane_adapter_status adapter='S200' corvane_adapter_status='UNREADABLE' 0
corvane_adapter_status adapter='S200' corvane_adapter_status='DETACHED' 0" \
    "$(series all "^corvane_adapter_status .*S200")"
  same "corvane_adapter_write_throttling adapter='S100' corvane_adapter_write_throttling='NONE' 1
corvane_adapter_write_throttling adapter='S100' corvane_adapter_write_throttling='PARTIAL' 0
corvane_adapter_write_throttling adapter='S100' corvane_adapter_write_throttling='COMPLETE' 0" \
    "$(series all "throttling adapter='S100'")"
  same "corvane_adapter_locate_led adapter='S100' corvane_adapter_locate_led='ON' 0
corvane_adapter_locate_led adapter='S100' corvane_adapter_locate_led='OFF' 1" \
    "$(series all "locate_led adapter='S100'")"
  same "corvane_drive_state adapter='S100' drive='d0' corvane_drive_state='AVAILABLE' 1
corvane_drive_state adapter='S100' drive='d0' corvane_drive_state='AVAILABLE_SMART' 0
corvane_drive_state adapter='S100' drive='d0' corvane_drive_state='FAILED' 0
corvane_drive_state adapter='S100' drive='d0' corvane_drive_state='UNREADABLE' 0
corvane_drive_state adapter='S100' drive='d0' corvane_drive_state='FORMATTING' 0
corvane_drive_state adapter='S100' drive='d0' corvane_drive_state='DETACHED' 0" \
    "$(series all "^corvane_drive_state adapter='S100'")"
}

@test "every reason has a series, which is 1 for current reasons" {
  same "corvane_adapter_status_reason adapter='S200' corvane_adapter_status_reason='TEMPERATURE_ABOVE_WARN' 1" \
    "$(series all '_reason=.* 1$')"
  same "corvane_adapter_status_reason adapter='S100' corvane_adapter_status_reason='DETACHED' 1
corvane_adapter_status_reason adapter='S200' corvane_adapter_status_reason='TEMPERATURE_ABOVE_ERROR' 1" \
    "$(series worn '_reason=.* 1$')"
  same "$(series all '_reason=' | sed 's/ [01]$//')" "$(series worn '_reason=' | sed 's/ [01]$//')"
  no_series all "_reason='ATTACHED'"
}

@test "unknown values have no series, but zero values do" {
  no_series all "(temperature|reserve_space)_(celsius|ratio) adapter='S200'"
  no_series worn "power_limit.*S100"
  same "corvane_adapter_written_bytes_total adapter='S200' 0" "$(series worn 'written.*S200')"
  if_direct no_series ugly '(celsius|bytes|ratio|watts) '
}

@test "info families contain the identity of cards and drives" {
  series all "^corvane_adapter_info adapter='S100' object='a0' name='SanDisk BoardA \(1\)' serial_number='S100' product='BoardA' vendor='SanDisk' .* pci_address='0000:3b:02.1' pci_slot='5' .* 1$"
  series all "^corvane_drive_info adapter='S100' drive='d0' object='a0/d0' name='DriveA \(0\)' product='DriveA' .* 1$"
}

@test "labels preserve unusual strings, with control characters escaped" {
  ended odd 0
  same 'corvane_adapter_temperature_celsius{adapter="a\"b\\c\nd\\x09e\\x7f"} 48.2' \
    "$(out odd | grep '^corvane_adapter_temperature_celsius')"
  series odd "product='Börd \"x\" .{3} \{y=\"z\"\}'"
  grep -qF 'product="Börd \"x\" \\n {y=\"z\"}"' "$BATS_FILE_TMPDIR/odd.out"
  if_direct series ugly "firmware_version='bad[\\]+xffutf'"
  run ! grep -qP '[\x00-\x09\x0b-\x1f\x7f]' "$BATS_FILE_TMPDIR/odd.out"
  if_direct run ! grep -qP '[\x00-\x09\x0b-\x1f\x7f]' "$BATS_FILE_TMPDIR/ugly.out"
}

@test "cards with the same or no serial number are distinguished by PCI address" {
  same "corvane_adapter_slot_power_watts adapter='pci:0000:3b:02.1' 23.7
corvane_adapter_slot_power_watts adapter='pci:0000:5e:00.0' 18.6" "$(series duplicate slot_power)"
  same "corvane_adapter_info corvane_adapter_info" \
    "$(series duplicate "serial_number='S100'" | cut -d' ' -f1 | paste -sd' ')"
  same "corvane_adapter_slot_power_watts adapter='pci:0000:5e:00.0' 18.6" \
    "$(series odd slot_power.*pci)"
  if_direct same "corvane_adapter_status adapter='pci:3b:3b.3b' corvane_adapter_status='49999' 1
corvane_adapter_status adapter='pci:3c:3c.3c' corvane_adapter_status='49999' 1" \
    "$(if_direct series ugly '^corvane_adapter_status .* 1$')"
}

@test "metrics succeeds on a machine without cards" {
  local name
  for name in empty $(if_direct echo bus); do
    ended "$name" 0
    same "corvane_plugin_up 1
corvane_database_up 1
corvane_adapters 0" "$(series "$name" . | grep -v duration)"
  done
  silent empty err
  if_direct said bus "corvane-host: note: No supported adapter was found in this machine."
}

@test "corvane_plugin_up is 0 and the exit code is nonzero if the plug-in does not start" {
  direct_only "serve.bats tests a service whose plug-in does not start"
  local row name code
  for row in noplugin:5 notplugin:5 nodriver:1; do
    IFS=: read -r name code <<<"$row"
    echo "$name"
    ended "$name" "$code"
    same "corvane_plugin_up 0
corvane_database_up 1" "$(metrics series "$name")"
    grep -q '^corvane-host: .*: ' "$BATS_FILE_TMPDIR/$name.err"
  done
}

@test "a usage error prints no metrics" {
  direct_only "needs no plug-in"
  ended trace 2
  silent trace out
  ended other 2
  said other "corvane-host: list: does not accept --textfile"
}

@test "the scan duration is positive and shorter than the run" {
  local seconds
  seconds=$(series all scan_last_duration_seconds | cut -d' ' -f2)
  awk -v s="$seconds" '{ exit !(s > 0 && s < $1 + 1) }' "$BATS_FILE_TMPDIR/all.seconds"
}

@test "events are counted by card, number, name and severity, including deleted log entries" {
  direct_only "starts without a database (client.bats counts events through a service)"
  local database="$BATS_TEST_TMPDIR/corvane.db"
  CORVANE_DATABASE="$database" corvane-host metrics -q
  /usr/bin/python3 - "$database" <<'END'
import sqlite3, sys
with sqlite3.connect(sys.argv[1]) as log:
    for event, severity, serial in ((10967, 3, "S1"), (10967, 3, "S1"), (10967, 3, "S2"),
                                    (10967, 4, "S1"), (49999, 9, "")):
        log.execute("INSERT INTO host_event_log (time, severity, event_id, object_id, name, message,"
                    " serial_number) VALUES (1, ?, ?, 5, '', '', ?)", (severity, event, serial))
    log.execute("DELETE FROM host_event_log WHERE number < 3")
END
  CORVANE_DATABASE="$database" keep events corvane-host metrics -q
  same "corvane_events_total adapter='S1' event_id='10967' event='CTRL_TEMPERATURE_ABOVE_WARN' severity='warning' 2
corvane_events_total adapter='S2' event_id='10967' event='CTRL_TEMPERATURE_ABOVE_WARN' severity='warning' 1
corvane_events_total adapter='S1' event_id='10967' event='CTRL_TEMPERATURE_ABOVE_WARN' severity='error' 1
corvane_events_total event_id='49999' severity='unknown' 1" "$(series events events_total)"
}

@test "the events that a known card has not had are counted as 0" {
  local card
  for card in S100 S200; do
    series all "events_total adapter='$card' event_id='10965' event='CTRL_FLASHBACK' severity='error' 0"
    series all "events_total adapter='$card' event_id='10982' event='CTRL_DETACH_FAILED' severity='warning' 0"
    series all "events_total adapter='$card' event_id='10982' event='CTRL_DETACH_FAILED' severity='error' 0"
    same 39 "$(series all "events_total adapter='$card'" | wc -l)"
  done
}

@test "an unusable database affects only the event counts" {
  direct_only "service_state.bats tests a service with an unusable database"
  ended nodatabase 0
  same "corvane_plugin_up 1
corvane_database_up 0
corvane_adapters 0" "$(series nodatabase . | grep -v duration)"
}

@test "promtool accepts the text file" {
  local name
  for name in file odd $(if_direct echo ugly down empty); do
    echo "$name"
    promtool_accepts "$name"
  done
  ended file 0
  silent file out
  silent file err
  local times="duration|age_seconds|end_of_life" # these values depend on the time of the reading
  same "$(out all | grep -v '^#' | grep -v -E "$times")" \
    "$(grep -v '^#' "$BATS_FILE_TMPDIR/file.prom" | grep -v -E "$times")"
  run ! grep -E '^# (UNIT|EOF)' "$BATS_FILE_TMPDIR/file.prom"
  same "# TYPE corvane_adapter_info gauge
# TYPE corvane_adapter_read_bytes_total counter
# TYPE corvane_adapter_status gauge" \
    "$(grep -E '^# TYPE corvane_adapter_(info|read_bytes_total|status) ' "$BATS_FILE_TMPDIR/file.prom" | sort)"
}

@test "promtool rejects invalid metrics" {
  direct_only "needs no plug-in"
  printf 'corvane_x{a="1"} 1\ncorvane_x{a="1"} 1\n' >"$BATS_FILE_TMPDIR/wrong.prom"
  run ! promtool_accepts wrong
}

@test "the text file reports a plug-in that is down" {
  direct_only "tests a plug-in in the same process"
  ended down 5
  same "corvane_plugin_up 0
corvane_database_up 1" "$(grep -v '^#' "$BATS_FILE_TMPDIR/down.prom")"
  said down "corvane-host: cannot load the plug-in: file not found: /none"
}

@test "the text file is replaced atomically and readable by all users" {
  direct_only "the text file does not depend on the source of the metrics"
  cd "$BATS_TEST_TMPDIR"
  echo old >x.prom
  chmod 600 x.prom
  ln x.prom before
  (
    umask 077
    corvane-host metrics -q --textfile x.prom
  )
  same "old" "$(cat before)"
  grep -qx "corvane_plugin_up 1" x.prom
  same "644" "$(stat -c %a x.prom)"
  same "before x.prom" "$(echo *)"
  same "" "$(find . -name '.*' -type f)"
}

@test "metrics fails if the text file cannot be replaced" {
  direct_only "the text file does not depend on the source of the metrics"
  ended directory 1
  said directory "corvane-host: cannot write $BATS_FILE_TMPDIR: Is a directory"
  ended nodirectory 1
  said nodirectory "corvane-host: cannot write $BATS_FILE_TMPDIR/none/x.prom: No such file or directory"
  mkfifo "$BATS_TEST_TMPDIR/pipe"
  run -1 corvane-host metrics -q --textfile "$BATS_TEST_TMPDIR/pipe"
  same "corvane-host: cannot write $BATS_TEST_TMPDIR/pipe: not a regular file" "$output"
  [ -p "$BATS_TEST_TMPDIR/pipe" ]
}

@test "metrics exits with 6 without write permission for the directory" {
  direct_only "the text file does not depend on the source of the metrics"
  local directory="$BATS_TEST_TMPDIR/readonly"
  mkdir "$directory"
  echo old >"$directory/x.prom"
  chmod 644 "$directory/x.prom"
  chmod 555 "$directory"
  keep denied unprivileged corvane-host metrics -q --textfile "$directory/x.prom"
  ended denied 6
  said denied "corvane-host: cannot write $directory/x.prom: Permission denied"
  same "old" "$(cat "$directory/x.prom")"
}

@test "metrics -o json contains the families" {
  valid json
  same '[0, "corvane_adapter_temperature_celsius", "gauge", "celsius", [{"labels": {"adapter": "S100"}, "value": 48.2}]]' \
    "$(json json '[d["exit_code"]] + [[f[k] for k in ("name", "type", "unit", "samples")] for f in d["result"]["families"] if f["name"] == "corvane_adapter_temperature_celsius"][0]')"
  same '[2, 1099511627776]' \
    "$(json json '[[f["samples"][0]["value"] for f in d["result"]["families"] if f["name"] == name][0] for name in ("corvane_adapters", "corvane_drive_physical_size_bytes")]')"
}

@test "metrics -o json contains corvane_plugin_up when the plug-in is down" {
  direct_only "tests a plug-in in the same process"
  ended downjson 5
  valid downjson
  same '[5, "PLUGIN_MISSING", 0]' \
    "$(json downjson '[d["exit_code"], d["messages"][0]["id"], d["result"]["families"][0]["samples"][0]["value"]]')"
}

@test "the jq examples in the monitoring guide work" {
  corvane-host() { command corvane-host "$(cards_option "$CARDSIM_STATE")" "$@"; }
  local page="$CORVANE_SOURCE/docs/monitoring.md" lines
  mapfile -t lines < <(sed -n 's/^    \(corvane-host .* | jq .*\)/\1/p' "$page")
  same 4 "${#lines[@]}"
  same $'S100\tOK\t48.2\nS200\tWARNING\t' "$(eval "${lines[0]}")"
  same "1 2 cards: 1 WARNING, 1 OK; a1 WARNING: Temperature above its warning threshold: temperature unknown, limit 78 °C" "$(eval "${lines[1]}")"
  same "Temperature above its warning threshold: temperature unknown, limit 78 °C" "$(eval "${lines[2]}")"
  same "a1" "$(eval "${lines[3]}")"
}
