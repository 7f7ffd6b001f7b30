#!/usr/bin/env bats
# Operations through the service: jobs, their results, and refused requests.

bats_require_minimum_version 1.5.0
load helper
load service

setup_file() {
  load helper
  load service
  make_machine
  make_cards
  start_service
}

teardown_file() {
  load service
  stop_service
}

# run_job NAME PATH BODY: starts a job, waits until it has finished, and keeps it as NAME.out.
run_job() {
  local id
  ask "$1" POST "$2" "$3"
  responded "$1" 202
  id=$(json "$1" 'd["id"]' | tr -d '"')
  has_ended() {
    ask "$1" GET "/v1/jobs/$id"
    [ "$(json "$1" 'd["state"]')" != '"RUNNING"' ]
  }
  eventually has_ended "$1"
}

# result NAME STATE EXPRESSION VALUE: expects the state of the job, and VALUE for the expression.
result() {
  same "\"$2\"" "$(json "$1" 'd["state"]')"
  same "$4" "$(json "$1" "$3")"
}

@test "jobs detach and attach a card" {
  run_job detach /v1/cards/S100/operations/detach '{"confirm": true}'
  result detach SUCCEEDED '[d["result"]["result"][k] for k in ("operation", "before", "after")]' \
    '["OP_DETACH", {"state": "ATTACHED"}, {"state": "DETACHED"}]'
  ask card GET "/v1/cards/S100?fresh=1"
  responded card 200
  same '["DETACHED"]' "$(json card 'd["result"]["fields"]["status_reasons"]')"
  run_job attach /v1/cards/S100/operations/attach '{"confirm": true}'
  result attach SUCCEEDED 'd["result"]["result"]["after"]' '{"state": "ATTACHED"}'
}

@test "a locate LED stays on after its job" {
  run_job on /v1/cards/S100/operations/locate '{}'
  result on SUCCEEDED 'd["result"]["result"]["after"]' '{"locate_led": "ON"}'
  same true "$(cardsim get card0 beacon_state)"
  run_job off /v1/cards/S100/operations/stop-locate '{}'
  result off SUCCEEDED 'd["result"]["result"]["after"]' '{"locate_led": "OFF"}'
  same false "$(cardsim get card0 beacon_state)"
}

@test "a job of a service does not advise to start a service" {
  run_job on /v1/cards/S100/operations/locate '{}'
  result on SUCCEEDED 'd["result"]["messages"]' '[]'
  run_job off /v1/cards/S100/operations/stop-locate '{}'
}

@test "a dry-run job changes nothing" {
  run_job dry /v1/cards/S100/operations/detach '{"dry_run": true}'
  result dry SUCCEEDED '[d["dry_run"], d["result"]["result"]["changed"]]' '[true, false]'
  ask card GET "/v1/cards/S100?fresh=1"
  same '["ATTACHED"]' "$(json card 'd["result"]["fields"]["status_reasons"]')"
}

@test "a format job requires the serial number as confirmation" {
  run_job detach /v1/cards/S100/operations/detach '{"confirm": true}'
  run_job format /v1/cards/S100/drives/0/format \
    '{"confirm": "S100", "capacity": "factory", "sector_size": 4096}'
  same '"SUCCEEDED"' "$(json format 'd["state"]')"
  same "4096" "$(cardsim get card0 sector_size_bytes)"
  run_job attach /v1/cards/S100/operations/attach '{"confirm": true}'
}

@test "a format job of an attached card is refused" {
  run_job rejected /v1/cards/S100/drives/0/format '{"confirm": "S100", "capacity": "50"}'
  result rejected FAILED '[d["result"]["status"], d["result"]["id"]]' '[409, "CARD_ATTACHED"]'
}

