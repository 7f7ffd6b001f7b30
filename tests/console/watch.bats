#!/usr/bin/env bats
# The live view on a terminal, and as plain blocks without one.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  echo PollInterval=2 >"$CORVANE_CONFIG_DIR/Corvane.ini"
  export TERM=xterm-256color
  local name
  for name in keys blocks lines past broken damagedscreen damagedlines; do cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$name.json"; done

  keep keys screen 24x100 see "2 cards: 1 WARNING, 1 ok" see "a1      MOLT EP PX600" \
    run "cardsim --state $BATS_FILE_TMPDIR/keys.json raise card0 CORRECTABLE_PCI_ERRORS" \
    see "2 cards: 2 WARNING" see "warning      a0      CTRL_CORRECTABLE_PCI_ERRORS" \
    press Enter see "temperature_celsius           48°C" see "why   PCI errors corrected" \
    press Escape see "EVENTS (1)" press Down press Down press Enter see "a1  0x0130" \
    press e gone "a1  0x0130" see "EVENTS (1)" gone "a0/d0" \
    size 12x60 press e see "a0/d0" see "RSRV" print \
    raw '\e[?1049h' never '\e[?1049l' press q ends 0 raw '\e[?1049l' \
    -- corvane-host "$(cards_option "$BATS_FILE_TMPDIR/keys.json")" watch &
  keep stop screen 24x80 see "EVENTS (0)" colored "WARNING   " press Ctrl-C ends 130 raw '\e[?1049l' \
    -- corvane-host "$(cards_option "$CARDSIM_STATE")" watch &
  NO_COLOR=1 keep plain screen 24x80 see "EVENTS (0)" uncolored "WARNING   " press q ends 0 \
    -- corvane-host "$(cards_option "$CARDSIM_STATE")" watch &
  keep ascii screen 24x80 see "EVENTS (0)" see "48C" see " 97 % #####" press q ends 0 \
    -- corvane-host "$(cards_option "$CARDSIM_STATE")" watch --ascii --color never &
  keep dumb env TERM=dumb script -qec "corvane-host $(cards_option "$CARDSIM_STATE") watch --for 0s" /dev/null &
  stop_when TERM "$BATS_FILE_TMPDIR/changed" seen blocks \
    corvane-host "$(cards_option "$BATS_FILE_TMPDIR/blocks.json")" watch &
  stop_when TERM "$BATS_FILE_TMPDIR/changed" seen lines \
    corvane-host "$(cards_option "$BATS_FILE_TMPDIR/lines.json")" watch -o jsonl &
  change_cards &
  wait
  keep past past &
  if_direct keep broken broken &
  keep damagedscreen damaged_screen &
  keep damagedlines damaged_lines &
  wait
  keep reader one_block &
  keep json host watch -o json &
  wait
}

# Changes the cards once they are shown, and creates the file `changed` once the event is shown.
change_cards() {
  local name
  for name in blocks lines; do
    eventually grep -qs a1/d0 "$BATS_FILE_TMPDIR/$name.out"
    cards "$name" raise card0 CORRECTABLE_PCI_ERRORS
  done
  for name in blocks lines; do
    eventually grep -q '\bCORRECTABLE_PCI_ERRORS' "$BATS_FILE_TMPDIR/$name.out"
    eventually grep -q CTRL_CORRECTABLE_PCI_ERRORS "$BATS_FILE_TMPDIR/$name.out"
  done
  echo seen >"$BATS_FILE_TMPDIR/changed"
}

# past: runs watch with a log that has an event of an earlier day.
past() {
  local file="$BATS_FILE_TMPDIR/past.json"
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/past.db"
  # Without a service, which would read the log when it starts, before the entry is added.
  corvane-host --simulate="$file" events >/dev/null 2>&1
  add_log_entries "$CORVANE_DATABASE" "2026-11-20T05:31:00 4 10957 5 'X (9)' 'An old entry.' S200 19038"
  screen 24x110 see "EVENTS (1)" see "2026-11-20 05:31:00  error        a1      CTRL_INTERNAL_ERROR" \
    run "cardsim --state $file raise card0 CORRECTABLE_PCI_ERRORS" \
    see "EVENTS (2)" see "warning      a0      CTRL_CORRECTABLE_PCI_ERRORS" \
    press e gone "a0/d0" see "An old entry." see "CTRL_CORRECTABLE_PCI_ERRORS" press q ends 0 \
    -- corvane-host "$(cards_option "$file")" watch || return
  with past events -o tsv -H | cut -f 4,5
}

# broken: removes the database while watch runs. watch shows the failure, and reports it when it
# exits.
broken() {
  local file="$BATS_FILE_TMPDIR/broken.json" database="$BATS_FILE_TMPDIR/broken.db"
  CORVANE_DATABASE="$database" screen 24x100 see "EVENTS (0)" \
    run "rm $database* && mkdir $database" \
    run "cardsim --state $file raise card0 CORRECTABLE_PCI_ERRORS" \
    see "EVENTS (1)" see "cannot use the event log" press Down gone "cannot use the event log" \
    press q ends 1 \
    see "cannot read the known cards" see "cannot use the event log" \
    -- corvane-host "$(cards_option "$file")" watch
}

