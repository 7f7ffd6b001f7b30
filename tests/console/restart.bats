#!/usr/bin/env bats
# Jobs and idempotency keys after the service was killed or stopped.

bats_require_minimum_version 1.5.0
load helper
load service

setup() {
  BATS_FILE_TMPDIR="$BATS_TEST_TMPDIR"  # a machine for each test
  make_machine
  make_cards
  use_short_intervals
  start_service
}

teardown() {
  [ -z "${PLUGIN:-}" ] || end_process KILL "$PLUGIN"
  end_process KILL "$(cat "$BATS_FILE_TMPDIR/pid")"
}

has_exited() { ! grep -qs '^State:[[:space:]]*[^Z[:space:]]' "/proc/$1/status"; }

# end_process SIGNAL PID: sends the signal and waits until the process has exited.
end_process() {
  [[ "$2" =~ ^[0-9]+$ ]] && [ "$2" -gt 1 ]
  kill "-$1" "$2" 2>/dev/null || true
  eventually has_exited "$2"
}

# kill_service: kills the service. The plug-in process then ends its running commands and exits.
# kill_both: kills the service and the plug-in process.
kill_service() {
  PLUGIN=$(plugin_process)
  end_process KILL "$(cat "$BATS_FILE_TMPDIR/pid")"
}
kill_both() {
  kill_service
  end_process KILL "$PLUGIN"
}

# change NAME KEY PATH BODY: sends a request with an idempotency key and keeps the headers of the
# response as NAME.head.
change() {
  local name="$BATS_FILE_TMPDIR/$1"
  curl -s --max-time 60 --unix-socket "$SOCKET" -o "$name.out" -D "$name.head" -w '%{http_code}' \
    -H "Content-Type: application/json" -H "Idempotency-Key: $2" -d "$4" \
    "http://service/v1/cards/$3" >"$name.rc"
}

# job NAME EXPRESSION: prints a value of the job `j` that was started as NAME.
job() {
  ask job GET "/v1/jobs/$(json "$1" 'd["id"]' | tr -d '"')"
  responded job 200
  json job "(lambda j: ($2))(d)"
}
job_is() { [ "$(job "$1" 'j["state"]')" = "\"$2\"" ]; }
state_is() { [ "$(cardsim get "$1" iom_state)" = "$2" ]; }
job_count() { ask jobs GET /v1/jobs && json jobs 'len(d["jobs"])'; }

# repeats NAME KEY PATH BODY: expects the repeated request to get the same response as NAME.
repeats() {
  change again "$2" "$3" "$4"
  same "$(rc "$1") $(out "$1")" "$(rc again) $(out again)"
  same "$(grep -i '^location:' "$BATS_FILE_TMPDIR/$1.head")" \
    "$(grep -i '^location:' "$BATS_FILE_TMPDIR/again.head")"
}

@test "a job that has ended is known after the service was killed" {
  change on k1 S100/operations/locate '{}'
  responded on 202
  eventually job_is on SUCCEEDED
  local before
  before=$(job on j)
  kill_both
  start_service
  same "$before" "$(job on j)"
  repeats on k1 S100/operations/locate '{}'
  change other k1 S100/operations/stop-locate '{}'
  problem other 422 IDEMPOTENCY_KEY_REUSED
  same 1 "$(job_count)"
}

@test "a job is interrupted if the service and the plug-in process are killed" {
  cardsim set card0 detach_ms 3600000
  change off k1 S100/operations/detach '{"confirm": true}'
  responded off 202
  eventually state_is card0 3
  kill_both
  start_service
  same '["INTERRUPTED", null, 503, "INTERRUPTED", "the service stopped while the job was running"]' \
    "$(job off '[j["state"], j["elapsed_seconds"]] + [j["result"][k] for k in ("status", "id", "detail")]')"
  job off 'j["result"]["hint"]' | grep -q "The card may still be working"
  repeats off k1 S100/operations/detach '{"confirm": true}'
  same 1 "$(job_count)"
  # Another kill does not change what is known, and the card can run other jobs.
  kill_both
  start_service
  eventually job_is off INTERRUPTED
  ask led POST /v1/cards/S100/operations/locate '{}'
  responded led 202
}