# Each row has the path, the body, the expected status and the problem id.
@test "invalid requests are refused without a job" {
  local path body status id
  while IFS='|' read -r path body status id; do
    ask refused POST "/v1/cards/$path" "$body"
    problem refused "$status" "$id" || { echo "$path $body"; false; }
  done <<'END'
S100/operations/detach|{}|409|NOT_CONFIRMED
S100/operations/attach|{"confirm": false}|409|NOT_CONFIRMED
S100/operations/detach|{"confirm": "yes"}|400|BODY_INVALID
S100/operations/detach|{"sure": true}|400|BODY_INVALID
S100/operations/detach|[]|400|BODY_INVALID
S100/operations/detach|{|400|BODY_INVALID
S100/operations/attach|{"confirm": true, "force": true}|400|BODY_INVALID
S100/operations/explode|{}|404|NO_SUCH_OPERATION
S100/operations/online|{"confirm": true}|404|NO_SUCH_OPERATION
S300/operations/locate|{}|404|NO_SUCH_OBJECT
S100/drives/0/operations/attach|{}|404|NO_SUCH_OPERATION
S100/drives/0/operations/offline|{}|409|NOT_CONFIRMED
S100/drives/0/format|{"capacity": "80"}|409|NOT_CONFIRMED
S100/drives/0/format|{"confirm": "", "capacity": "80"}|409|NOT_CONFIRMED
S100/drives/0/format|{"confirm": "S200", "capacity": "80"}|409|WRONG_SERIAL
S100/drives/0/format|{"confirm": true}|400|BODY_INVALID
S100/drives/0/format|{"confirm": "S100", "sector_size": 0}|400|BODY_INVALID
S100/drives/0/format|{"confirm": "S100", "sector_size": 4294967296}|400|BODY_INVALID
S100/drives/0/format|{"confirm": "S100", "sector_size": 512.5}|400|BODY_INVALID
S100/drives/0/format|{"confirm": "S100", "sector_size": 1073741825}|400|BODY_INVALID
S100/drives/0/format|{"confirm": "S100", "capacity": "80GB"}|400|BODY_INVALID
S100/drives/0/format|{"dry_run": true}|400|BODY_INVALID
S100/drives/d0/format|{"confirm": "S100", "capacity": "80"}|404|NO_SUCH_OBJECT
S100/drives/7/format|{"confirm": "S100", "capacity": "80"}|404|NO_SUCH_OBJECT
S100/drives/00/format|{"confirm": "S100", "capacity": "80"}|404|NO_SUCH_OBJECT
S100/drives/d0/operations/offline|{"confirm": true}|404|NO_SUCH_OBJECT
END
  ask missing GET /v1/jobs/0-0
  problem missing 404 NO_SUCH_JOB
}

# Each row has the method, the path and the body of a request.
# Each row has the path, the body, the detail and the hint.
@test "problems of invalid requests name the members of the body and their valid values" {
  local path body detail hint
  while IFS='|' read -r path body detail hint; do
    ask refused POST "/v1/cards/$path" "$body"
    same "$detail" "$(jq -r .detail "$BATS_FILE_TMPDIR/refused.out")"
    same "$hint" "$(jq -r .hint "$BATS_FILE_TMPDIR/refused.out")"
  done <<'END'
S100/drives/0/format|{"confirm": "S100", "capacity": "5"}|capacity: invalid value '5'|Valid: maximum, factory, improved, high, or a percentage from 10 to 100.
S100/drives/0/format|{"confirm": "S100"}|capacity or sector_size is required|For example: {"capacity": "80", "confirm": "FA00000001"}
S100/drives/d0/format|{"confirm": "S100", "capacity": "80"}|card S100 has no drive 'd0'|Its drives: 0.
S100/operations/explode|{}|no operation 'explode'|Valid: locate, stop-locate, attach, detach.
S100/drives/0/operations/attach|{}|no operation 'attach'|Valid: online, offline.
END
}

@test "requests for a serial number that two cards have are refused" {
  cardsim set card1 serial_number S100
  both_seen() {
    ask both GET "/v1/cards?fresh=1"
    [ "$(json both 'sum(o.get("serial_number") == "S100" for o in d["result"]["objects"] if o["type"] == "adapter")')" = 2 ]
  }
  eventually both_seen
  local method path body
  while IFS='|' read -r method path body; do
    if [ -n "$body" ]; then ask shared "$method" "$path" "$body"; else ask shared "$method" "$path"; fi
    problem shared 409 AMBIGUOUS || { echo "$method $path"; false; }
    same '"card S100: 2 cards have this serial number: a0, a2"' "$(json shared 'd["detail"]')"
  done <<'END'
GET|/v1/cards/S100|
GET|/v1/cards/S100/drives/0|
GET|/v1/cards/S100/history?field=temperature_celsius|
POST|/v1/cards/S100/operations/detach|{"confirm": true}
POST|/v1/cards/S100/drives/0/format|{"confirm": "S100", "capacity": "factory"}
POST|/v1/cards/S100/ack|{"reason": "DETACHED"}
DELETE|/v1/cards/S100/ack?reason=DETACHED|
DELETE|/v1/cards/S100|
END
  same 2 "$(cardsim get card0 iom_state)"
  ask jobs GET /v1/jobs
  same 0 "$(json jobs 'sum(job["state"] == "RUNNING" for job in d["jobs"])')"
  run -3 corvane-host --socket "$SOCKET" ack a2 DETACHED
  [[ "$output" == *"card S100: 2 cards have this serial number: a0, a2"* ]]
  cardsim set card1 serial_number S200
  # The other card that had the number is missing now, so the number identifies the one that is here.
  both_differ() { ask one GET "/v1/cards/S100?fresh=1" && responded one 200; }
  eventually both_differ
}

@test "a card runs one job at a time" {
  kill -STOP "$(plugin_process)"
  ask first POST /v1/cards/S100/operations/locate '{}'
  ask second POST /v1/cards/S100/operations/stop-locate '{}'
  ask other POST /v1/cards/S200/operations/locate '{}'
  kill -CONT "$(plugin_process)"
  responded first 202
  problem second 409 JOB_RUNNING
  responded other 202
  all_ended() {
    ask jobs GET /v1/jobs
    [ "$(json jobs '[j["id"] for j in d["jobs"] if j["state"] == "RUNNING"]')" = "[]" ]
  }
  eventually all_ended
}

# post_with_key NAME KEY PATH BODY: like `ask NAME POST /v1/cards/PATH BODY`, with KEY as the
# idempotency key.
post_with_key() {
  curl -s --max-time 60 --unix-socket "$SOCKET" -o "$BATS_FILE_TMPDIR/$1.out" -w '%{http_code}' \
    -H "Content-Type: application/json" -H "Idempotency-Key: $2" -d "$4" \
    "http://service/v1/cards/$3" >"$BATS_FILE_TMPDIR/$1.rc"
}

@test "a repeated request with the same key starts one job, and another request with the key is refused" {
  post_with_key first key1 S100/operations/locate '{"dry_run": true}'
  post_with_key again key1 S100/operations/locate '{"dry_run": true}'
  responded first 202
  responded again 202
  same "$(json first 'd["id"]')" "$(json again 'd["id"]')"
  post_with_key body key1 S100/operations/locate '{}'
  problem body 422 IDEMPOTENCY_KEY_REUSED
  post_with_key path key1 S200/operations/locate '{"dry_run": true}'
  problem path 422 IDEMPOTENCY_KEY_REUSED
}

@test "a repeated request with the same key is logged once" {
  local i before
  logged() { grep -c '^corvane-host: runOperation/locate/S100 requested by uid ' "$BATS_FILE_TMPDIR/serve.err" || true; }
  before=$(logged)
  for i in 1 2; do
    post_with_key logged key2 S100/operations/locate '{"dry_run": true}'
    responded logged 202
  done
  same $((before + 1)) "$(logged)"
}

@test "jobs are listed, newest first" {
  run_job older /v1/cards/S200/operations/locate '{"dry_run": true}'
  run_job newer /v1/cards/S100/operations/locate '{"dry_run": true}'
  ask jobs GET /v1/jobs
  responded jobs 200
  same '["S100", "S200"]' "$(json jobs '[j["serial_number"] for j in d["jobs"]][:2]')"
}

@test "PATCH /v1/plugin changes the poll interval and rejects invalid bodies" {
  ask change PATCH /v1/plugin '{"poll_interval": 21}'
  responded change 200
  same '[{"poll_interval_seconds": 15}, {"poll_interval_seconds": 21}]' "$(json change '[d["result"]["before"], d["result"]["after"]]')"
  grep -qx "PollInterval=21" "$CORVANE_CONFIG_DIR/Corvane.ini"
  ask unknown PATCH /v1/plugin '{"interval": 21}'
  problem unknown 400 BODY_INVALID
  ask none PATCH /v1/plugin '{}'
  problem none 400 BODY_INVALID
  ask text PATCH /v1/plugin '{"poll_interval": "21"}'
  problem text 400 BODY_INVALID
}

@test "fresh=1 waits for a new snapshot, or fails while the plug-in process is down" {
  local now
  ask query GET "/v1/cards?fresh=0"
  problem query 400 QUERY_INVALID
  # Times have a resolution of one second, and the present snapshot must be older.
  sleep 1.1
  now=$(date -u +%Y-%m-%dT%H:%M:%S+00:00)
  document fresh "/v1/cards?fresh=1"
  same true "$(json fresh "d['observed_at'] >= '$now'")"
  kill -KILL "$(plugin_process)"
  is_down() { ask ready GET /readyz && [ "$(rc ready)" = 503 ]; }
  eventually is_down
  ask down GET "/v1/cards?fresh=1"
  [ "$(rc down)" = 503 ] || answers_ready
  eventually answers_ready
}

# Sends 33 requests while the plug-in process is stopped.
@test "at most 32 commands wait for the plug-in" {
  local i pids=()
  kill -STOP "$(plugin_process)"
  for i in {1..33}; do
    ask "call$i" GET "/v1/cards?fresh=1" &
    pids+=($!)
  done
  one_is_refused() { [ "$(cat "$BATS_FILE_TMPDIR"/call*.rc 2>/dev/null | grep -o 503 | wc -l)" = 1 ]; }
  eventually one_is_refused
  kill -CONT "$(plugin_process)"
  wait "${pids[@]}"
  same "$(printf '200 %.0s' {1..32})503 " "$(for i in {1..33}; do rc "call$i"; echo; done | sort | tr '\n' ' ')"
  for i in {1..33}; do
    [ "$(rc "call$i")" != 503 ] || problem "call$i" 503 TOO_MANY_CALLS
  done
}

@test "docs/openapi.yaml describes this service" {
  ask api GET /v1/openapi.json
  responded api 200
  python3 - "$CORVANE_SOURCE/docs/openapi.yaml" "$BATS_FILE_TMPDIR/api.out" <<'END'
import json, sys
import yaml

documented, served = yaml.safe_load(open(sys.argv[1])), json.load(open(sys.argv[2]))
sys.exit(0 if documented == served else "run scripts/openapi")
END
}
