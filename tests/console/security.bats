#!/usr/bin/env bats
# Hostile requests, slow clients, and clients of other users and groups.

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

# hostile KIND ARGUMENTS...: sends the requests of this kind and expects that all are refused, and
# that the service still works afterwards.
hostile() {
  keep hostile timeout 800 python3 "$CORVANE_SOURCE/tests/console/hostile_requests.py" "$@"
  out hostile
  ended hostile 0 || { err hostile; false; }
  ask jobs GET /v1/jobs
  same '[]' "$(json jobs 'd["jobs"]')"
  ask acknowledgments GET /v1/acknowledgments
  same '[]' "$(json acknowledgments 'd["acknowledgments"]')"
  answers_ready
}

@test "NUL and invalid UTF-8 are refused in every string of every request" {
  hostile texts "$SOCKET"
}

@test "huge and deeply nested JSON is refused in every body" {
  hostile bodies "$SOCKET"
}

@test "every change is refused over TCP" {
  hostile changes "$SOCKET" "$PORT"
}

@test "a client that sends its headers slowly is disconnected" {
  timeout 300 python3 - "$SOCKET" "$PORT" <<'END'
import socket, sys, time

slow = [socket.socket(socket.AF_UNIX), socket.create_connection(("127.0.0.1", int(sys.argv[2])))]
slow[0].connect(sys.argv[1])
for client in slow:
    client.sendall(b"GET /healthz HTTP/1.1\r\nHost: localhost\r\nX-Fill: ")
while slow:
    time.sleep(0.5)
    for client in slow[:]:
        try:
            client.send(b"x")
        except OSError:
            slow.remove(client)
END
}

# as_user GROUPS METHOD PATH [BODY]: sends a request as another user who is in these groups, and
# prints the status and the problem. The status is 000 if the user cannot connect.
as_user() {
  local body=()
  [ $# -lt 4 ] || body=(-H "Content-Type: application/json" -d "$4")
  setpriv --reuid 54321 --regid 54321 --groups "$1" -- curl -s --max-time 60 -X "$2" "${body[@]}" \
    --unix-socket "$SHARED/corvane.sock" -w '\n%{http_code}\n' "http://service$3" |
    python3 -c 'import json,sys
*body, status = sys.stdin.read().splitlines()
try:
    print(status, json.loads("\n".join(body))["id"] if status >= "400" else "")
except ValueError:
    print(status)' | sed 's/ $//'
}

stop_shared() {
  [ ! -e "$BATS_TEST_TMPDIR/pid" ] || kill "$(cat "$BATS_TEST_TMPDIR/pid")" 2>/dev/null || true
  [ -z "${SHARED:-}" ] || rm -rf "$SHARED"
}
teardown() { stop_shared; }

@test "a user's groups determine which requests are permitted" {
  [ "$(id -u)" -eq 0 ] || skip "only root can run programs as other users"
  unshare --mount true 2>/dev/null || skip "this machine does not allow new namespaces"
  # Other users cannot enter the directory of the tests.
  SHARED=$(mktemp -d /tmp/corvane-security.XXXXXX)
  chmod 755 "$SHARED"
  printf 'root:x:0:\ncorvane:x:54322:\ncorvane-admin:x:54323:\n' >"$BATS_TEST_TMPDIR/group"
  # shellcheck disable=SC2016  # expanded by the inner bash
  CORVANE_DATABASE=:memory: unshare --mount --propagation private bash -c '
    mount --bind "$1" /etc/group && exec corvane-host serve --simulate --socket "$2"' \
    bash "$BATS_TEST_TMPDIR/group" "$SHARED/corvane.sock" 2>"$BATS_TEST_TMPDIR/err" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/pid"
  eventually is_ready "$SHARED/corvane.sock"

  same "660 0 54322" "$(stat -c '%a %u %g' "$SHARED/corvane.sock")"
  same "000" "$(as_user 54324 GET /v1/cards)"
  same "000" "$(as_user 0 GET /v1/cards)"
  same "200" "$(as_user 54322 GET /v1/cards)"
  same "403 PERMISSION_DENIED" "$(as_user 54322 POST /v1/cards/S100/operations/locate '{}')"
  same "403 PERMISSION_DENIED" "$(as_user 54322 PATCH /v1/plugin '{"poll_interval": 20}')"
  same "200" "$(as_user 54322,54323 GET /v1/cards)"
  same "200" "$(as_user 54322,54323 PATCH /v1/plugin '{"poll_interval": 20}')"
  same "20" "$(corvane-host --socket "$SHARED/corvane.sock" get plugin poll_interval_seconds)"
}

# Unlike in the previous test, the permissions of the socket do not keep other users out.
@test "a user in neither group may only query the health of the service" {
  [ "$(id -u)" -eq 0 ] || skip "only root can run programs as other users"
  SHARED=$(mktemp -d /tmp/corvane-security.XXXXXX)
  chmod 755 "$SHARED"
  CORVANE_DATABASE=:memory: corvane-host serve --simulate --socket "$SHARED/corvane.sock" \
    2>"$BATS_TEST_TMPDIR/err" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/pid"
  eventually is_ready "$SHARED/corvane.sock"
  chmod 666 "$SHARED/corvane.sock"
  same "200" "$(as_user 54324 GET /healthz)"
  same "403 PERMISSION_DENIED" "$(as_user 54324 GET /v1/cards)"
  same "403 PERMISSION_DENIED" "$(as_user 54324 POST /v1/cards/S100/operations/locate '{}')"
}