@test "a detach that the card finished after the service was killed has succeeded" {
  cardsim set card0 detach_ms 1500
  change off k1 S100/operations/detach '{"confirm": true}'
  responded off 202
  eventually state_is card0 3
  kill_service
  eventually has_exited "$PLUGIN"
  state_is card0 0
  start_service
  same '["SUCCEEDED", null]' "$(job off 'j["state"], j["result"]')"
  repeats off k1 S100/operations/detach '{"confirm": true}'
  same 1 "$(job_count)"
  state_is card0 0
}

@test "an interrupted format is known, and the card is shown as busy" {
  cardsim set card1 iom_state 0
  cardsim set card1 format_ms 3600000
  is_detached() { ask card GET "/v1/cards/S200?fresh=1" && json card 'd["result"]["fields"]["status_reasons"]' | grep -q DETACHED; }
  eventually is_detached
  change format k1 S200/drives/0/format '{"confirm": "S200", "capacity": "80"}'
  responded format 202
  eventually state_is card1 4
  kill_both
  cardsim set card1 iom_state 4  # a real card continues
  start_service
  same '["format", "INTERRUPTED"]' "$(job format 'j["operation"], j["state"]')"
  job format 'j["result"]["hint"]' | grep -q "The card continues a format that it has started"
  ask card GET "/v1/cards/S200?fresh=1"
  same '"BUSY"' "$(json card 'd["result"]["fields"]["activity"]')"
  repeats format k1 S200/drives/0/format '{"confirm": "S200", "capacity": "80"}'
  same 1 "$(job_count)"
}

@test "a job is interrupted if the service is stopped and the plug-in does not end" {
  cardsim set card0 detach_ms 3600000
  change off k1 S100/operations/detach '{"confirm": true}'
  responded off 202
  eventually state_is card0 3
  PLUGIN=$(plugin_process)
  kill -TERM "$(cat "$BATS_FILE_TMPDIR/pid")"
  is_stopped() { ! ask ready GET /healthz; }
  eventually is_stopped
  end_process KILL "$PLUGIN"
  eventually has_exited "$(cat "$BATS_FILE_TMPDIR/pid")"
  start_service
  same '["INTERRUPTED", null]' "$(job off 'j["state"], j["elapsed_seconds"]')"
  repeats off k1 S100/operations/detach '{"confirm": true}'
}

@test "a job of the console is known after the service was killed" {
  cardsim set card0 detach_ms 3600000
  keep off corvane-host --socket "$SOCKET" detach a0 -y --timeout 1s
  kill_both
  start_service
  ask jobs GET /v1/jobs
  same "[[\"detach\", \"SESSION\", \"$(id -un)\", \"INTERRUPTED\"]]" \
    "$(json jobs '[[j[k] for k in ("operation", "origin", "user", "state")] for j in d["jobs"]]')"
}

@test "the response to another change is repeated after the service was killed" {
  change ack k1 S200/ack '{"reason": "TEMPERATURE_ABOVE_WARN", "note": "first"}'
  responded ack 201
  kill_both
  start_service
  repeats_ack() {
    change again k1 S200/ack '{"reason": "TEMPERATURE_ABOVE_WARN", "note": "first"}'
    same "201 $(out ack)" "$(rc again) $(out again)"
  }
  repeats_ack
  ask removed DELETE "/v1/cards/S200/ack?reason=TEMPERATURE_ABOVE_WARN"
  responded removed 204
  repeats_ack
  ask acknowledged GET /v1/acknowledgments
  same '[]' "$(json acknowledged 'd["acknowledgments"]')"
}

@test "a job with a key is refused if it cannot be stored, and one without a key runs" {
  rm -f "$CORVANE_DATABASE"*
  mkdir "$CORVANE_DATABASE"
  change keyed k1 S100/operations/locate '{}'
  problem keyed 500 DATABASE_FAILED
  same 0 "$(job_count)"
  same false "$(cardsim get card0 beacon_state)"
  ask on POST /v1/cards/S100/operations/locate '{}'
  responded on 202
  eventually job_is on SUCCEEDED
  same true "$(cardsim get card0 beacon_state)"
}
