# Helpers for all suites: two simulated cards, and runs of the program. Each run takes more than a
# second, so `setup_file` starts the runs in parallel and keeps their output and exit codes in
# files, which the tests check.

# ctest sets these variables; the defaults allow `bats FILE`.
: "${CORVANE_SOURCE:=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)}"
: "${CORVANE_BUILD:=$CORVANE_SOURCE/build/release}" "${CORVANE_SANITIZE:=}"
: "${TEST_PLUGIN:=$CORVANE_BUILD/lib/libtest_plugin.so}"
: "${NO_PLUGIN_THREAD:=$CORVANE_BUILD/lib/libno_plugin_thread.so}"
: "${HUNG_DIRECTORY:=$CORVANE_BUILD/lib/libhung_directory.so}"
: "${API_STATES:=$CORVANE_BUILD/bin/api_states}" "${PROMTOOL:=$CORVANE_SOURCE/build/tools/promtool}"
export CORVANE_SOURCE CORVANE_BUILD CORVANE_SANITIZE TEST_PLUGIN NO_PLUGIN_THREAD HUNG_DIRECTORY API_STATES PROMTOOL

PATH="$CORVANE_BUILD/bin:$PATH"
SCHEMA="$CORVANE_SOURCE/docs/corvane-host.schema.json"
SIMULATED="corvane-host: note: the cards of this service are simulated"

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
    # shellcheck disable=SC2086  # a row is three arguments
    cardsim set $row
  done
  cardsim raise card1 TEMPERATURE_ABOVE_WARN
}

# Sets up a separate environment for each test file, without cards, configuration, database or
# color.
make_machine() {
  export HOME="$BATS_FILE_TMPDIR" TMPDIR="$BATS_FILE_TMPDIR/tmp" LC_ALL=C.UTF-8
  export CORVANE_CONFIG_DIR="$BATS_FILE_TMPDIR/config" CORVANE_DATABASE=:memory:
  # Empty, so that no command uses a service of the machine.
  export CORVANE_SOCKET=
  export CARDSIM_STATE="$BATS_FILE_TMPDIR/cards.json" CORVANE_SYSFS="$BATS_FILE_TMPDIR/sys"
  # The simulator also stands in for the vendor's card library, on machines without cards.
  export LD_LIBRARY_PATH="$CORVANE_BUILD/lib/corvane/sim"
  unset CORVANE_TRACE CORVANE_TRACE_FILE NO_COLOR XDG_STATE_HOME XDG_CONFIG_HOME
  mkdir -p "$TMPDIR" "$CORVANE_CONFIG_DIR" "$CORVANE_SYSFS/bus/pci/devices"
}

# keep NAME COMMAND...: runs the command and keeps its standard output, standard error and exit code
# as NAME.out, NAME.err and NAME.rc.
keep() {
  local name="$BATS_FILE_TMPDIR/$1" rc=0
  shift
  "$@" >"$name.out" 2>"$name.err" </dev/null || rc=$?
  echo "$rc" >"$name.rc"
}

# host ARGUMENTS...: runs the program with simulated cards.
# test_plugin CASE ARGUMENTS...: runs it with the test plug-in; CASE selects its behavior.
host() { corvane-host --simulate "$@"; }
test_plugin() { CONSOLE_TEST_PLUGIN="$1" corvane-host --plugin "$TEST_PLUGIN" "${@:2}"; }

# cards_option FILE: prints the option for the simulated cards in FILE.
cards_option() { echo "--simulate=$1"; }

# if_direct COMMAND...: runs the command, or does nothing and succeeds if the commands use a
# service.
if_direct() { [ -n "${CORVANE_TEST_SERVICE:-}" ] || "$@"; }

# direct_only REASON: skips the test if the commands use a service.
direct_only() { [ -z "${CORVANE_TEST_SERVICE:-}" ] || skip "$1"; }

