# Helpers for the suites that test the service with the simulated cards of helper.bash. curl sends
# the requests.

# start_service [OPTION...]: starts the service at $SOCKET and waits until it is ready.
start_service() {
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/corvane.db"
  export SOCKET="$BATS_FILE_TMPDIR/run/corvane.sock"
  corvane-host serve --simulate --socket "$SOCKET" "$@" 2>"$BATS_FILE_TMPDIR/serve.err" 3>&- &
  echo $! >"$BATS_FILE_TMPDIR/pid"
  eventually answers_ready
}

stop_service() { kill "$(cat "$BATS_FILE_TMPDIR/pid")" 2>/dev/null || true; }

answers_ready() { ask ready GET /readyz && [ "$(rc ready)" = 200 ]; }

# plugin_process: prints the process id of the plug-in process.
plugin_process() { pgrep -P "$(cat "$BATS_FILE_TMPDIR/pid")" -f plugin-process; }

# ask NAME METHOD PATH [BODY]: sends a request and keeps the body of the response as NAME.out and
# its status as NAME.rc.
ask() {
  local name="$BATS_FILE_TMPDIR/$1" body=()
  [ $# -lt 4 ] || body=(-H "Content-Type: application/json" -d "$4")
  curl -s --max-time 60 --unix-socket "${USED_SOCKET:-$SOCKET}" -X "$2" -o "$name.out" \
    -w '%{http_code}' "${body[@]}" "http://service$3" >"$name.rc"
}

# responded NAME STATUS: expects this HTTP status of the response.
responded() { same "$2" "$(rc "$1")"; }

# document NAME PATH: requests a document and expects status 200 and a match with the schema.
document() {
  ask "$1" GET "$2"
  responded "$1" 200
  valid "$1"
}

# problem NAME STATUS ID: expects a problem document with this status and id.
problem() {
  responded "$1" "$2"
  same "[$2, \"$3\"]" "$(json "$1" '[d["status"], d["id"]]')"
}
