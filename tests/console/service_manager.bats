#!/usr/bin/env bats
# The service under a service manager: readiness, reload, passed sockets, TCP, and a clean stop.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/corvane.db"
}

setup() {
  DIRECTORY="$BATS_TEST_TMPDIR"
  SOCKET="$DIRECTORY/run/corvane.sock"
}

teardown() {
  local pid
  for pid in "$DIRECTORY"/*.pid; do
    [ ! -e "$pid" ] || kill "$(cat "$pid")" 2>/dev/null || true
  done
}

# start_manager: starts a simulated service manager, which writes the reports of a service to the
# file `reports`, one assignment per line.
start_manager() {
  python3 - "$DIRECTORY/notify" "$DIRECTORY/reports" 3>&- <<'END' &
import socket, sys
with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager, open(sys.argv[2], "w") as out:
    manager.bind(sys.argv[1])
    while True:
        print(manager.recv(65536).decode(), file=out, flush=True)
END
  echo $! >"$DIRECTORY/manager.pid"
  eventually test -S "$DIRECTORY/notify"
  export NOTIFY_SOCKET="$DIRECTORY/notify"
}

# serve ARGUMENTS...: starts a service with simulated cards in the background.
serve() {
  CORVANE_DATABASE=:memory: corvane-host serve --simulate "$@" 2>"$DIRECTORY/err" 3>&- &
  echo $! >"$DIRECTORY/serve.pid"
}

service_pid() { cat "$DIRECTORY/serve.pid"; }

# stop: stops the service and sets STOP_RC to its exit code and STOP_SECONDS to the duration.
stop() {
  SECONDS=0
  kill -TERM "$(service_pid)"
  STOP_RC=0
  wait "$(service_pid)" || STOP_RC=$?
  STOP_SECONDS=$SECONDS
}

reported() { grep -qx -- "$1" "$DIRECTORY/reports"; }

# status CURL-ARGUMENTS...: prints the status code of a request.
status() { curl -s --max-time 60 -o "$DIRECTORY/body" -w '%{http_code}' "$@"; }
answers() { [ "$(status --unix-socket "$SOCKET" http://service/healthz)" = 200 ]; }
problem_id() { python3 -c 'import json,sys; print(json.load(open(sys.argv[1]))["id"])' "$DIRECTORY/body"; }

# tcp_sockets: prints the lines of /proc/net/tcp and /proc/net/tcp6 for the sockets of the service.
tcp_sockets() {
  ls -l "/proc/$(service_pid)/fd" | sed -n 's/.*socket:\[\([0-9]*\)\].*/\1/p' |
    while read -r inode; do awk -v inode="$inode" '$10 == inode' /proc/net/tcp /proc/net/tcp6 2>/dev/null; done
}

@test "the service reports its readiness, status and stop" {
  start_manager
  serve --socket "$SOCKET"
  eventually reported READY=1
  answers
  reported "STATUS=2 cards"
  run ! reported STOPPING=1
  stop
  same 0 "$STOP_RC"
  eventually reported STOPPING=1
  same 1 "$(grep -cx READY=1 "$DIRECTORY/reports")"
}

@test "the service is ready without a plug-in and reports the reason" {
  start_manager
  serve --plugin "$DIRECTORY/none.so" --socket "$SOCKET"
  eventually reported READY=1
  grep -q '^STATUS=plug-in down: .*none.so' "$DIRECTORY/reports"
  answers
}

@test "SIGHUP reloads, and the service continues" {
  start_manager
  serve --socket "$SOCKET"
  eventually reported READY=1
  kill -HUP "$(service_pid)"
  eventually reported RELOADING=1
  grep -q '^MONOTONIC_USEC=[0-9]*$' "$DIRECTORY/reports"
  ready_again() { [ "$(sed -n '/RELOADING=1/,$p' "$DIRECTORY/reports" | grep -cx READY=1)" = 1 ]; }
  eventually ready_again
  answers
  stop
  same 0 "$STOP_RC"
}

@test "the service notifies the watchdog" {
  start_manager
  WATCHDOG_USEC=600000 serve --socket "$SOCKET"
  fed() { [ "$(grep -cx WATCHDOG=1 "$DIRECTORY/reports")" -ge 5 ]; }
  eventually fed
}

