# Shared by the test files of the service: it runs on the file's simulated cards, and its clients are
# runs of curl.

# start_service [OPTION...]: starts it at $SOCKET, and waits until the plug-in has reported its cards.
start_service() {
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/corvane.db"
  export SOCKET="$BATS_FILE_TMPDIR/run/corvane.sock"
  corvane-host serve --simulate --socket "$SOCKET" "$@" 2>"$BATS_FILE_TMPDIR/serve.err" 3>&- &
  echo $! >"$BATS_FILE_TMPDIR/pid"
  eventually answers_ready
}

stop_service() { kill "$(cat "$BATS_FILE_TMPDIR/pid")" 2>/dev/null || true; }

answers_ready() { ask ready GET /readyz && [ "$(rc ready)" = 200 ]; }

# plugin_process: the pid of the process that holds the plug-in.
plugin_process() { pgrep -P "$(cat "$BATS_FILE_TMPDIR/pid")" -f plugin-process; }

# ask NAME METHOD PATH [BODY]: keeps the body of the response as NAME.out and its status as NAME.rc.
ask() {
  local name="$BATS_FILE_TMPDIR/$1" body=()
  [ $# -lt 4 ] || body=(-H "Content-Type: application/json" -d "$4")
  curl -s --max-time 60 --unix-socket "${USED_SOCKET:-$SOCKET}" -X "$2" -o "$name.out" \
    -w '%{http_code}' "${body[@]}" "http://service$3" >"$name.rc"
}

# document NAME PATH: a response with status 200 that matches the schema.
document() {
  ask "$1" GET "$2"
  ended "$1" 200
  valid "$1"
}

# problem NAME STATUS ID: the response is a problem document.
problem() {
  ended "$1" "$2"
  same "[$2, \"$3\"]" "$(json "$1" '[d["status"], d["id"]]')"
}
