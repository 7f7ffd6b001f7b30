#!/usr/bin/env bats
# The service's journal entries, and the message catalog that explains them.

bats_require_minimum_version 1.5.0
load helper

setup() {
  BATS_FILE_TMPDIR="$BATS_TEST_TMPDIR"  # a machine for each test
}

@test "the catalog is valid and explains every event" {
  command -v journalctl >/dev/null || skip "needs journalctl"
  local root="$BATS_TEST_TMPDIR/root" catalog="$CORVANE_BUILD/lib/systemd/catalog/corvane.catalog"
  local name names
  names=$(sed -nE 's/^ *X\((\w+),.*/\1/p' "$CORVANE_SOURCE/host/own/EventList.h")
  [ "$(wc -w <<<"$names")" -ge 30 ]
  for name in $names; do grep -q "^Subject: $name " "$catalog"; done
  mkdir -p "$root/usr/lib/systemd/catalog"
  cp "$catalog" "$root/usr/lib/systemd/catalog/"
  journalctl --root="$root" --update-catalog 2>"$BATS_TEST_TMPDIR/err"
  same "" "$(cat "$BATS_TEST_TMPDIR/err")"
  journalctl --root="$root" --no-pager --dump-catalog >"$BATS_TEST_TMPDIR/dump"
  same "$(grep -c '^-- [0-9a-f]\{32\}$' "$catalog")" "$(grep -c '^-- [0-9a-f]\{32\}$' "$BATS_TEST_TMPDIR/dump")"
  same "$(corvane-host explain -o json 10968 | python3 -c 'import json,sys
for entry in json.load(sys.stdin)["result"]["entries"]: print(entry["meaning"]); print("\nWhat to do: " + entry["advice"])')" \
    "$(journalctl --root="$root" --no-pager --dump-catalog a19311db2a994521918a795f00002ad8 |
      sed -n '/^$/,$p' | sed -n '2,4p')"
  journalctl --root="$root" --no-pager --dump-catalog a19311db2a994521918a795f00002ad8 |
    grep -qx "Subject: CTRL_NEAR_WEARING_OUT on card @CORVANE_SERIAL_NUMBER@"
}

# A test journal receives the entries of the service. Only root can create its socket in a separate
# /run.
@test "the service sends events and changes to the journal with their fields" {
  [ "$(id -u)" -eq 0 ] || skip "needs root, to give the service a separate /run"
  unshare -m true 2>/dev/null || skip "needs unshare"
  make_machine
  make_cards
  use_short_intervals
  cat >"$BATS_TEST_TMPDIR/journal.py" <<'END'
import json, os, socket, subprocess, sys
directory = sys.argv[1]
os.makedirs("/run/systemd/journal")
receiver = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
receiver.bind("/run/systemd/journal/socket")
with open(directory + "/stderr", "w") as stderr:
    status = os.fstat(stderr.fileno())
    environment = dict(os.environ, JOURNAL_STREAM="%d:%d" % (status.st_dev, status.st_ino))
    service = subprocess.Popen(
        ["corvane-host", "serve", "--simulate", "--socket", directory + "/s", "--events-directory", directory],
        stderr=stderr, env=environment)
    with open(directory + "/service.pid", "w") as out:
        print(service.pid, file=out)
    with open(directory + "/entries", "w") as out:
        while True:
            fields = dict(line.split("=", 1) for line in receiver.recv(65536).decode().splitlines())
            print(json.dumps(fields), file=out, flush=True)
END
  unshare -m sh -c 'mount -t tmpfs tmpfs /run && exec python3 "$@"' sh "$BATS_TEST_TMPDIR/journal.py" \
    "$BATS_TEST_TMPDIR" 3>&- &
  local journal=$!
  ask() { curl -s --max-time 60 --unix-socket "$BATS_TEST_TMPDIR/s" "$@"; }
  eventually is_ready "$BATS_TEST_TMPDIR/s"
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  entry() { # EXPRESSION: succeeds if it is true for an entry `d`
    python3 - "$BATS_TEST_TMPDIR/entries" "$1" <<'END'
import json, sys
sys.exit(not any(eval(sys.argv[2]) for d in map(json.loads, open(sys.argv[1]))))
END
  }
  eventually entry 'd.get("CORVANE_EVENT") == "CTRL_TEMPERATURE_ABOVE_WARN"'
  entry 'd.get("CORVANE_SERIAL_NUMBER") == "S100" and d["PRIORITY"] == "4" and len(d["MESSAGE_ID"]) == 32 and d["SYSLOG_IDENTIFIER"] == "corvane-host"'
  ask -X POST -H 'Content-Type: application/json' -d '{"command": "GET_TOPOLOGY"}' http://service/v1/session >"$BATS_TEST_TMPDIR/topology"
  python3 - "$BATS_TEST_TMPDIR" <<'END'
import json, sys
plugin = json.load(open(sys.argv[1] + "/topology"))["payload"][0]
record = [p for p in plugin["properties"] if p.get("writable")][0]
record["integer"] = 17
json.dump({"command": "SET_PROPERTY", "object": plugin["id"], "payload": record}, open(sys.argv[1] + "/change", "w"))
END
  ask -X POST -H 'Content-Type: application/json' -d "@$BATS_TEST_TMPDIR/change" http://service/v1/session >/dev/null
  entry 'd.get("CORVANE_CLIENT_COMM") == "curl" and d["CORVANE_CLIENT_UID"] == "0" and d["MESSAGE"].startswith("POLL_INTERVAL on plugin (0x0130000000000000) requested by uid 0")' ||
    { cat "$BATS_TEST_TMPDIR/entries"; false; }
  same "corvane-host: note: serving at $BATS_TEST_TMPDIR/s" "$(cat "$BATS_TEST_TMPDIR/stderr")"
  kill "$(cat "$BATS_TEST_TMPDIR/service.pid")"
  kill "$journal"
}

@test "the service writes events to standard error if it is not connected to the journal" {
  make_machine
  make_cards
  use_short_intervals
  corvane-host serve --simulate --socket "$BATS_TEST_TMPDIR/s" 2>"$BATS_TEST_TMPDIR/stderr" 3>&- &
  local service=$!
  eventually is_ready "$BATS_TEST_TMPDIR/s"
  cardsim raise card0 TEMPERATURE_ABOVE_WARN
  written() { grep -q "^corvane-host: The temperature of adapter " "$BATS_TEST_TMPDIR/stderr"; }
  eventually written
  kill "$service"
  wait "$service"
}
