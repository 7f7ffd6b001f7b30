#!/usr/bin/env bats
# When the objects and the cards were last read, in the documents and the metrics of the service.

bats_require_minimum_version 1.5.0
load helper
load service

setup_file() {
  load helper
  load service
  make_machine
  make_cards
  # Long enough that no scan drops the removed card during the tests.
  echo PollInterval=255 >"$CORVANE_CONFIG_DIR/Corvane.ini"
  start_service
}

teardown_file() {
  load service
  stop_service
}

# last_read_at NAME SERIAL: prints when the card in the document was last read.
last_read_at() { json "$1" "[o['last_read_at'] for o in d['result']['objects'] if o.get('serial_number') == '$2'][0]"; }
# age SERIAL: prints the card's age in the metrics.
age() { sed -n "s/^corvane_adapter_reading_age_seconds{adapter=\"$1\"} //p" "$BATS_FILE_TMPDIR/metrics.out"; }

@test "documents contain the time of the snapshot and of each card's last reading" {
  document cards "/v1/cards?fresh=1"
  local observed
  observed=$(json cards 'd["observed_at"]')
  [ "$observed" != null ]
  same "$observed $observed" "$(last_read_at cards S100) $(last_read_at cards S200)"
  document card /v1/cards/S100
  same true "$(json card 'd["result"]["fields"]["last_read_at"] == d["observed_at"] >= '"$observed")"
  document drive /v1/cards/S100/drives/0
  same true "$(json drive 'd["observed_at"] >= '"$observed")"
  document status /v1/status
  same true "$(json status 'all(o["last_read_at"] == d["observed_at"] >= '"$observed"' for o in d["result"]["objects"] if o["type"] == "adapter")')"
}

@test "commands report the times of the service" {
  keep list corvane-host --socket "$SOCKET" list -o json
  valid list
  same true "$(json list 'd["observed_at"] is not None')"
  same "$(json list 'd["observed_at"]')" "$(last_read_at list S200)"
  keep version corvane-host version -o json
  valid version
  same null "$(json version 'd["observed_at"]')"
}

@test "the entity tag does not change with the age of a snapshot" {
  tag() { curl -s --unix-socket "$SOCKET" -D - -o "$BATS_FILE_TMPDIR/tagged.out" http://service/v1/cards | sed -n 's/^ETag: \(.*\)\r$/\1/ip'; }
  local before after observed
  # A new snapshot may be published between the two requests.
  unchanged() {
    before=$(tag)
    observed=$(json tagged 'd["observed_at"]')
    sleep 1.1
    after=$(tag)
    [ "$before" = "$after" ]
  }
  eventually unchanged
  same "$observed" "$(json tagged 'd["observed_at"]')"
}

@test "only the reading of a removed card becomes stale" {
  document before "/v1/cards?fresh=1"
  local read
  read=$(last_read_at before S200)
  cardsim remove card1
  is_newer() { document after "/v1/cards?fresh=1" && [ "$(json after 'd["observed_at"]')" != "$read" ]; }
  eventually is_newer
  same "$(json after 'd["observed_at"]')" "$(last_read_at after S100)"
  same true "$(json before "d['observed_at'] >= $(last_read_at after S200)")"
  document status /v1/status
  same true "$(json status '[o["last_read_at"] < d["observed_at"] for o in d["result"]["objects"] if o["object"] == "a1"][0]')"
  ask metrics GET /metrics
  responded metrics 200
  same true "$(python3 -c 'import sys; print(str(0 <= float(sys.argv[1]) < float(sys.argv[2])).lower())' "$(age S100)" "$(age S200)")"
  grep -q "^corvane_scan_last_age_seconds " "$BATS_FILE_TMPDIR/metrics.out"
}

@test "metrics contain the ages while the plug-in process is down" {
  # Each kill lengthens the pause before the next start.
  is_down() {
    pkill -KILL -P "$(cat "$BATS_FILE_TMPDIR/pid")" -f plugin-process || true
    ask metrics GET /metrics
    grep -qx "corvane_plugin_up 0" "$BATS_FILE_TMPDIR/metrics.out"
  }
  eventually is_down
  [ -n "$(age S100)" ]
  grep -q "^corvane_scan_last_age_seconds " "$BATS_FILE_TMPDIR/metrics.out"
  run ! grep -q "^corvane_adapter_temperature_celsius{" "$BATS_FILE_TMPDIR/metrics.out"
  document cards /v1/cards
  [ "$(last_read_at cards S100)" != null ]
}
