#!/usr/bin/env bats
# The service and its responses to clients.

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

@test "health and readiness are reported" {
  ask health GET /healthz
  responded health 200
  same "ok" "$(out health)"
  answers_ready
  same "ready" "$(out ready)"
}

# names_threads PID MAIN NAME...: succeeds if the process has threads with these names, and only its
# main thread is named MAIN. A thread has the name of its creator until it sets its own.
names_threads() {
  local pid="$1" main="$2" name
  shift 2
  names=$(cat "/proc/$pid"/task/*/comm 2>/dev/null)
  [ "$(grep -cx "$main" <<<"$names")" -eq 1 ] || return 1
  for name; do grep -qx "$name" <<<"$names" || return 1; done
}

# expect_names PID MAIN NAME...: waits up to a minute for these names, and otherwise prints all.
expect_names() {
  SECONDS=0
  until names_threads "$@"; do
    [ "$SECONDS" -lt 60 ] || { echo "expected: ${*:2}"; echo "threads: ${names//$'\n'/ }"; return 1; }
    sleep 0.05
  done
}

@test "the threads of the service and of its plug-in process have names" {
  expect_names "$(cat "$BATS_FILE_TMPDIR/pid")" corvane-host \
    collector database event-stream frame-sender http-check reply-reader state
  expect_names "$(plugin_process)" plugin-process card-call corvane-worker frame-sender
}

# Object ids are the same in both plug-in processes.
@test "/v1/cards returns the same result as list" {
  document cards /v1/cards
  CORVANE_DATABASE=:memory: keep list host list -o json
  ended list 0
  local objects='[{k: v for k, v in o.items() if k not in ("last_read_at", "last_seen_at")} for o in d["result"]["objects"]]'
  same "$(json list "$objects")" "$(json cards "$objects")"
  same '["S100", "S200"]' "$(json cards \
    'sorted({o["serial_number"] for o in d["result"]["objects"] if o["type"] == "adapter"})')"
}

@test "a card is found by its serial number" {
  document card /v1/cards/S200
  same '["adapter", "S200"]' \
    "$(json card '[d["result"]["fields"]["type"], d["result"]["fields"]["serial_number"]]')"
  document drive /v1/cards/S100/drives/0
  same '"drive"' "$(json drive 'd["result"]["fields"]["type"]')"
}

@test "unknown cards, drives and paths return 404" {
  ask unknown GET /v1/cards/S300
  problem unknown 404 NO_SUCH_OBJECT
  ask drive GET /v1/cards/S100/drives/1
  responded drive 404
  ask path GET /v1/plugins
  problem path 404 NOT_FOUND
  ask option GET /v1/cards/--version
  problem option 404 NO_SUCH_OBJECT
}

@test "status, events and metrics return valid documents" {
  document status /v1/status
  same '["TEMPERATURE_ABOVE_WARN"]' "$(json status \
    '[r["name"] for o in d["result"]["objects"] if o["object"] == "a1" for r in o["reasons"]]')"
  document events "/v1/events?since=1h&limit=5"
  ask wrong GET "/v1/events?since=never"
  problem wrong 400 USAGE
  ask metrics GET /metrics
  responded metrics 200
  grep -qx "corvane_plugin_up 1" "$BATS_FILE_TMPDIR/metrics.out"
  tail -n 1 "$BATS_FILE_TMPDIR/metrics.out" | grep -qx "# EOF"
}

@test "a request with the entity tag of an unchanged snapshot gets 304" {
  local tag
  tag=$(curl -s --unix-socket "$SOCKET" -D - -o /dev/null http://service/v1/cards |
    sed -n 's/^ETag: \(.*\)\r$/\1/ip')
  [ -n "$tag" ]
  # A new snapshot may be published between the two requests.
  unchanged() {
    tag=$(curl -s --unix-socket "$SOCKET" -D - -o /dev/null http://service/v1/cards |
      sed -n 's/^ETag: \(.*\)\r$/\1/ip')
    [ "$(curl -s --unix-socket "$SOCKET" -H "If-None-Match: $tag" -o /dev/null \
      -w '%{http_code}' http://service/v1/cards)" = 304 ]
  }
  eventually unchanged
}

@test "a session returns the objects of the snapshot" {
  ask session GET /v1/session
  responded session 200
  same '[true, true]' "$(json session '[d["up"], d["has_cards"]]')"
  ask topology POST /v1/session '{"command": "GET_TOPOLOGY"}'
  responded topology 200
  same '[0, 5]' "$(json topology '[d["result"], len(d["payload"])]')"
}

@test "a session changes a property of the plug-in" {
  ask topology POST /v1/session '{"command": "GET_TOPOLOGY"}'
  local plugin record
  plugin=$(json topology 'd["payload"][0]["id"]')
  record=$(json topology '[p for p in d["payload"][0]["properties"] if p.get("writable")][0]')
  record=$(python3 -c 'import json,sys; p=json.loads(sys.argv[1]); p["integer"]=17; print(json.dumps(p))' "$record")
  ask set POST /v1/session "{\"command\": \"SET_PROPERTY\", \"object\": $plugin, \"payload\": $record}"
  responded set 200
  same 0 "$(json set 'd["result"]')"
  changed() {
    ask topology POST /v1/session '{"command": "GET_TOPOLOGY"}'
    [ "$(json topology '[p["integer"] for p in d["payload"][0]["properties"] if p.get("writable")][0]')" = 17 ]
  }
  eventually changed
  grep -qx "PollInterval=17" "$CORVANE_CONFIG_DIR/Corvane.ini"
}

@test "a session refuses commands reserved for the service" {
  ask initialize POST /v1/session '{"command": "INITIALIZE"}'
  problem initialize 409 RESERVED
  ask deinitialize POST /v1/session '{"command": "DEINITIALIZE"}'
  problem deinitialize 409 RESERVED
  ask events POST /v1/session '{"command": "EXECUTE_OPERATION", "payload": {"operation_id": 50002}}'
  problem events 409 RESERVED
}

@test "a session refuses an invalid command" {
  local body
  for body in '{' '[]' '{}' '{"command": "GET"}' '{"command": "GET_TOPOLOGY", "more": 1}' \
    '{"command": "SET_PROPERTY", "payload": {"integer": 1e99}}'; do
    ask wrong POST /v1/session "$body"
    problem wrong 400 BODY_INVALID
  done
}

@test "cards are served while the plug-in process is down" {
  local before
  before=$(plugin_process)
  kill -STOP "$before"
  document stopped /v1/cards
  kill -KILL "$before"
  is_stale() { document stale /v1/cards && json stale '[m["id"] for m in d["messages"]]' | grep -q STALE; }
  eventually is_stale
  same 4 "$(json stale 'len(d["result"]["objects"])')"
  eventually answers_ready
  [ "$(plugin_process)" != "$before" ]
}

@test "a plug-in that cannot be loaded is reported" {
  local socket="$BATS_FILE_TMPDIR/broken/s" pid rc=0
  CORVANE_DATABASE=:memory: corvane-host serve --plugin "$BATS_FILE_TMPDIR/none.so" --socket "$socket" \
    2>"$BATS_FILE_TMPDIR/broken.err" 3>&- &
  pid=$!
  is_down() { USED_SOCKET="$socket" ask down GET /readyz && out down | grep -q none.so; }
  eventually is_down
  problem down 503 PLUGIN_DOWN
  USED_SOCKET="$socket" ask down GET /v1/cards
  problem down 503 PLUGIN_DOWN
  USED_SOCKET="$socket" ask down GET /v1/cards/S100
  problem down 503 PLUGIN_DOWN
  USED_SOCKET="$socket" ask down POST /v1/session '{"command": "GET_TOPOLOGY"}'
  problem down 503 PLUGIN_DOWN
  USED_SOCKET="$socket" ask down GET /metrics
  responded down 200
  grep -qx "corvane_plugin_up 0" "$BATS_FILE_TMPDIR/down.out"
  kill "$pid"
  wait "$pid" || rc=$?
  same 0 "$rc"
}

@test "a second service on the same socket is refused" {
  keep second host serve --socket "$SOCKET"
  ended second 1
  said second "corvane-host: cannot listen on $SOCKET: Address already in use"
  answers_ready
}

@test "a TCP port in use is an error with advice" {
  local port
  port=$(free_port)
  python3 -c 'import socket, sys, time
server = socket.create_server(("127.0.0.1", int(sys.argv[1])))
time.sleep(3600)' "$port" 3>&- &
  local holder=$!
  is_held() { (exec 4<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; }
  eventually is_held
  keep port host serve --socket "$BATS_FILE_TMPDIR/port.sock" --listen "127.0.0.1:$port" --for 1s
  kill "$holder"
  ended port 1
  said port "corvane-host: cannot listen on 127.0.0.1:$port: Address already in use"
  said port "  Another program uses this port; pass another one, or 0 for a free one."
}

@test "an events directory that does not exist or is a file is an error" {
  local name
  echo text >"$BATS_FILE_TMPDIR/programs"
  keep none host serve --socket "$BATS_FILE_TMPDIR/d.sock" --events-directory "$BATS_FILE_TMPDIR/nope" --for 1s
  keep file host serve --socket "$BATS_FILE_TMPDIR/d.sock" --events-directory "$BATS_FILE_TMPDIR/programs" --for 1s
  for name in none file; do
    ended "$name" 1
    said "$name" "  Create the directory, or pass another one."
  done
  said none "corvane-host: --events-directory: $BATS_FILE_TMPDIR/nope: No such file or directory"
  said file "corvane-host: --events-directory: $BATS_FILE_TMPDIR/programs: not a directory"
}

@test "a socket that cannot be created is an error" {
  echo text >"$BATS_FILE_TMPDIR/file"
  keep file host serve --socket "$BATS_FILE_TMPDIR/file"
  ended file 1
  same "text" "$(cat "$BATS_FILE_TMPDIR/file")"
  keep below host serve --socket "$BATS_FILE_TMPDIR/file/s"
  ended below 1
}

@test "a signal stops the service cleanly" {
  local socket="$BATS_FILE_TMPDIR/other/s" pid rc=0 process
  CORVANE_DATABASE=:memory: corvane-host serve --simulate --socket "$socket" 2>"$BATS_FILE_TMPDIR/other.err" 3>&- &
  pid=$!
  ready() { USED_SOCKET="$socket" answers_ready; }
  eventually ready
  process=$(pgrep -P "$pid" -f plugin-process)
  kill -TERM "$pid"
  wait "$pid" || rc=$?
  same 0 "$rc"
  [ ! -e "$socket" ]
  [ ! -e "/proc/$process" ]
  same "corvane-host: note: serving at $socket" "$(cat "$BATS_FILE_TMPDIR/other.err")"
}

@test "simulated cards are not served at a default socket" {
  keep default env -u CORVANE_SOCKET corvane-host serve --simulate --for 1s
  ended default 2
  said default "corvane-host: serve: --simulate requires --socket, because all commands would use the default socket"
}

@test "plug-in processes can only be started by the service" {
  keep process corvane-host plugin-process libCorvane.so libvsl_abstraction.so
  ended process 2
  said process "corvane-host: plugin-process: only the service can start it"
}
