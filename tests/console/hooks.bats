#!/usr/bin/env bats
# The service's event programs.

bats_require_minimum_version 1.5.0
load helper

setup() {
  load helper
  BATS_FILE_TMPDIR="$BATS_TEST_TMPDIR"  # a machine for each test
  make_machine
  make_cards
  use_short_intervals
  export CORVANE_DATABASE="$BATS_TEST_TMPDIR/corvane.db"
  SOCKET="$BATS_TEST_TMPDIR/run/s"
  PROGRAMS="$BATS_TEST_TMPDIR/events.d"
  LINES="$BATS_TEST_TMPDIR/lines"
  mkdir -m 755 "$PROGRAMS"
  : >"$LINES"
}

teardown() {
  [ ! -e "$BATS_TEST_TMPDIR/pid" ] || kill -KILL "$(cat "$BATS_TEST_TMPDIR/pid")" 2>/dev/null || true
}

# program NAME BODY: creates a shell script in the directory. $LINES is the file for its output.
program() {
  printf '#!/bin/sh\nLINES=%q\n%s\n' "$LINES" "$2" >"$PROGRAMS/$1"
  chmod 755 "$PROGRAMS/$1"
}

# start [PROGRAM...]: starts the service, through PROGRAM if given.
start() {
  "$@" corvane-host serve --simulate --socket "$SOCKET" --events-directory "$PROGRAMS" 2>>"$BATS_TEST_TMPDIR/err" 3>&- &
  echo $! >"$BATS_TEST_TMPDIR/pid"
  eventually is_ready "$SOCKET"
}

kill_service() {
  kill "-$1" "$(cat "$BATS_TEST_TMPDIR/pid")"
  wait "$(cat "$BATS_TEST_TMPDIR/pid")" || true
}
has_lines() { [ "$(wc -l <"$LINES")" -ge "$1" ]; }
logged_count() { corvane-host --socket "$SOCKET" events -o json --limit 100 >"$BATS_TEST_TMPDIR/events.out" && json events 'len(d["result"]["events"])'; }

@test "a program receives the event as JSON and as environment variables" {
  program notify 'cat >"$LINES.json"; env | grep ^CORVANE_ | sort >"$LINES.env"; echo done >>"$LINES"'
  start
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  eventually has_lines 1
  cp "$LINES.json" "$BATS_TEST_TMPDIR/event.out"
  same '[1, "CTRL_TEMPERATURE_ABOVE_WARN", "warning", "S100", "a0"]' \
    "$(json event '[d[k] for k in ("number", "event", "severity", "serial_number", "object")]')"
  grep -qx CORVANE_EVENT=CTRL_TEMPERATURE_ABOVE_WARN "$LINES.env"
  grep -qx CORVANE_SERIAL_NUMBER=S100 "$LINES.env"
  grep -qx CORVANE_SEVERITY=warning "$LINES.env"
  run ! grep -q CORVANE_DATABASE "$LINES.env"
  kill_service TERM
  same 1 "$(wc -l <"$LINES")"
}

@test "the output and the failure of a program are logged" {
  program fails 'echo "no route"; exit 4'
  start
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  failed() { grep -qx "corvane-host: events.d: fails: event 1: exit code 4" "$BATS_TEST_TMPDIR/err"; }
  eventually failed
  grep -qx "corvane-host: events.d: fails: no route" "$BATS_TEST_TMPDIR/err"
}

@test "the failure of a program is logged even if the parent process ignores SIGCHLD" {
  program fails 'exit 4'
  start python3 -c 'import os, signal, sys
signal.signal(signal.SIGCHLD, signal.SIG_IGN)
os.execvp(sys.argv[1], sys.argv[1:])'
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  failed() { grep -qx "corvane-host: events.d: fails: event 1: exit code 4" "$BATS_TEST_TMPDIR/err"; }
  eventually failed
}

@test "a program that other users can change is not run" {
  program open 'echo open >>"$LINES"'
  chmod 757 "$PROGRAMS/open"
  program trusted 'echo trusted >>"$LINES"'
  start
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  eventually has_lines 1
  kill_service TERM
  same trusted "$(cat "$LINES")"
  grep -q "^corvane-host: events.d: skipped $PROGRAMS/open: " "$BATS_TEST_TMPDIR/err"
}

@test "programs do not run for events logged before the first start" {
  program notify 'echo "$CORVANE_NUMBER" >>"$LINES"'
  host list >/dev/null
  # The card is normal, so the service has no missed event to add.
  add_log_entries "$CORVANE_DATABASE" "2026-11-20T05:31:00 1 10980 1 'Card' 'Normal' S100 2"
  start
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  eventually has_lines 1
  kill_service TERM
  same 2 "$(cat "$LINES")"
}

@test "programs run at the next start for events logged while the service was stopped" {
  program notify 'echo "$CORVANE_NUMBER" >>"$LINES"'
  start
  kill_service TERM
  # The card is normal, so the service has no missed event to add.
  add_log_entries "$CORVANE_DATABASE" "2026-11-20T05:31:00 1 10980 1 'Card' 'Normal' S100 2"
  start
  eventually has_lines 1
  kill_service TERM
  start
  kill_service TERM
  same 1 "$(cat "$LINES")"
}

