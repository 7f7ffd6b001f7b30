#!/usr/bin/env bats
# The commands locate, attach, detach, online and offline.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  local detached="$BATS_FILE_TMPDIR/attach.json" name
  cp "$CARDSIM_STATE" "$detached"
  cardsim --state "$detached" set card0 iom_state 0
  for name in yes no; do cp "$detached" "$BATS_FILE_TMPDIR/$name.json"; done
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/rejected.json"
  cardsim --state "$BATS_FILE_TMPDIR/rejected.json" fail vsl_iom_detach_create --code 9
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/busy.json"
  cardsim --state "$BATS_FILE_TMPDIR/busy.json" set card0 in_use true
  cp "$BATS_FILE_TMPDIR/busy.json" "$BATS_FILE_TMPDIR/force.json"
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/no_led.json"
  cardsim --state "$BATS_FILE_TMPDIR/no_led.json" set card0 beacon_state absent
  cp "$BATS_FILE_TMPDIR/no_led.json" "$BATS_FILE_TMPDIR/no_led.before"
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/slow.json"
  cards slow set card0 detach_ms 5000

  keep detach own detach detach a0 -y &
  keep attach own attach attach a0 -y -o json &
  keep already own already attach a0 -y &
  keep dry own dry detach a0 --dry-run &
  keep unasked own unasked detach a0 &
  wait
  keep rejected own rejected detach a0 -y &
  keep busy own busy detach a0 -y &
  keep force own force detach a0 -y --force &
  keep forcedrive own forcedrive detach a0/d0 -y --force &
  keep slow own slow detach a0 -y --timeout 1ms &
  keep drive own drive detach a0/d0 -y &
  keep lines own lines detach a0 -y -o jsonl &
  wait
  keep on own on locate a0 on &
  keep off own off locate a0 off &
  keep blink own blink locate a0 on --for 1s -o json &
  keep no_led own no_led locate a0 on &
  keep bad_state own bad_state locate a0 up &
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/stopped.json"
  stop_when INT "$BATS_FILE_TMPDIR/stopped.json" '"beacon_state": true' stopped \
    corvane-host "$(cards_option "$BATS_FILE_TMPDIR/stopped.json")" locate a0 on --for 1h &
  wait
  keep offline own offline offline a0/d0 -y &
  keep unasked_offline own unasked_offline offline a0/d0 &
  CORVANE_SYSFS="$BATS_FILE_TMPDIR/sys_in_use" keep mounted mounted &
  wait
  keep online own offline online a0/d0 -y
}

mounted() {
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/mounted.json"
  export CARDSIM_STATE="$BATS_FILE_TMPDIR/mounted.json"
  make_mounted_sysfs "$CORVANE_SYSFS"
  # With --simulate, the devices would be those of the simulation.
  corvane-host ${CORVANE_TEST_SERVICE:+"$(cards_option "$CARDSIM_STATE")"} detach a0 -y
}

@test "detach waits until the card is detached" {
  ended detach 0
  same "a0: attached -> detached" "$(untimed detach)"
  same "Detaching a0 ..." "$(err detach)"
  same 0 "$(card detach iom_state)"
}

@test "attach reports the change as JSON" {
  ended attach 0
  valid attach
  same '["a0", "OP_ATTACH", 50126, {"state": "DETACHED"}, {"state": "ATTACHED"}, true, false]' \
    "$(json attach '[d["result"][k] for k in ("object", "operation", "number", "before", "after", "changed", "dry_run")]')"
  same 2 "$(card attach iom_state)"
}

@test "the schema rejects an invalid change document" {
  schema_rejects attach 'd["result"].pop("changed")' 'd["result"].update(before="up")' \
    'd["result"].update(elapsed_seconds=-1)' 'd.update(command="set")' 'd.update(exit_code=9)' \
    'd.update(result={"progress": {"object": "a0"}})'
}

