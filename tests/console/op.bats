#!/usr/bin/env bats
# op: running operations by their names or numbers.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  # An attached card refuses a format.
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/detached.json"
  cards detached set card0 iom_state 0
  cp "$BATS_FILE_TMPDIR/detached.json" "$BATS_FILE_TMPDIR/detached.before"
  keep list own list op list a0 -o tsv &
  keep listjson own list op list a0 -o json &
  keep drive own list op list a0/d0 -o json &
  keep can own list op check a0 DETACH -o json &
  keep cannot own list op check a0 50126 -o json &
  keep led_on own led_on op run a0 locate_device &
  wait
  keep led_off own led_off op run a0 OP_STOP_LOCATE_DEVICE &
  keep force own force op run a0 50128 -y &
  keep unasked own unasked op run a0 op_force_detach &
  keep plan own detached op run a0/d0 format_device FORMATTING=CUSTOM SIZE=50 BLOCK_SIZE=4096 -n &
  keep severe own detached op run a0/d0 50026 -y &
  keep unknown own unknown op run a0 60000 -y &
  wait
  keep name own list op check a0 ATTCH &
  keep kind own list op run a0/d0 DETACH -y &
  keep argument own list op run a0/d0 FORMAT_DEVICE SIZE=5 -n &
  keep extra own list op run a0 DETACH SIZE=5 -n &
  keep action own list op chek a0 DETACH &
  keep few own list op check a0 &
  wait
}

@test "op list shows whether each operation is currently possible" {
  same "number	name	possible	caption
50034	OP_LOCATE_DEVICE	yes	Switch the locate LED on
50035	OP_STOP_LOCATE_DEVICE	ERR_NO_LOCATE_STARTED	Switch the locate LED off
50126	OP_ATTACH	ERR_GENERAL	Attach
50127	OP_DETACH	yes	Detach" "$(out list)"
  valid listjson drive
  same '[[50034, null], [50035, 20041], [50126, 20000], [50127, null]]' \
    "$(json listjson '[[o["number"], o["error"]] for o in d["result"]["operations"]]')"
  same '[[], "NO_OPERATIONS"]' \
    "$(json drive '[d["result"]["operations"], d["messages"][0]["id"]]')"
}

@test "op check prints the plug-in's result and changes nothing" {
  ended can 0
  ended cannot 4
  valid can cannot
  same '["OP_DETACH", true, null]' \
    "$(json can '[d["result"][k] for k in ("operation", "possible", "error")]')"
  same '[4, false, 20000, "ERR_GENERAL"]' \
    "$(json cannot '[d["exit_code"], d["result"]["possible"], d["result"]["error"], d["messages"][0]["id"]]')"
  said cannot "corvane-host: OP_ATTACH a0: only a detached card can be attached; current state: attached (20000)"
  untouched list
}

@test "op run accepts names and numbers, even of unlisted operations" {
  ended led_on 0
  same "a0 locate LED: off -> on" "$(out led_on)"
  ended force 0
  same "a0: attached -> detached" "$(untimed force)"
  same 0 "$(card force iom_state)"
}

@test "op run reports the error number of a refused operation" {
  ended led_off 4
  said led_off "corvane-host: locate a0: locate LED already off (20041)"
  ended unknown 1
  grep -q "^corvane-host: 60000 a0: .* (20005)$" "$BATS_FILE_TMPDIR/unknown.err"
  untouched led_off unknown
}

@test "op run requires the same confirmation as the command" {
  ended unasked 4
  ended severe 4
  said severe "corvane-host: format a0/d0: not a terminal"
  untouched unasked
  cmp "$BATS_FILE_TMPDIR/detached.before" "$BATS_FILE_TMPDIR/detached.json"
}

@test "op run shows the arguments of a format in its plan" {
  ended plan 0
  grep -qx "  Change  .* -> about 550 GB (50 %), sectors 512 B -> 4096 B" \
    "$BATS_FILE_TMPDIR/plan.out"
  cmp "$BATS_FILE_TMPDIR/detached.before" "$BATS_FILE_TMPDIR/detached.json"
}

@test "op rejects invalid arguments" {
  local name
  for name in name kind argument extra action few; do
    echo "$name"
    ended "$name" 2
    silent "$name" out
  done
  said name "  Did you mean 'ATTACH'?"
  said kind "  Did you mean 'a0'?"
  said argument "  Valid: 10 to 100"
  said action "  Did you mean 'check'?"
  said few "  Usage: corvane-host op check OBJ OP"
  untouched list
}
