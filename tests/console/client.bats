#!/usr/bin/env bats
# The commands as clients of a service, and the service's lock on its database.

# shellcheck disable=SC2030,SC2031  # variables that one test sets for itself

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/corvane.db"
  export SOCKET="$BATS_FILE_TMPDIR/run/corvane.sock"
  start_service main "$SOCKET"
}

teardown_file() {
  local pid
  for pid in "$BATS_FILE_TMPDIR"/*.pid; do kill "$(cat "$pid")" 2>/dev/null || true; done
}

# start_service NAME SOCKET: starts a service with the simulated cards and waits for its plug-in.
start_service() {
  corvane-host serve --simulate --socket "$2" 2>"$BATS_FILE_TMPDIR/$1.err" 3>&- &
  echo $! >"$BATS_FILE_TMPDIR/$1.pid"
  eventually is_ready "$2"
}
pid_of() { cat "$BATS_FILE_TMPDIR/$1.pid"; }

# served ARGUMENTS...: runs a command through the service. direct ARGUMENTS...: runs it without the
# service and its database.
served() { corvane-host --socket "$SOCKET" "$@"; }
direct() { CORVANE_DATABASE=:memory: corvane-host --simulate "$@"; }
# without_reading_times: removes the times of the readings.
without_reading_times() {
  sed -e '/^ *last_\(read\|seen\)_at /d' -e '/^[0-9-]*T[0-9:]*+00:00$/d' \
    -e '/^corvane_adapter_reading_age_seconds/d'
}

@test "reads through the service print the same output as direct reads" {
  local line
  local -a words
  while read -r line; do
    read -ra words <<<"$line"
    keep served served "${words[@]}"
    keep direct direct "${words[@]}"
    same "$(rc direct)" "$(rc served)"
    same "$(out direct | without_reading_times)" "$(out served | without_reading_times)"
    same "$(err direct)" "$(err served)"
  done <<'END'
list
tree --long
list -o tsv
show a0
show a1/d0
show plugin
get a0
get a1 status status_reasons temperature_celsius
get a9 status
get a0 nothing
status
status a0 -o tsv
op list a0
op check a0 50126
plugin
check
check a0
rows
rows adapter -o tsv
rows drives
complete show a
END
}

@test "events --for and watch --for exit with 0" {
  keep events served events --for 1s --limit 0
  ended events 0
  silent events err
  keep watch served watch --for 1s
  ended watch 0
  silent watch err
}

@test "metrics through the service contain the same card values as direct metrics" {
  keep served served metrics
  keep direct direct metrics
  ended served 0
  same "$(out direct | without_reading_times | grep '^corvane_adapter_')" "$(out served | without_reading_times | grep '^corvane_adapter_')"
  grep -qx "corvane_plugin_up 1" "$BATS_FILE_TMPDIR/served.out"
}

@test "commands use a service at the default socket, and -v reports it" {
  CORVANE_SOCKET="$SOCKET" keep default corvane-host list -v
  ended default 0
  said default "corvane-host: note: using the service at $SOCKET"
  CORVANE_SOCKET="$SOCKET" keep quiet corvane-host list -o json
  valid quiet
  same '[4, ["SIMULATED"]]' \
    "$(json quiet '[len(d["result"]["objects"]), [m["id"] for m in d["messages"]]]')"
}

@test "commands load the plug-in if CORVANE_SOCKET is empty" {
  CORVANE_SOCKET="" CORVANE_DATABASE=:memory: keep alone corvane-host get plugin name -v
  ended alone 0
  run ! grep -q "using the service" "$BATS_FILE_TMPDIR/alone.err"
}

@test "commands fail if no service answers at CORVANE_SOCKET" {
  local dead="$BATS_FILE_TMPDIR/dead.sock"
  CORVANE_SOCKET="$dead" CORVANE_DATABASE=:memory: keep dead corvane-host list
  ended dead 1
  silent dead out
  same "corvane-host: cannot connect to the service at $dead: No such file or directory
  Start the service: corvane-host serve
  Pass --direct to load the plug-in into this process instead.
  CORVANE_SOCKET names this socket." "$(err dead)"
  # A socket without a listening process.
  python3 -c 'import socket,sys; socket.socket(socket.AF_UNIX).bind(sys.argv[1])' "$dead"
  CORVANE_SOCKET="$dead" CORVANE_DATABASE=:memory: keep stale corvane-host get plugin name
  ended stale 1
  said stale "corvane-host: cannot connect to the service at $dead: Connection refused"
  CORVANE_SOCKET="$dead" CORVANE_DATABASE=:memory: keep check corvane-host check
  ended check 3
  CORVANE_SOCKET="$dead" CORVANE_DATABASE=:memory: keep direct corvane-host get plugin name --direct
  ended direct 0
}

@test "--socket fails if no service listens there" {
  keep none corvane-host --socket "$BATS_FILE_TMPDIR/nowhere" list
  ended none 1
  same "corvane-host: cannot connect to the service at $BATS_FILE_TMPDIR/nowhere: No such file or directory
  Start the service: corvane-host serve
  Pass --direct to load the plug-in into this process instead." "$(err none)"
}

@test "list exits with 6 without permission to use the socket" {
  chmod 0 "$SOCKET"
  keep denied unprivileged corvane-host --socket "$SOCKET" list
  chmod 600 "$SOCKET"
  ended denied 6
  said denied "corvane-host: cannot connect to the service at $SOCKET: Permission denied"
}

@test "--socket cannot be combined with options for loading the plug-in" {
  local option
  for option in --direct --plugin=x --simulate --database=x --trace=2 --trace-file=x; do
    keep both corvane-host list --socket "$SOCKET" "$option"
    ended both 2
    said both "corvane-host: list: --socket cannot be combined with ${option%%=*}"
  done
}

@test "--direct refuses a database that a service has locked" {
  keep held corvane-host --direct list
  ended held 4
  same "corvane-host: cannot load the plug-in: $CORVANE_DATABASE is in use by the service with process id $(pid_of main)
  Use the service: --socket $SOCKET
  Or stop the service, or pass another database with --database." "$(err held)"
  keep simulated host list -o json
  ended simulated 4
  valid simulated
  same '"DATABASE_HELD"' "$(json simulated 'd["messages"][0]["id"]')"
}

@test "a second service for the same database is refused" {
  keep second host serve --socket "$BATS_FILE_TMPDIR/second.sock"
  ended second 4
  said second "corvane-host: cannot serve: $CORVANE_DATABASE is in use by the service with process id $(pid_of main)"
  [ ! -e "$BATS_FILE_TMPDIR/second.sock" ]
}

@test "a link to the database uses the same lock" {
  ln -sf "$CORVANE_DATABASE" "$BATS_FILE_TMPDIR/link.db"
  CORVANE_DATABASE="$BATS_FILE_TMPDIR/link.db" keep link corvane-host --direct list
  ended link 4
}

@test "a killed service does not keep its database locked" {
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/killed.db"
  start_service killed "$BATS_FILE_TMPDIR/killed.sock"
  keep before corvane-host --direct list
  ended before 4
  kill -KILL "$(pid_of killed)"
  wait "$(pid_of killed)" || true
  keep after host list
  ended after 0
  # The socket of the killed service still exists, and is expected to be in use.
  CORVANE_SOCKET="$BATS_FILE_TMPDIR/killed.sock" keep again corvane-host list
  ended again 1
  CORVANE_SOCKET="$BATS_FILE_TMPDIR/killed.sock" keep direct corvane-host list --direct
  ended direct 0
}

@test "a read returns the value of a preceding change" {
  local value
  for value in 21 22 23 24 25; do
    keep set served set plugin poll_interval="$value"
    ended set 0
    same "$value" "$(served get plugin poll_interval_seconds)"
  done
  served set plugin poll_interval=2
}

@test "list, tree, status, plugin and the API say that the cards are simulated" {
  local command
  for command in list tree status plugin; do
    keep simulated served "$command"
    said simulated "corvane-host: note: the cards of this service are simulated"
  done
  keep json served list -o json
  same '["SIMULATED"]' "$(json json '[m["id"] for m in d["messages"]]')"
}

@test "the locate LED stays on after locate on exits" {
  keep on served locate a0 on
  ended on 0
  same "a0 locate LED: off -> on" "$(out on)"
  silent on err
  keep off served locate a0 off
  same "a0 locate LED: on -> off" "$(out off)"
}

@test "detach and attach work through the service" {
  keep detach served detach a0 -y
  ended detach 0
  same "a0: attached -> detached" "$(untimed detach)"
  same "DETACHED" "$(served get a0 status_reasons)"
  keep attach served attach a0 -y
  ended attach 0
  same "a0: detached -> attached" "$(untimed attach)"
}

@test "events are followed, logged once, and readable without access to the database" {
  local pid
  CORVANE_DATABASE=/proc/none/log.db corvane-host --socket "$SOCKET" events -v -f -o tsv -H --limit 0 \
    >"$BATS_FILE_TMPDIR/follow.out" 2>"$BATS_FILE_TMPDIR/follow.err" 3>&- &
  pid=$!
  eventually grep -q "using the service" "$BATS_FILE_TMPDIR/follow.err"
  cardsim raise card0 CORRECTABLE_PCI_ERRORS
  eventually grep -q CTRL_CORRECTABLE_PCI_ERRORS "$BATS_FILE_TMPDIR/follow.out"
  kill "$pid"
  wait "$pid" || true
  same 1 "$(grep -c CTRL_CORRECTABLE_PCI_ERRORS "$BATS_FILE_TMPDIR/follow.out")"
  CORVANE_DATABASE=/proc/none/log.db keep events served events -o jsonl
  ended events 0
  same 1 "$(grep -c CTRL_CORRECTABLE_PCI_ERRORS "$BATS_FILE_TMPDIR/events.out")"
  CORVANE_DATABASE=/proc/none/log.db keep status served status -o json
  silent status err
  same '["a0", true]' "$(json status '[[o["object"], o["since"] is not None] for o in d["result"]["objects"] if o["object"] == "a0"][0]')"
  CORVANE_DATABASE=/proc/none/log.db keep metrics served metrics
  grep -q '^corvane_events_total{.*"CTRL_CORRECTABLE_PCI_ERRORS".*} 1$' "$BATS_FILE_TMPDIR/metrics.out"
}

@test "curl receives server-sent events and resumes after an event" {
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  logged() { served events -o tsv | grep -q CTRL_TEMPERATURE_ABOVE_WARN; }
  eventually logged
  keep events served events -o jsonl --limit 100
  local count after
  count=$(grep -c . "$BATS_FILE_TMPDIR/events.out")
  for after in 0 $((count - 1)); do
    curl -sN --max-time 60 --unix-socket "$SOCKET" -H "Last-Event-ID: $after" \
      http://service/v1/events/stream 2>/dev/null | sed '/^event: snapshot/q' >"$BATS_FILE_TMPDIR/stream"
    same "$(seq $((after + 1)) "$count")" \
      "$(grep -B1 '^event: event' "$BATS_FILE_TMPDIR/stream" | sed -n 's/^id: //p')"
    # The documents are the same except for their times.
    same "$(tail -n +$((after + 1)) "$BATS_FILE_TMPDIR/events.out" | without_times)" \
      "$(sed -n 's/^data: \(.*"command".*\)/\1/p' "$BATS_FILE_TMPDIR/stream" | without_times)"
  done
  same 400 "$(curl -s -o /dev/null -w '%{http_code}' --unix-socket "$SOCKET" \
    -H "Last-Event-ID: x" http://service/v1/events/stream)"
}
without_times() {
  python3 -c 'import json,sys
for line in sys.stdin:
    d = json.loads(line); del d["time"], d["observed_at"]; print(json.dumps(d))'
}

@test "wait returns when the card changes" {
  local bit pid rc=0
  cardsim raise card0 CORRECTABLE_PCI_ERRORS
  keep raised served wait a0 'status!=OK'
  ended raised 0
  served wait a0 status=OK -v >"$BATS_FILE_TMPDIR/wait.out" 2>"$BATS_FILE_TMPDIR/wait.err" 3>&- &
  pid=$!
  eventually grep -q "using the service" "$BATS_FILE_TMPDIR/wait.err"
  # Earlier tests may have raised these bits.
  for bit in CORRECTABLE_PCI_ERRORS TEMPERATURE_ABOVE_WARN; do cardsim clear card0 "$bit"; done
  wait "$pid" || rc=$?
  same 0 "$rc"
  grep -qE '^a0 status=OK: OK after [0-9.]+ s$' "$BATS_FILE_TMPDIR/wait.out"
}

@test "a service that is killed during a change is reported" {
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/ending.db"
  local socket="$BATS_FILE_TMPDIR/ending.sock" pid rc=0
  start_service ending "$socket"
  corvane-host --socket "$socket" detach a0 -y >"$BATS_FILE_TMPDIR/cut.out" 2>"$BATS_FILE_TMPDIR/cut.err" 3>&- &
  pid=$!
  runs_job() { curl -s --unix-socket "$socket" http://service/v1/jobs | jq -e '.jobs[0].state == "RUNNING"'; }
  eventually runs_job
  kill -KILL "$(pid_of ending)"
  wait "$pid" || rc=$?
  same 1 "$rc"
  grep -qxF "corvane-host: the service at $socket closed the connection" "$BATS_FILE_TMPDIR/cut.err"
  grep -qxF "  The card continues a change that it has started, and nothing is rolled back." "$BATS_FILE_TMPDIR/cut.err"
  if grep -qF -- "--direct" "$BATS_FILE_TMPDIR/cut.err"; then false; fi
}

@test "a log that cannot be read is reported" {
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/lost.db"
  local socket="$BATS_FILE_TMPDIR/lost.sock" path
  start_service lost "$socket"
  rm "$CORVANE_DATABASE"*
  mkdir "$CORVANE_DATABASE"
  for path in events event-counts; do
    same 500 "$(curl -s --max-time 60 --unix-socket "$socket" -o "$BATS_FILE_TMPDIR/problem.out" \
      -w '%{http_code}' "http://service/v1/session/$path")"
    same '"NO_EVENT_LOG"' "$(json problem 'd["id"]')"
  done
  keep events corvane-host --socket "$socket" events
  ended events 1
  grep -q "^corvane-host: cannot read the event log" "$BATS_FILE_TMPDIR/events.err"
  keep status corvane-host --socket "$socket" status a1
  ended status 1
  grep -q "cannot use the event log" "$BATS_FILE_TMPDIR/status.err"
}