# out NAME, err NAME, rc NAME: print the standard output, standard error or exit code of the run.
out() { cat "$BATS_FILE_TMPDIR/$1.out"; }
# `err` omits the note that a service has simulated cards.
err() { grep -avxF "$SIMULATED" "$BATS_FILE_TMPDIR/$1.err" || [ $? -eq 1 ]; }
rc() { cat "$BATS_FILE_TMPDIR/$1.rc"; }

# same EXPECTED ACTUAL: fails and shows the difference if they differ.
same() { diff <(printf '%s\n' "$1") <(printf '%s\n' "$2"); }

# ended NAME CODE: expects the run to have exited with this code.
ended() { same "$2" "$(rc "$1")"; }

# said NAME LINE: expects the run to have written the line to standard error.
said() { grep -qxF -- "$2" "$BATS_FILE_TMPDIR/$1.err" || { err "$1"; false; }; }

# silent NAME STREAM: expects that the run wrote nothing to the stream, `out` or `err`.
silent() { [ "$("$2" "$1" | wc -c)" -eq 0 ] || { cat "$BATS_FILE_TMPDIR/$1.$2"; false; }; }

# unprivileged COMMAND...: runs the command without root's privilege to bypass file permissions. The
# user stays the same and keeps access to the directories of the programs and tests.
unprivileged() {
  local drop=()
  [ "$(id -u)" -ne 0 ] || drop=(setpriv --bounding-set=-all --inh-caps=-all --ambient-caps=-all --)
  "${drop[@]}" "$@"
}

