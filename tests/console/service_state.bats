#!/usr/bin/env bats
# State that the service keeps: missing cards, acknowledgments and history. Also checks the complete
# API against its document, because some requests need a missing card.

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

@test "operations, responses and problems match the API document" {
  keep api python3 "$CORVANE_SOURCE/tests/console/conformance.py" "$SOCKET"
  ended api 0 || { err api; false; }
  silent api err
}

# In the previous test, conformance.py has forgotten the card.
@test "a forgotten card is not among the known cards" {
  ask forgotten GET /v1/known-cards
  same '["S100", "S200"]' "$(json forgotten '[c["serial_number"] for c in d["cards"]]')"
}

@test "an unusable database is reported, and cards are still served" {
  rm -f "$CORVANE_DATABASE"*
  mkdir "$CORVANE_DATABASE"
  ask known GET /v1/known-cards
  problem known 500 DATABASE_UNUSABLE
  ask ack POST /v1/cards/S100/ack '{"reason": "MISSING"}'
  problem ack 500 DATABASE_UNUSABLE
  ask history GET "/v1/cards/S100/history?field=temperature_celsius"
  problem history 500 DATABASE_UNUSABLE
  ask cards GET /v1/cards
  responded cards 200
}
