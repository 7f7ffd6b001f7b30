#!/usr/bin/env bats
# 10,000 connections from one address.

bats_require_minimum_version 1.5.0
load helper
load service

setup_file() {
  load helper
  load service
  make_machine
  make_cards
  PORT=$(free_port)
  export PORT
  start_service --listen "127.0.0.1:$PORT"
}

teardown_file() {
  load service
  stop_service
}

flood() {
  keep "$1" timeout 800 python3 "$CORVANE_SOURCE/tests/console/flood.py" "$1" "$SOCKET" "$PORT" \
    "$(cat "$BATS_FILE_TMPDIR/pid")"
  ended "$1" 0 || { err "$1"; false; }
  out "$1"
}

# The maximum number of connections over the limit that the service has accepted, but not yet
# refused.
MAX_UNREFUSED=128

# has_recovered NAME: succeeds if the service has as many files and threads as before the flood.
has_recovered() {
  local directory
  directory="/proc/$(cat "$BATS_FILE_TMPDIR/pid")"
  [ "$(json "$1" '[d["files"][0], d["threads"][0]]')" = \
    "[$(find "$directory/fd" -mindepth 1 | wc -l), $(find "$directory/task" -mindepth 1 -maxdepth 1 | wc -l)]" ]
}

# skip_if_batched NAME: marks the test as skipped if the connections were opened in batches. Called
# last, so that the checks are made in any case.
skip_if_batched() {
  local batch
  batch=$(json "$1" 'd["batch"]')
  [ "$batch" -eq 10000 ] ||
    skip "the limit on open files allows only $batch connections at the same time; 10,000 were opened in batches"
}

@test "10,000 TCP connections from one address get at most 16 responses, and other clients are served" {
  flood tcp
  same '[true, "ok"]' "$(json tcp '[all(1 <= n <= 16 for n in d["served"]), d["other"]]')"
  same '[true, true]' \
    "$(json tcp "[d['files'][1] - d['files'][0] <= 16 + $MAX_UNREFUSED, d['threads'][0] == d['threads'][1]]")"
  eventually has_recovered tcp
  same 200 "$(curl -s --max-time 60 -o /dev/null -w '%{http_code}' "http://127.0.0.1:$PORT/healthz")"
  skip_if_batched tcp
}

@test "10,000 connections to the Unix socket get at most 256 responses, and the service recovers" {
  flood unix
  same '[true, true, true]' \
    "$(json unix "[all(1 <= n <= 256 for n in d['served']), d['files'][1] - d['files'][0] <= 256 + $MAX_UNREFUSED, d['threads'][0] == d['threads'][1]]")"
  eventually has_recovered unix
  answers_ready
  skip_if_batched unix
}
