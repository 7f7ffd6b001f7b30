#!/usr/bin/env bats
# What list, tree, status, show, watch and history look like on terminals of 40 to 200 columns.

bats_require_minimum_version 1.5.0
load helper

# Names with characters that are two columns wide, and with a combining character.
# The terminal emulator composes the latter.
WIDE_NAME="快閃記憶體卡 高溫測試"
COMBINING_NAME=$'Re\u0301serve\u0301 e\u0301tendue'

setup_file() {
  load helper
  make_machine
  unset CORVANE_DATABASE
  export TZ=UTC TERM=xterm-256color CORVANE_TEST_SERVICE=
  local count
  for count in 1 3 64; do make_count "$count"; done
  for count in 1 3 64; do serve_count "$count" & done
  wait
}

teardown_file() {
  local file
  for file in "$BATS_FILE_TMPDIR"/*.pid; do kill "$(cat "$file")" || true; done
}

# make_count COUNT: creates this number of cards. The last one is too hot; the names of the first
# two are hard to align.
make_count() {
  cards "$1" new
  cards "$1" add 0x2001 --count "$1"
  cards "$1" set card0 board_name "$WIDE_NAME"
  cards "$1" set card0 product_name "$WIDE_NAME"
  [ "$1" = 1 ] || cards "$1" set card1 board_name "$COMBINING_NAME"
  local last="card$(($1 - 1))"
  cards "$1" set "$last" temp_internal_deg_c 80
  cards "$1" raise "$last" TEMPERATURE_ABOVE_WARN
}

# serve_count COUNT: starts a service with these cards, without their log and configuration.
serve_count() {
  local socket="$BATS_FILE_TMPDIR/$1.sock"
  corvane-host serve --simulate="$BATS_FILE_TMPDIR/$1.json" --socket "$socket" \
    --database "$BATS_FILE_TMPDIR/$1.db" 2>"$BATS_FILE_TMPDIR/$1.err" </dev/null >/dev/null 3>&- &
  echo $! >"$BATS_FILE_TMPDIR/$1.pid"
  eventually is_ready "$socket"
}

# socket_of COUNT: prints the option for the service with COUNT cards.
socket_of() { echo "--socket=$BATS_FILE_TMPDIR/$1.sock"; }

# picture NAME SIZE COUNT ARGUMENTS...: keeps the screen after the command.
picture() {
  keep "$1" screen "$2" ends 0 print -- corvane-host -q "$(socket_of "$3")" "${@:4}"
  ended "$1" 0 || { err "$1"; false; }
}

# fits ARGUMENTS...: expects that no line of the command is wider than any of the terminals.
fits() {
  local columns count
  for columns in 40 80 120 200; do
    for count in 1 3 64; do
      /usr/bin/python3 "$CORVANE_SOURCE/tests/console/screen_fit.py" "$columns" "$count" -- \
        corvane-host -q "$(socket_of "$count")" "$@"
    done
  done
}

@test "list fits any terminal" { fits list; }
@test "list --long fits any terminal" { fits --long list; }
@test "tree fits any terminal" { fits tree; }
@test "status fits any terminal" { fits status; }
@test "show fits any terminal" { fits show a0; }
@test "show of a drive fits any terminal" { fits show a0/d0; }

@test "wide and combining characters keep the columns aligned" {
  picture aligned 24x120 3 list
  same "ID  STATUS    TEMP  RESERVE  USED     SIZE    BINARY  SLOT  SERIAL      PCI           NAME                        DRIVES
a2  WARNING  80°C!     99 %  16 %  2.40 TB  2.18 TiB     3  FA00000003  0000:05:00.0  SanDisk Flash Adapter 2.4…  a2/d0
a0  ok        58°C     99 %  16 %  2.40 TB  2.18 TiB     1  FA00000001  0000:03:00.0  SanDisk 快閃記憶體卡 高溫…  a0/d0
a1  ok        58°C     99 %  16 %  2.40 TB  2.18 TiB     2  FA00000002  0000:04:00.0  SanDisk Réservé étendue (…  a1/d0" "$(out aligned | sed '/^$/d')"
}

@test "list at 80 columns" {
  picture list80 24x80 3 list
  same "ID  STATUS    TEMP  RESERVE  USED     SIZE  SLOT  SERIAL
a2  WARNING  80°C!     99 %  16 %  2.40 TB     3  FA00000003
a0  ok        58°C     99 %  16 %  2.40 TB     1  FA00000001
a1  ok        58°C     99 %  16 %  2.40 TB     2  FA00000002" "$(out list80 | sed '/^$/d')"
}

@test "list at 40 columns omits columns" {
  picture list40 24x40 3 list
  same "ID  STATUS    TEMP  SLOT  SERIAL
a2  WARNING  80°C!     3  FA00000003
a0  ok        58°C     1  FA00000001
a1  ok        58°C     2  FA00000002" "$(out list40 | sed '/^$/d')"
}

@test "tree at 80 columns shortens names" {
  picture tree80 24x80 3 tree
  same "OBJECT    NAME            STATUS    TEMP RESERVE    SIZE PCI          SERIAL
plugin    SanDisk-Plugin
├─a0      SanDisk 快閃記… ok        58°C    99 % 2.40 TB 0000:03:00.0 FA00000001
│ └─a0/d0 快閃記憶體卡 …  available              2.40 TB
├─a1      SanDisk Réserv… ok        58°C    99 % 2.40 TB 0000:04:00.0 FA00000002
│ └─a1/d0 Flash Duo Adap… available              2.40 TB
└─a2      SanDisk Flash … WARNING   80°C    99 % 2.40 TB 0000:05:00.0 FA00000003
  └─a2/d0 Flash Duo Adap… available              2.40 TB" "$(out tree80 | sed '/^$/d')"
}

@test "tree in a pipe does not shorten names" {
  keep pipe corvane-host "$(socket_of 3)" tree
  grep -qF "$WIDE_NAME" "$BATS_FILE_TMPDIR/pipe.out"
  run ! grep -qF "…" "$BATS_FILE_TMPDIR/pipe.out"
}

@test "status at 80 columns puts each part of a reason on a line" {
  picture status80 24x80 3 status
  same "a2 WARNING  slot 3, FA00000003
   80 °C (warning 78, critical 85)
   Check fans and airflow around the card in slot 3, or reduce its load.
   explain TEMPERATURE_ABOVE_WARN
2 of 3 cards ok" "$(out status80 | sed '/^$/d')"
}

@test "status at 120 columns puts the action and the command that explains it on one line" {
  picture status120 24x120 3 status
  same "a2 WARNING  slot 3, FA00000003
   80 °C (warning 78, critical 85)
   Check fans and airflow around the card in slot 3, or reduce its load.     explain TEMPERATURE_ABOVE_WARN
2 of 3 cards ok" "$(out status120 | sed '/^$/d')"
}

@test "status at 200 columns puts the reason on one line, and counts healthy cards" {
  picture status200 24x200 64 status
  same "a63 WARNING  slot 64, FA00000064
   80 °C (warning 78, critical 85)     Check fans and airflow around the card in slot 64, or reduce its load.     explain TEMPERATURE_ABOVE_WARN
63 of 64 cards ok" "$(out status200 | sed '/^$/d')"
}

@test "show at 80 columns groups the properties and draws bars" {
  picture show80 80x80 3 show a2
  local line
  for line in Health Wear Capacity Place Versions Plug-in; do out show80 | grep -qx "$line"; done
  out show80 | grep -qxE '  temperature_celsius +80°C    ███████████░  warning 78, critical 85'
  out show80 | grep -qxE '  locate_led +OFF'
  out show80 | grep -qxE '  formatted_size_bytes +2\.40 TB \(2\.18 TiB\)'
  out show80 | grep -qxE '  manufacture_date +20[0-9]{2}-[0-9]{2}-[0-9]{2}'
  out show80 | grep -qxE '  last_read_at +20[0-9-]{8} [0-9:]{8} UTC'
  # A long list is wrapped after a comma.
  out show80 | grep -A 1 -E '^  operations' | head -1 | grep -qE ',$'
  picture showlocal 80x80 3 show a2 --local-time
  out showlocal | grep -qxE '  last_read_at +20[0-9-]{8} [0-9:]{8}'
  picture showascii 80x80 3 show a2 --ascii
  out showascii | grep -qxE '  temperature_celsius +80C     ###########\.  warning 78, critical 85'
}

# watch_picture NAME SIZE COUNT STEP...: keeps the screen of watch after the steps.
watch_picture() {
  keep "$1" screen "$2" see "q quit" "${@:4}" print press q ends 0 -- \
    corvane-host "$(socket_of "$3")" watch
  ended "$1" 0 || { err "$1"; false; }
}

@test "watch shows the hot card among 64 cards, and cuts only names" {
  local columns
  for columns in 40 80 120 200; do
    watch_picture "watch$columns" "24x$columns" 64 see "a63 " see "80°C"
    same 24 "$(out "watch$columns" | wc -l)"
    out "watch$columns" | sed -n 3p | grep -qE "^a63 "
    out "watch$columns" | head -1 | grep -qF "$(hostname)"
  done
  out watch120 | head -1 | grep -qF "64 cards: 1 WARNING, 63 ok"
}

@test "watch finds, sorts, shows help and details" {
  watch_picture keys 24x120 64 press / press a17 see "find: a17_" gone "a63 " see "a17/d0" press Enter \
    gone "a17_" press Enter see "endurance_used_ratio" press Escape press Escape see "a63 " \
    press s see "sort (temperature)" press s press s press s see "sort (worst first)" \
    press "?" see "KEYS" see "switch the locate LED" press "?" see "a63 " \
    press l see "locate LED of a63 is on" press l see "locate LED of a63 is off"
}