@test "attach reports a card that is already attached" {
  ended already 0
  same "a0: already attached" "$(out already)"
  silent already err
  untouched already
}

@test "detach --dry-run reports the change without making it" {
  ended dry 0
  same "a0: attached -> detached
Nothing was changed." "$(out dry)"
  untouched dry
}

@test "detach and offline require --yes without a terminal" {
  local name
  for name in unasked unasked_offline; do
    ended "$name" 4
    silent "$name" out
    said "$name" "  Pass --yes to confirm."
  done
  said unasked "corvane-host: detach a0: not a terminal"
  untouched unasked unasked_offline
}

@test "detach fails if the card rejects the command" {
  ended rejected 1
  said rejected "corvane-host: detach a0: the card does not support this (vsl_iom_detach_create, code 9: failure injected by cardsim)"
  same 2 "$(card rejected iom_state)"
}

@test "detach requires --force for a busy card" {
  ended busy 1
  said busy "  To detach a busy card: corvane-host detach a0 --force"
  same 2 "$(card busy iom_state)"
  ended force 0
  same "a0: attached -> detached" "$(untimed force)"
  same 0 "$(card force iom_state)"
}

@test "detach gives up after --timeout" {
  ended slow 7
  silent slow out
  said slow "corvane-host: detach a0: not detached within 0.001 s"
  said slow "  The card may still be working; nothing was rolled back."
}

@test "detach refuses a drive, even with --force, and suggests its adapter" {
  ended forcedrive 2
  said forcedrive "corvane-host: detach a0/d0: a0/d0 is not an adapter"
  ended drive 2
  said drive "corvane-host: detach a0/d0: a0/d0 is not an adapter"
  said drive "  Did you mean 'a0'?"
  untouched forcedrive drive
}

@test "detach -o jsonl reports the start and the result" {
  ended lines 0
  valid "lines:$(out lines | wc -l)"
  same "OP_DETACH" "$(out lines | head -1 | jq -r .result.progress.operation)"
  same "DETACHED" "$(out lines | tail -1 | jq -r .result.after.state)"
}

@test "locate on leaves the LED on and prints a note" {
  ended on 0
  same "a0 locate LED: off -> on" "$(out on)"
  # The LED stays on for as long as the service runs.
  if_direct said on "corvane-host: note: without a service, every other corvane-host command switches it off, even list"
  if_direct said on "  To keep it on while you run other commands, start a service: corvane-host serve --simulate --socket ./corvane.sock"
  same true "$(card on beacon_state)"
}

@test "locate off reports an LED that is already off" {
  ended off 0
  same "a0 locate LED: already off" "$(out off)"
  untouched off
}

@test "locate on --for switches the LED off after that time" {
  ended blink 0
  valid blink
  same '[{"locate_led": "ON"}, {"locate_led": "OFF"}]' \
    "$(json blink '[d["result"]["before"], d["result"]["after"]]')"
  same true "$(json blink 'd["result"]["elapsed_seconds"] >= 1')"
  untouched blink
}

@test "Ctrl-C during locate on --for switches the LED off" {
  ended stopped 130
  said stopped "corvane-host: note: locate LED of a0 is off"
  said stopped "corvane-host: interrupted"
  untouched stopped
}

@test "locate refuses a card without an LED and an invalid argument" {
  ended no_led 4
  said no_led "corvane-host: locate a0: no locate LED"
  cmp "$BATS_FILE_TMPDIR/no_led.before" "$BATS_FILE_TMPDIR/no_led.json"
  ended bad_state 2
}

@test "offline and online change the state of a drive" {
  ended offline 0
  same "a0/d0: online -> offline" "$(out offline)"
  ended online 0
  same "a0/d0: offline -> online" "$(out online)"
  untouched offline
}

@test "detach refuses a drive in use and shows its holder and mount point" {
  ended mounted 4
  said mounted "corvane-host: detach a0: fioa is held by md7, fioa is mounted at $(any_mount 2)"
  untouched mounted
}
