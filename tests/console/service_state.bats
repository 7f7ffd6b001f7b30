#!/usr/bin/env bats
# State that the service keeps: missing cards, acknowledgments and history.

bats_require_minimum_version 1.5.0
load helper
load service

setup_file() {
  load helper
  load service
  make_machine
  make_cards
  use_short_intervals
  cardsim add 0x2001
  cardsim set card2 serial_number GONE
  cardsim set card2 pci_bus 100
  start_service
  cardsim remove card2
  is_missing() {
    ask known GET /v1/known-cards
    [ "$(json known '[c["present"] for c in d["cards"] if c["serial_number"] == "GONE"]')" = "[false]" ]
  }
  eventually is_missing
}

teardown_file() {
  load service
  stop_service
}

@test "a missing card remains known and keeps its position" {
  ask known GET /v1/known-cards
  responded known 200
  same '[["a0", "S100", true], ["a1", "S200", true], ["a2", "GONE", false]]' \
    "$(json known '[[c["position"], c["serial_number"], c["present"]] for c in d["cards"]]')"
}

@test "an acknowledgment records the user, and can be removed" {
  ask made POST /v1/cards/S200/ack '{"reason": "TEMPERATURE_ABOVE_WARN", "until": "1h", "note": "fan ordered"}'
  responded made 201
  ask listed GET /v1/acknowledgments
  same "$(printf '[["S200", "TEMPERATURE_ABOVE_WARN", "%s", "fan ordered"]]' "$(id -un)")" \
    "$(json listed '[[a[k] for k in ("serial_number", "reason", "user", "note")] for a in d["acknowledgments"]]')"
  ask removed DELETE "/v1/cards/S200/ack?reason=TEMPERATURE_ABOVE_WARN"
  responded removed 204
  ask listed GET /v1/acknowledgments
  same '[]' "$(json listed 'd["acknowledgments"]')"
}

@test "MISSING is acknowledged only for a missing card" {
  ask present POST /v1/cards/S200/ack '{"reason": "MISSING"}'
  problem present 409 NOT_MISSING
  same '"card S200 is not missing"' "$(json present 'd["detail"]')"
  ask listed GET /v1/acknowledgments
  same '[]' "$(json listed 'd["acknowledgments"]')"
  ask missing POST /v1/cards/GONE/ack '{"reason": "MISSING"}'
  responded missing 201
  ask removed DELETE "/v1/cards/GONE/ack?reason=MISSING"
  responded removed 204
}

@test "the history contains the first reading" {
  has_value() {
    ask history GET "/v1/cards/S100/history?field=temperature_celsius"
    [ "$(json history '[p["maximum"] for p in d["points"]][:1]')" = "[48.2]" ]
  }
  eventually has_value
  same '["S100", "temperature_celsius", 60]' \
    "$(json history '[d[k] for k in ("serial_number", "field", "step_seconds")]')"
  ask unknown GET "/v1/cards/S200/history?field=temperature_celsius"
  responded unknown 200
  same '[]' "$(json unknown 'd["points"]')"
}

@test "a forgotten card is not among the known cards" {
  ask forget DELETE /v1/cards/GONE
  responded forget 204
  ask forgotten GET /v1/known-cards
  same '["S100", "S200"]' "$(json forgotten '[c["serial_number"] for c in d["cards"]]')"
}

# figures NAME: keeps the counts of events as NAME.out, and the times of problems as NAME-since.out.
figures() {
  ask "$1-metrics" GET /metrics
  responded "$1-metrics" 200
  out "$1-metrics" | grep ^corvane_events_total >"$BATS_FILE_TMPDIR/$1.out"
  ask "$1-status" GET /v1/status
  responded "$1-status" 200
  json "$1-status" '[[o["object"], o["since"]] for o in d["result"]["objects"]]' >"$BATS_FILE_TMPDIR/$1-since.out"
}

# Locks the file against reading. The lock of SQLite's own transactions only prevents writing.
lock_database() {
  python3 - "$CORVANE_DATABASE" "$BATS_FILE_TMPDIR/locked" 3>&- <<'END' &
import fcntl, pathlib, sqlite3, sys, time

database = sqlite3.connect(sys.argv[1], timeout=600, isolation_level=None)
database.execute("BEGIN EXCLUSIVE")
with open(sys.argv[1] + "-shm", "r+b") as shared:
    fcntl.lockf(shared, fcntl.LOCK_EX, 5, 123)
    pathlib.Path(sys.argv[2]).touch()
    while pathlib.Path(sys.argv[2]).exists():
        time.sleep(0.05)
END
  eventually test -e "$BATS_FILE_TMPDIR/locked"
}

@test "metrics and status contain the same events while the database is locked or deleted" {
  ask job POST /v1/cards/S100/operations/detach '{"confirm": true}'
  responded job 202
  has_start() { figures before && out before-since | grep -q '"a0", "2'; }
  eventually has_start
  grep -q 'event="CTRL_DETACHED"' "$BATS_FILE_TMPDIR/before.out"
  lock_database
  ask known GET /v1/known-cards
  problem known 500 DATABASE_FAILED
  figures locked
  rm "$BATS_FILE_TMPDIR/locked"
  wait
  same "$(out before)" "$(out locked)"
  same "$(out before-since)" "$(out locked-since)"
  rm -f "$CORVANE_DATABASE"*
  figures deleted
  same "$(out before)" "$(out deleted)"
  same "$(out before-since)" "$(out deleted-since)"
  is_recreated() { ask known GET /v1/known-cards && [ "$(json known 'len(d["cards"])')" = 2 ]; }
  eventually is_recreated
  figures recreated
  same "$(out before)" "$(out recreated)"
  same "$(out before-since)" "$(out recreated-since)"
}

@test "an unusable database is reported, and cards are still served" {
  rm -f "$CORVANE_DATABASE"*
  mkdir "$CORVANE_DATABASE"
  ask known GET /v1/known-cards
  problem known 500 DATABASE_FAILED
  ask ack POST /v1/cards/S100/ack '{"reason": "MISSING"}'
  problem ack 500 DATABASE_FAILED
  ask history GET "/v1/cards/S100/history?field=temperature_celsius"
  problem history 500 DATABASE_FAILED
  ask cards GET /v1/cards
  responded cards 200
}