@test "the service uses passed sockets and does not remove them" {
  local port
  port=$(free_port)
  command -v systemd-socket-activate >/dev/null || skip "needs systemd-socket-activate"
  mkdir -p "$DIRECTORY/run"
  CORVANE_DATABASE="$DIRECTORY/corvane.db" systemd-socket-activate -l "$SOCKET" -l "127.0.0.1:$port" \
    -E PATH -E HOME -E CORVANE_DATABASE -E CORVANE_CONFIG_DIR -E CARDSIM_STATE -E CORVANE_SYSFS \
    corvane-host serve --simulate --socket "$DIRECTORY/unused" 2>"$DIRECTORY/err" 3>&- &
  echo $! >"$DIRECTORY/serve.pid"
  eventually test -S "$SOCKET"
  eventually answers
  same 200 "$(status "http://127.0.0.1:$port/healthz")"
  same 403 "$(status -X POST -H 'Content-Type: application/json' -d '{}' "http://127.0.0.1:$port/v1/session")"
  same READ_ONLY "$(problem_id)"
  grep -q "serving at $SOCKET, 127.0.0.1:$port\$" "$DIRECTORY/err"
  [ ! -e "$DIRECTORY/unused" ]
  same "$SOCKET" "$(sed 1d "$DIRECTORY/corvane.db-service")"
  stop
  same 0 "$STOP_RC"
  [ -S "$SOCKET" ]
}

@test "a passed descriptor that is not a socket is refused" {
  python3 - "$DIRECTORY/rc" 2>"$DIRECTORY/err" <<'END' || true
import os, sys
os.dup2(os.open("/dev/null", os.O_RDONLY), 3)
os.environ.update(LISTEN_FDS="1", LISTEN_PID=str(os.getpid()))
os.execvp("corvane-host", ["corvane-host", "serve", "--simulate"])
END
  grep -qx "corvane-host: cannot listen on a socket passed by the service manager: Socket operation on non-socket" "$DIRECTORY/err"
}

@test "TCP access is read-only and checks the Host header" {
  local port
  port=$(free_port)
  serve --socket "$SOCKET" --listen "127.0.0.1:$port"
  eventually answers
  same 200 "$(status "http://127.0.0.1:$port/healthz")"
  same 200 "$(status "http://localhost:$port/healthz")"
  same 403 "$(status -H 'Host: evil.example' "http://127.0.0.1:$port/healthz")"
  same HOST_NOT_ALLOWED "$(problem_id)"
  same 403 "$(status -X DELETE "http://127.0.0.1:$port/v1/cards/S100")"
  same READ_ONLY "$(problem_id)"
  same 404 "$(status -X DELETE --unix-socket "$SOCKET" http://service/v1/nothing)"
}

@test "TCP is off by default" {
  serve --socket "$SOCKET"
  eventually answers
  same "" "$(tcp_sockets)"
  stop
  serve --socket "$SOCKET" --listen "127.0.0.1:$(free_port)"
  eventually answers
  [ -n "$(tcp_sockets)" ]
}

@test "non-local TCP addresses require --listen-any" {
  local port
  port=$(free_port)
  keep open host serve --socket "$SOCKET" --listen "0.0.0.0:$port"
  ended open 2
  said open "corvane-host: serve: 0.0.0.0:$port can be reached from other machines"
  [ ! -e "$SOCKET" ]
  serve --socket "$SOCKET" --listen "0.0.0.0:$port" --listen-any
  eventually answers
  same 200 "$(status "http://127.0.0.1:$port/healthz")"
  same 403 "$(status -H 'Host: evil.example' "http://127.0.0.1:$port/healthz")"
}

@test "invalid addresses are refused" {
  local address
  for address in 9188 :9188 127.0.0.1 127.0.0.1: 127.0.0.1:x 127.0.0.1:99999 ::1:9188 "[::1]" box:80 "[[x]]:80" \
    "[127.0.0.1]:80" "[]:80" "127.0.0.1]:80"; do
    keep wrong host serve --socket "$SOCKET" --listen "$address"
    [ "$(rc wrong)" != 0 ] || { echo "$address"; false; }
    err wrong | grep -qF -e "--listen: invalid address '$address'" -e "cannot listen on $address: " ||
      { err wrong; false; }
    [ ! -e "$SOCKET" ]
  done
}

@test "the service stops within 5 seconds while clients are connected" {
  serve --socket "$SOCKET"
  eventually answers
  python3 - "$SOCKET" "$DIRECTORY/connected" 3>&- <<'END' &
import socket, sys
clients = [socket.socket(socket.AF_UNIX) for _ in range(3)]
for client in clients:
    client.connect(sys.argv[1])
clients[0].sendall(b"GET /healthz HTTP/1.1\r\nHost: x\r\n\r\n")
clients[0].recv(4096)
clients[1].sendall(b"POST /v1/session HTTP/1.1\r\nHost: x\r\nContent-Length: 50\r\n\r\n{")
open(sys.argv[2], "w").close()
clients[1].recv(4096)
END
  echo $! >"$DIRECTORY/client.pid"
  eventually test -e "$DIRECTORY/connected"
  stop
  same 0 "$STOP_RC"
  [ "$STOP_SECONDS" -le 5 ]
  [ ! -e "$SOCKET" ]
}