# free_port: prints a TCP port that is currently free.
free_port() {
  python3 -c 'import socket; s = socket.create_server(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

# eventually COMMAND...: repeats the command until it succeeds. ctest limits the duration.
eventually() { until "$@"; do sleep 0.05; done; }

# is_ready SOCKET: succeeds if the service at the socket has a running plug-in.
is_ready() { curl -s --max-time 60 --unix-socket "$1" http://service/readyz | grep -qx ready; }

# has_read TRACE: succeeds if the host that writes trace level 2 to this file has read its objects.
has_read() { grep -qs "LEAVE GetTopology" "$1"; }

# untimed NAME: prints standard output without job durations, which depend on the machine.
untimed() { out "$1" | sed -E -e 's/, in [0-9:]+$//' -e 's/^Done in [0-9:]+\./Done./'; }

# stop_when SIGNALS FILE PATTERN NAME PROGRAM...: runs the program and sends it the signals, one
# after the other, once FILE, or a file in the directory FILE, matches PATTERN. Fails if the program
# exits before that. With setsid as the program, the entire process group receives the signals.
# NAME.seconds contains the time from the first signal to the exit. The test plug-in uses NAME.log
# and NAME.signaled.
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

# json NAME EXPRESSION: prints the value of a Python expression over the document `d`.
json() {
  python3 -c 'import json,sys; d=json.load(open(sys.argv[1])); print(json.dumps(eval(sys.argv[2])))' \
    "$BATS_FILE_TMPDIR/$1.out" "$2"
}

# valid NAME[:COUNT]...: expects COUNT (default: 1) documents in each output, all matching the
# schema.
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
        error = jsonschema.exceptions.best_match(check.iter_errors(document))
        if error is not None:
            sys.exit(f"{name}: {error.json_path}: {error.message}\n"
                     f"docs/{schema.rsplit('/', 1)[1]} does not describe this output")
        found += 1
    assert found == int(count or 1), f"{found} documents in {name}"
END
}

# schema_rejects NAME EDIT...: expects that the document `d` does not match the schema after any of
# the edits.
schema_rejects() {
  python3 - "$SCHEMA" "$BATS_FILE_TMPDIR/$1.out" "${@:2}" <<'END'
import json, sys
import jsonschema

schema, file, *edits = sys.argv[1:]
check = jsonschema.Draft202012Validator(json.load(open(schema)))
for edit in edits:
    d = json.load(open(file, encoding="utf-8"))
    assert check.is_valid(d)
    exec(edit)
    assert not check.is_valid(d), f"accepted: {edit}"
END
}

# Sets a short poll interval and short job durations, for tests that change cards.
use_short_intervals() {
  echo PollInterval=2 >"$CORVANE_CONFIG_DIR/Corvane.ini"
  local card job
  for card in card0 card1; do
    for job in attach_ms detach_ms format_ms; do cardsim set "$card" "$job" 200; done
  done
}

# cards NAME ARGUMENTS...: runs cardsim on the state file NAME.json.
# with NAME ARGUMENTS...: runs the program with that state file.
cards() { cardsim --state "$BATS_FILE_TMPDIR/$1.json" "${@:2}"; }
with() { corvane-host --simulate="$BATS_FILE_TMPDIR/$1.json" "${@:2}"; }

# copy NAME: copies the cards to NAME.json unless it exists, and prints the path.
copy() {
  local file="$BATS_FILE_TMPDIR/$1.json"
  # Renamed into place, because parallel runs may create the same file.
  [ -e "$file" ] || { cp "$CARDSIM_STATE" "$file.$BASHPID" && mv -n "$file.$BASHPID" "$file"; }
  echo "$file"
}

# own NAME ARGUMENTS...: runs the program with a separate copy of the cards, NAME.json, so that runs
# can be parallel.
own() { corvane-host --simulate="$(copy "$1")" "${@:2}"; }

# card NAME ATTRIBUTE: prints an attribute of card0 in NAME.json.
card() { cards "$1" get card0 "$2"; }

# untouched NAME...: expects these copies of the state file to be unchanged.
untouched() {
  local name
  for name; do cmp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$name.json"; done
}

# screen ARGUMENTS...: runs a program on a terminal and sends it keys. Uses Debian's Python, for
# which the terminal emulator module is installed.
screen() { /usr/bin/python3 "$CORVANE_SOURCE/tests/console/screen.py" "$@"; }

# any_mount COLUMN: prints the device number (1) or mount point (2) of a file system that is mounted
# once. Does not rely on /, because a chroot may not list it.
any_mount() {
  awk '{count[$3]++; place[$3] = $5}
    END {for (n in count) if (count[n] == 1 && place[n] !~ /\\/) print n, place[n]}' \
    /proc/self/mountinfo | sort | head -n 1 | cut -d ' ' -f "$1"
}

# make_mounted_sysfs DIRECTORY: creates a sysfs for the cards, in which card0's disk has the device
# number of any_mount's file system and is held by md7.
make_mounted_sysfs() {
  cardsim sysfs "$1"
  local disk="$1/bus/pci/devices/0000:3b:02.1/block/fioa"
  mkdir -p "$disk/holders/md7" "$1/block"
  ln -s "$disk" "$1/block/fioa"
  any_mount 1 >"$disk/dev"
}

# add_log_entries FILE ROW...: adds rows "TIME SEVERITY EVENT ID 'NAME' 'TEXT' SERIAL TYPE" to the
# event log in FILE.
add_log_entries() {
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

# With CORVANE_TEST_SERVICE=1, `host`, `own`, `with` and `cards_option` use a service. Each
# combination of cards, database, configuration and devices has its own service. `if_direct` skips a
# run that is not possible through a service; the tests that need its results call `direct_only`
# first, which skips them.

# service_for CARDS: starts the service unless it is running, and prints its socket.
service_for() {
  local directory key
  key=$(printf '%s\n' "$1" "$CORVANE_DATABASE" "$CORVANE_CONFIG_DIR" \
    "$CORVANE_SYSFS" | md5sum | cut -c 1-8)
  directory="$BATS_FILE_TMPDIR/service-$key"
  mkdir -p "$directory"
  (
    flock 9
    [ -e "$directory/ready" ] || start_test_service "$1" "$directory"
  ) 9>"$directory/lock"
  echo "$directory/socket"
}

# start_test_service CARDS DIRECTORY: starts a service that stops when the test file has finished.
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
  cards_option() { echo "--socket=$(service_for "$1")"; }
fi