@test "programs do not run twice for an event after the service is killed" {
  program notify 'echo "$CORVANE_NUMBER" >>"$LINES"; for i in $(seq "$(cat "$LINES.sleep")"); do sleep 0.1; done'
  echo 100 >"$LINES.sleep"
  start
  local card round
  for round in 1 2 3; do
    card=card$((round % 2))
    cardsim raise $card NEAR_WEARING_OUT
    eventually has_lines "$round"
    kill_service KILL
    cardsim clear $card NEAR_WEARING_OUT
    start
  done
  echo 0 >"$LINES.sleep"
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  newest() { [ "$(tail -n 1 "$LINES")" = "$(logged_count)" ]; }
  eventually newest
  kill_service TERM
  same "" "$(sort "$LINES" | uniq -d)"
}

# lock_database: locks the database until `unlock_database`.
lock_database() {
  python3 - "$CORVANE_DATABASE" "$BATS_TEST_TMPDIR/held" "$BATS_TEST_TMPDIR/release" 3>&- <<'END' &
import os, sqlite3, sys, time
database, held, release = sys.argv[1:]
connection = sqlite3.connect(database, timeout=60, isolation_level=None)
connection.execute("BEGIN EXCLUSIVE")
open(held, "w").close()
while not os.path.exists(release):
    time.sleep(0.05)
connection.execute("ROLLBACK")
END
  eventually test -e "$BATS_TEST_TMPDIR/held"
}
unlock_database() {
  : >"$BATS_TEST_TMPDIR/release"
  wait "$!"
}
is_unlogged() { grep -q "cannot use the event log" "$BATS_TEST_TMPDIR/err"; }

@test "programs run as soon as an event that could not be logged is logged" {
  program notify 'echo "$CORVANE_EVENT" >>"$LINES"'
  start
  lock_database
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  eventually is_unlogged
  unlock_database
  eventually has_lines 1
  kill_service TERM
  same CTRL_TEMPERATURE_ABOVE_WARN "$(cat "$LINES")"
}

@test "programs run for an event that is logged after the plug-in process has died" {
  program notify 'echo "$CORVANE_EVENT" >>"$LINES"'
  start
  lock_database
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  eventually is_unlogged
  pkill -KILL -P "$(cat "$BATS_TEST_TMPDIR/pid")" -f plugin-process
  unlock_database
  eventually has_lines 1
  kill_service TERM
  same CTRL_TEMPERATURE_ABOVE_WARN "$(cat "$LINES")"
}

@test "programs run for an event that occurred while the plug-in process was dead" {
  program notify 'echo "$CORVANE_EVENT" >>"$LINES"'
  start
  pkill -KILL -P "$(cat "$BATS_TEST_TMPDIR/pid")" -f plugin-process
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  eventually has_lines 1
  kill_service TERM
  same CTRL_TEMPERATURE_ABOVE_WARN "$(cat "$LINES")"
}

@test "the example programs send mail and post documents" {
  command -v curl >/dev/null || skip "needs curl"
  local examples="$CORVANE_SOURCE/service/hooks/examples" port
  python3 - "$BATS_TEST_TMPDIR" 3>&- <<'END' &
import http.server, sys
directory = sys.argv[1]
class Handler(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        with open(directory + "/posted", "wb") as out:
            out.write(self.rfile.read(int(self.headers["Content-Length"])))
        self.send_response(204)
        self.end_headers()
    def log_message(self, *_):
        pass
server = http.server.HTTPServer(("127.0.0.1", 0), Handler)
with open(directory + "/url.draft", "w") as out:
    out.write("http://127.0.0.1:%d/hook\n" % server.server_port)
import os
os.rename(directory + "/url.draft", directory + "/url")
server.handle_request()
END
  eventually test -e "$BATS_TEST_TMPDIR/url"
  echo '{"number": 1}' | WEBHOOK_URL_FILE="$BATS_TEST_TMPDIR/url" "$examples/webhook"
  same '{"number": 1}' "$(cat "$BATS_TEST_TMPDIR/posted")"

  mkdir "$BATS_TEST_TMPDIR/bin"
  printf '#!/bin/sh\necho "$@" >%q\ncat >%q\n' "$BATS_TEST_TMPDIR/words" "$BATS_TEST_TMPDIR/mail" >"$BATS_TEST_TMPDIR/bin/curl"
  chmod 755 "$BATS_TEST_TMPDIR/bin/curl"
  CORVANE_SEVERITY=warning CORVANE_EVENT=CTRL_HOT CORVANE_EVENT_ID=10972 CORVANE_TEXT="It is hot." \
    CORVANE_TIME=2026-11-22T02:39:10+00:00 CORVANE_SERIAL_NUMBER=S100 PATH="$BATS_TEST_TMPDIR/bin:$PATH" \
    "$examples/mail" </dev/null
  grep -q -- "--mail-rcpt root@localhost --upload-file - smtp://localhost\$" "$BATS_TEST_TMPDIR/words"
  tr -d '\r' <"$BATS_TEST_TMPDIR/mail" >"$BATS_TEST_TMPDIR/text"
  grep -qx "Subject: $(uname -n): warning: CTRL_HOT" "$BATS_TEST_TMPDIR/text"
  grep -qx "It is hot." "$BATS_TEST_TMPDIR/text"
  rm "$BATS_TEST_TMPDIR/mail"
  CORVANE_SEVERITY=information PATH="$BATS_TEST_TMPDIR/bin:$PATH" "$examples/mail" </dev/null
  [ ! -e "$BATS_TEST_TMPDIR/mail" ]
}
