# Shared by the test files: two simulated cards, and runs of the program whose streams and exit code
# are kept in files, because each run takes more than a second.

PATH="$CORVANE_BUILD/bin:$PATH"
SCHEMA="$CORVANE_SOURCE/docs/corvane-host.schema.json"

# A healthy card and one that is too hot and hides its temperature and reserve.
make_cards() {
  cardsim new
  cardsim add 0x2001
  cardsim add 0x3001
  local row
  for row in "card0 serial_number S100" "card0 board_name BoardA" "card0 product_name DriveA" \
    "card0 pci_bus 59" "card0 pci_device 2" "card0 pci_function 1" "card0 pci_slot_num 5" \
    "card0 temp_internal_deg_c 48.2" "card0 reserve_space_pct 97" \
    "card0 factory_size_bytes 1099511627776" "card0 iom_format_size_bytes 879609302220" \
    "card0 iom_format_size_pct 80" "card0 sector_size_bytes 512" \
    "card0 total_physical_bytes_read 2199023255552" \
    "card0 total_physical_bytes_written 1099511627776" "card0 rated_endurance_tbytes 4" \
    "card1 serial_number S200" "card1 pci_bus 94" "card1 factory_size_bytes 2199023255552" \
    "card1 temp_internal_deg_c absent" "card1 reserve_space_pct absent"; do
    # shellcheck disable=SC2086  # a row is three words
    cardsim set $row
  done
  cardsim raise card1 TEMPERATURE_ABOVE_WARN
}

# A separate machine for each test file: no cards, no configuration, no database, no color.
make_machine() {
  export HOME="$BATS_FILE_TMPDIR" TMPDIR="$BATS_FILE_TMPDIR/tmp" LC_ALL=C.UTF-8
  export CORVANE_CONFIG_DIR="$BATS_FILE_TMPDIR/config" CORVANE_DATABASE=:memory:
  export CORVANE_SOCKET="$BATS_FILE_TMPDIR/none.sock"
  export CARDSIM_STATE="$BATS_FILE_TMPDIR/cards.json" CORVANE_SYSFS="$BATS_FILE_TMPDIR/sys"
  unset CORVANE_TRACE CORVANE_TRACE_FILE NO_COLOR XDG_STATE_HOME XDG_CONFIG_HOME
  mkdir -p "$TMPDIR" "$CORVANE_CONFIG_DIR" "$CORVANE_SYSFS/bus/pci/devices"
}

# keep NAME COMMAND...: runs the command and keeps NAME.out, NAME.err and NAME.rc.
keep() {
  local name="$BATS_FILE_TMPDIR/$1" rc=0
  shift
  "$@" >"$name.out" 2>"$name.err" </dev/null || rc=$?
  echo "$rc" >"$name.rc"
}

# host: with simulated cards. odd: with a plug-in that behaves oddly.
host() { corvane-host --simulate "$@"; }
odd() { CONSOLE_TEST_PLUGIN="$1" corvane-host --plugin "$ODD_PLUGIN" "${@:2}"; }

out() { cat "$BATS_FILE_TMPDIR/$1.out"; }
err() { cat "$BATS_FILE_TMPDIR/$1.err"; }
rc() { cat "$BATS_FILE_TMPDIR/$1.rc"; }

# same EXPECTED ACTUAL: fails and shows the difference if they differ.
same() { diff <(printf '%s\n' "$1") <(printf '%s\n' "$2"); }

# ended NAME CODE
ended() { same "$2" "$(rc "$1")"; }

# said NAME LINE: the line is on standard error.
said() { grep -qxF -- "$2" "$BATS_FILE_TMPDIR/$1.err" || { err "$1"; false; }; }

# silent NAME STREAM: nothing was written to it.
silent() { [ ! -s "$BATS_FILE_TMPDIR/$1.$2" ] || { cat "$BATS_FILE_TMPDIR/$1.$2"; false; }; }

# unprivileged COMMAND...: runs the command without root's privilege to ignore file permissions. The
# user stays the same, and can enter the directories of the programs and tests.
unprivileged() {
  local drop=()
  [ "$(id -u)" -ne 0 ] || drop=(setpriv --bounding-set=-all --inh-caps=-all --ambient-caps=-all --)
  "${drop[@]}" "$@"
}