# damage NAME: writes a file of simulated cards that cannot be read. `restore` undoes this.
damage() { printf '{"cards": [' >"$BATS_FILE_TMPDIR/$1.json"; }
restore() { cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/$1.new" && mv "$BATS_FILE_TMPDIR/$1.new" "$BATS_FILE_TMPDIR/$1.json"; }

# damaged_screen, damaged_lines: damage the cards while watch runs, and restore them.
damaged_screen() {
  local file="$BATS_FILE_TMPDIR/damagedscreen.json"
  screen 24x100 see "2 cards: 1 WARNING, 1 ok" \
    run "printf '{' >$file" see "2 cards: 2 UNREADABLE" \
    run "cp $CARDSIM_STATE $file.new && mv $file.new $file" see "2 cards: 1 WARNING, 1 ok" \
    never "0 cards" press q ends 0 -- corvane-host "$(cards_option "$file")" watch
}
damaged_lines() {
  local lines="$BATS_FILE_TMPDIR/damaged.lines" pid
  corvane-host "$(cards_option "$BATS_FILE_TMPDIR/damagedlines.json")" watch -o jsonl \
    >"$lines" 2>/dev/null </dev/null &
  pid=$!
  eventually grep -q '"status":"WARNING"' "$lines"
  damage damagedlines
  eventually grep -q '"status":"UNREADABLE"' "$lines"
  restore damagedlines
  eventually sh -c "tail -1 '$lines' | grep -q '\"status\":\"WARNING\"'"
  kill "$pid"
  wait "$pid" || true
  cat "$lines"
}

one_block() {
  corvane-host "$(cards_option "$CARDSIM_STATE")" watch | head -n 2 | tail -n 1
  echo "${PIPESTATUS[*]}" >"$BATS_FILE_TMPDIR/reader.ends"
}

@test "the screen shows cards and events, handles keys and resizing, and restores the terminal" {
  ended keys 0 || { err keys; false; }
  same 12 "$(out keys | wc -l)"
  same 1 "$(out keys | grep -c '^a1      MOLT EP PX600 (2)    WARNING')"
}

@test "the screen starts with the events of earlier runs and adds new ones" {
  ended past 0 || { err past; false; }
  same "CTRL_INTERNAL_ERROR	a1
CTRL_CORRECTABLE_PCI_ERRORS	a0" "$(out past)"
}

@test "damaged cards are unreadable on the screen until the file is restored" {
  ended damagedscreen 0 || { err damagedscreen; false; }
}

@test "watch -o jsonl never loses the cards of a damaged file" {
  ended damagedlines 0
  same '[["UNREADABLE", "WARNING"], [2]]' "$(out damagedlines | python3 -c '
import json, sys
results = [json.loads(line)["result"] for line in sys.stdin]
# The last document reports the signal and has no result.
cards = [[o for o in each["objects"] if o["type"] == "adapter"] for each in results if each]
statuses = {card["status"] for each in cards for card in each if card["serial_number"] == "S200"}
print(json.dumps([sorted(statuses), sorted({len(each) for each in cards})]))')"
}

@test "a removed database is shown on the screen, and reported after it is closed" {
  direct_only "the service reads the log (client.bats removes the database of a service)"
  ended broken 0 || { err broken; false; }
}

@test "Ctrl-C exits with 130 and restores the terminal" {
  ended stop 0 || { err stop; false; }
}

@test "the screen respects NO_COLOR and --ascii" {
  ended plain 0 || { err plain; false; }
  ended ascii 0 || { err ascii; false; }
}

@test "watch prints plain blocks on a dumb terminal" {
  ended dumb 0
  grep -q '^OBJECT NAME' "$BATS_FILE_TMPDIR/dumb.out"
  run ! grep -q $'\x1b' "$BATS_FILE_TMPDIR/dumb.out"
}

@test "watch without a terminal prints a block with the new events after each change" {
  ended blocks 130
  same "OBJECT NAME STATUS TEMP RESERVE USED REASONS
a0 SanDisk BoardA (1) ok 48°C 97 % 25 %
a0/d0 DriveA (0) available
a1 MOLT EP PX600 (2) WARNING - - 2 % TEMPERATURE_ABOVE_WARN
a1/d0 MOLT EP PX600 2.6TB (0) available" "$(out blocks | sed -n -e '2,6s/  */ /gp')"
  grep -q '^a0 .* WARNING .* CORRECTABLE_PCI_ERRORS$' "$BATS_FILE_TMPDIR/blocks.out"
  same 1 "$(out blocks | grep -c 'warning .* 10970 CTRL_CORRECTABLE_PCI_ERRORS .* a0 ')"
}

@test "watch without a terminal prints no block twice" {
  # The poll interval is 2 seconds.
  host watch --for 7s >"$BATS_TEST_TMPDIR/out"
  same 1 "$(grep -c '^OBJECT NAME' "$BATS_TEST_TMPDIR/out")"
}

@test "watch -o jsonl prints one document per change and each event once" {
  ended lines 130
  valid "lines:$(out lines | wc -l)"
  same "CTRL_CORRECTABLE_PCI_ERRORS" "$(out lines | python3 -c '
import json, sys
for line in sys.stdin:
    for event in json.loads(line)["result"]["events"]:
        print(event["event"])')"
}

@test "watch exits when its reader exits" {
  same "0 0 0" "$(cat "$BATS_FILE_TMPDIR/reader.ends")"
  grep -q '^OBJECT NAME' "$BATS_FILE_TMPDIR/reader.out"
  silent reader err
}

@test "watch does not support -o json" {
  ended json 2
  silent json out || same null "$(json json 'd["result"]')"
}
