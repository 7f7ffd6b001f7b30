#!/usr/bin/env bats
# format: confirmation, output and effects.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  cardsim set card0 iom_format_max_size_bytes 1099511627776
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/attached.json"
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/attached.before"
  cardsim set card0 iom_state 0

  keep dry own dry format a0/d0 -n --capacity 50 --sector-size 4096 &
  keep nochange own nochange format a0/d0 --confirm S100 &
  keep sign own sign format a0/d0 -n --capacity 50% &
  keep dryjson own dryjson format a0/d0 -n --capacity maximum -o json &
  keep refused own refused format a0/d0 --capacity 50 &
  keep yes own yes format a0/d0 --capacity 50 -y &
  keep wrong own wrong format a0/d0 --capacity 50 --confirm S200 &
  keep adapter own adapter format plugin --capacity 50 --confirm S100 &
  wait
  keep capacity own capacity format a0/d0 --capacity maximun &
  keep percent own percent format a0/d0 --capacity 9 &
  keep sector own sector format a0/d0 --sector-size 4k &
  keep confirm own confirm format a0/d0 --confirm S100 --capacity 50 --sector-size 4096 &
  keep lines own lines format a0/d0 --confirm S100 --capacity high --again -o jsonl &
  keep same own same format a0/d0 --confirm S100 --capacity 80 --again -o tsv &
  wait
  cp "$CARDSIM_STATE" "$BATS_FILE_TMPDIR/twice.json"
  cards twice set card0 format_ms 3600000
  stop_when "INT INT" "$BATS_FILE_TMPDIR/twice.err" "Formatting a0/d0" twice \
    corvane-host "$(cards_option "$BATS_FILE_TMPDIR/twice.json")" \
    format a0/d0 --capacity 50 --confirm S100 || true
  keep attached own attached format a0/d0 --capacity 50 --confirm S100 &
  keep odd own odd format a0/d0 --confirm S100 --sector-size 513 &
  wait
}

@test "format --dry-run prints the plan and changes nothing" {
  ended dry 0
  same "  Drive   a0/d0, DriveA (0), serial S100, slot 5, PCI 0000:3b:02.1
  Change  880 GB -> about 550 GB (50 %), sectors 512 B -> 4096 B
  ALL DATA ON THIS DRIVE WILL BE LOST. This cannot be undone.
Nothing was changed." "$(out dry)"
  ended dryjson 0
  valid dryjson
  same '["MAXIMUM_CAPACITY", null, 512, [null, null, null], false, true]' \
    "$(json dryjson '[d["result"]["planned"][k] for k in ("capacity", "capacity_ratio", "sector_size_bytes")] + [list(d["result"]["after"].values())] + [d["result"][k] for k in ("changed", "dry_run")]')"
  untouched dry dryjson
}

@test "format without --capacity or --sector-size is a usage error and erases nothing" {
  ended nochange 2
  silent nochange out
  same "corvane-host: format: --capacity or --sector-size is required
  For example: corvane-host format a0/d0 --capacity 80
  Nothing was changed." "$(err nochange)"
  [ ! -e "$BATS_FILE_TMPDIR/nochange.json" ] || untouched nochange
}

@test "format accepts a percent sign and reports an unchanged sector size" {
  ended sign 0
  grep -qx "  Change  880 GB -> about 550 GB (50 %), sectors 512 B (unchanged)" \
    "$BATS_FILE_TMPDIR/sign.out"
}

@test "the schema rejects an invalid plan" {
  schema_rejects dryjson 'd["result"].pop("after")' 'd["result"]["planned"].pop("capacity")' \
    'd["result"]["before"].update(sector_size_bytes="512")' 'd.update(command="attach")'
}

@test "format is refused without the serial number, even with --yes" {
  local name
  for name in refused yes; do
    ended "$name" 4
    silent "$name" out
    said "$name" "corvane-host: format a0/d0: not a terminal"
    said "$name" "  Nothing was changed."
  done
  untouched refused yes
}

@test "format refuses a wrong serial number" {
  ended wrong 4
  said wrong "corvane-host: format a0/d0: 'S200' is not the serial number"
  untouched wrong
}

@test "format rejects invalid objects and values" {
  local name
  for name in adapter capacity percent sector; do
    ended "$name" 2
    silent "$name" out
  done
  said adapter "corvane-host: format plugin: plugin is not a drive"
  said capacity "  Did you mean 'maximum'?"
  said sector "corvane-host: format: --sector-size: invalid value '4k'"
  untouched adapter
}

@test "format with the serial number shows the new size" {
  ended confirm 0
  same "Done. a0/d0: 550 GB, 4096 B sectors." "$(untimed confirm)"
  same "Formatting a0/d0 ..." "$(err confirm)"
  same 549755813888 "$(card confirm iom_format_size_bytes)"
  same 4096 "$(card confirm sector_size_bytes)"
}

@test "format -o jsonl reports the start, the plan and the result" {
  ended lines 0
  valid "lines:$(out lines | wc -l)"
  same '["a0/d0","OP_FORMAT_DEVICE",true]' \
    "$(out lines | head -1 | jq -c '.result.progress | [.object, .operation, .elapsed_seconds >= 0]')"
  same '["HIGH_PERFORMANCE",0.8,512]' \
    "$(out lines | tail -1 | jq -c '[.result.planned.capacity, .result.after.formatted_ratio, .result.after.sector_size_bytes]')"
}

@test "format -o tsv prints one row per property" {
  ended same 0
  same "object	property	before	after
a0/d0	formatted_size_bytes	879608463360	879608463360
a0/d0	formatted_ratio	0.8	0.8
a0/d0	sector_size_bytes	512	512" "$(out same)"
}

@test "format of an attached card suggests detaching it first" {
  ended attached 4
  silent attached out
  said attached "corvane-host: format a0/d0: a0 is attached"
  said attached "  Detach it first: corvane-host detach a0"
  cmp "$BATS_FILE_TMPDIR/attached.before" "$BATS_FILE_TMPDIR/attached.json"
}

@test "a format that the card rejects changes nothing" {
  ended odd 4
  said odd "  Pass a value within the card's limits. Nothing was changed."
  untouched odd
}

@test "a second Ctrl-C without a terminal says that the card continues" {
  ended twice 130
  said twice "corvane-host: interrupted; the card continues formatting"
}