# eventually COMMAND...: repeats the command until it succeeds.
eventually() { until "$@"; do sleep 0.05; done; }

# is_ready SOCKET: the service at that socket has a running plug-in.
is_ready() { curl -s --max-time 60 --unix-socket "$1" http://service/readyz | grep -qx ready; }

# has_read TRACE: the host whose trace of level 2 is in that file has read its objects.
has_read() { grep -qs "LEAVE GetTopology" "$1"; }

# untimed NAME: standard output without the duration of jobs, which depends on the machine.
untimed() { out "$1" | sed -E -e 's/, in [0-9:]+$//' -e 's/^Done in [0-9:]+\./Done./'; }

# stop_when SIGNALS FILE PATTERN NAME PROGRAM...: keeps a run that receives the signals in turn once
# FILE, or a file in the directory FILE, matches PATTERN. Fails if the program ends before that. Under
# setsid, its whole group receives the signals. NAME.seconds is the time that it took to end;
# NAME.log and NAME.signaled are for the odd plug-in.
stop_when() {
  local signals="$1" file="$2" pattern="$3" name="$BATS_FILE_TMPDIR/$4" pid rc=0 signal
  shift 4
  CONSOLE_TEST_LOG="$name.log" CONSOLE_TEST_SIGNALED="$name.signaled" "$@" >"$name.out" 2>"$name.err" </dev/null 3>&- &
  pid=$!
  until grep -rqs -- "$pattern" "$file"; do
    sleep 0.05
    [ -e "/proc/$pid" ] || { echo "not stopped" | tee "$name.rc"; return 1; }
  done
  SECONDS=0
  [ "$1" != setsid ] || pid="-$pid"
  for signal in $signals; do
    kill "-$signal" -- "$pid"
    sleep 0.2
  done
  : >"$name.signaled"
  wait "${pid#-}" || rc=$?
  echo "$rc" >"$name.rc"
  echo "$SECONDS" >"$name.seconds"
}

# json NAME EXPRESSION: the value of a Python expression over the document `d`.
json() {
  python3 -c 'import json,sys; d=json.load(open(sys.argv[1])); print(json.dumps(eval(sys.argv[2])))' \
    "$BATS_FILE_TMPDIR/$1.out" "$2"
}

# valid NAME[:COUNT]...: each output has COUNT (default: 1) documents that match the schema.
valid() {
  python3 - "$SCHEMA" "$BATS_FILE_TMPDIR" "$@" <<'END'
import json, sys
import jsonschema

schema, directory, *names = sys.argv[1:]
check = jsonschema.Draft202012Validator(json.load(open(schema)))
decoder = json.JSONDecoder()
for name in names:
    name, _, count = name.partition(":")
    text = open(f"{directory}/{name}.out", encoding="utf-8").read()
    found = 0
    while text.strip():
        document, end = decoder.raw_decode(text.lstrip())
        text = text.lstrip()[end:]
        check.validate(document)
        found += 1
    assert found == int(count or 1), f"{found} documents in {name}"
END
}

# refused NAME EDIT...: after each edit, the document `d` no longer matches the schema.
refused() {
  python3 - "$SCHEMA" "$BATS_FILE_TMPDIR/$1.out" "${@:2}" <<'END'
import json, sys
import jsonschema

schema, answer, *edits = sys.argv[1:]
check = jsonschema.Draft202012Validator(json.load(open(schema)))
for edit in edits:
    d = json.load(open(answer, encoding="utf-8"))
    assert check.is_valid(d)
    exec(edit)
    assert not check.is_valid(d), f"accepted: {edit}"
END
}

# For tests that change cards: a plug-in that polls often, and short jobs.
make_haste() {
  echo PollInterval=2 >"$CORVANE_CONFIG_DIR/Corvane.ini"
  local card job
  for card in card0 card1; do
    for job in attach_ms detach_ms format_ms; do cardsim set "$card" "$job" 200; done
  done
}

# cards NAME ARGUMENTS..., with NAME ARGUMENTS...: the simulator and the host on cards of that name.
cards() { cardsim --state "$BATS_FILE_TMPDIR/$1.json" "${@:2}"; }
with() { corvane-host --simulate="$BATS_FILE_TMPDIR/$1.json" "${@:2}"; }

# copy NAME: copies the machine's cards under that name, unless they exist, and prints their file.
copy() {
  local file="$BATS_FILE_TMPDIR/$1.json"
  # Renamed into place, because several runs may share the cards.
  [ -e "$file" ] || { cp "$CARDSIM_STATE" "$file.$BASHPID" && mv -n "$file.$BASHPID" "$file"; }
  echo "$file"
}

# own NAME ARGUMENTS...: runs the host on its own cards, so that tests can run in parallel.
own() { corvane-host --simulate="$(copy "$1")" "${@:2}"; }

# card NAME ATTRIBUTE: of card0 in the cards of that name.
card() { cards "$1" get card0 "$2"; }

# untouched NAME...: the cards of these names are unchanged.
untouched() {
  local name
  for name; do cmp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$name.json"; done
}

# Runs a program on a terminal and sends it keys. Uses Debian's Python, which has the module that
# models the terminal.
screen() { /usr/bin/python3 "$CORVANE_SOURCE/tests/console/screen.py" "$@"; }

# a_mount COLUMN: number (1) or place (2) of a file system that is mounted once. In a chroot / may be
# missing from the table.
a_mount() {
  awk '{count[$3]++; place[$3] = $5}
    END {for (n in count) if (count[n] == 1 && place[n] !~ /\\/) print n, place[n]}' \
    /proc/self/mountinfo | sort | head -n 1 | cut -d ' ' -f "$1"
}

# lay_mount_on_card DIRECTORY: creates a sysfs of the present cards in which the file system of a_mount
# is on the disk of card0, which md7 holds.
lay_mount_on_card() {
  cardsim sysfs "$1"
  local disk="$1/bus/pci/devices/0000:3b:02.1/block/fioa"
  mkdir -p "$disk/holders/md7" "$1/block"
  ln -s "$disk" "$1/block/fioa"
  a_mount 1 >"$disk/dev"
}

# enter FILE ROW...: puts entries into a log, as "TIME SEVERITY EVENT ID 'NAME' 'TEXT' SERIAL TYPE".
enter() {
  python3 - "$@" <<'END'
import calendar, shlex, sqlite3, sys, time

rows = []
for row in sys.argv[2:]:
    when, *rest = shlex.split(row)
    seconds = calendar.timegm(time.strptime(when, "%Y-%m-%dT%H:%M:%S"))
    rows.append([seconds * 1000, *rest])
with sqlite3.connect(sys.argv[1]) as database:
    database.executemany(
        "INSERT INTO host_event_log (time, severity, event_id, object_id, name, message,"
        " serial_number, object_type) VALUES (?, ?, ?, ?, ?, ?, ?, ?)", rows)
END
}

# With CORVANE_TEST_SERVICE, `host`, `own` and `with` use a service on the same cards, one for each
# file of cards, database and configuration.

# service_for CARDS: the socket of the service, which is started unless it runs.
service_for() {
  local directory key
  key=$(printf '%s\n' "$1" "$CORVANE_DATABASE" "$CORVANE_CONFIG_DIR" | md5sum | cut -c 1-8)
  directory="$BATS_FILE_TMPDIR/service-$key"
  mkdir -p "$directory"
  (
    flock 9
    [ -e "$directory/ready" ] || start_test_service "$1" "$directory"
  ) 9>"$directory/lock"
  echo "$directory/socket"
}

# start_test_service CARDS DIRECTORY: it ends with the test file.
start_test_service() {
  corvane-host serve --simulate="$1" --socket "$2/socket" 2>"$2/err" </dev/null >/dev/null 3>&- 9>&- &
  local pid=$!
  { tail --pid="$$" -f /dev/null; kill "$pid"; } </dev/null >/dev/null 2>&1 3>&- 9>&- &
  until is_ready "$2/socket"; do
    [ -e "/proc/$pid" ] || { cat "$2/err" >&2; return 1; }
    sleep 0.05
  done
  touch "$2/ready"
}

if [ -n "${CORVANE_TEST_SERVICE:-}" ]; then
  host() { corvane-host --socket "$(service_for "$CARDSIM_STATE")" "$@"; }
  with() { corvane-host --socket "$(service_for "$BATS_FILE_TMPDIR/$1.json")" "${@:2}"; }
  own() { corvane-host --socket "$(service_for "$(copy "$1")")" "${@:2}"; }
fi
