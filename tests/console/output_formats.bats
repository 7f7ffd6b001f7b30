#!/usr/bin/env bats
# Output formats for people and scripts, and their schema.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  keep tsv host list -o tsv &
  keep bare host list -o tsv -H &
  keep value host tree -o value &
  keep lines host tree -o jsonl &
  keep ascii host tree --ascii &
  keep latin env LC_ALL=C corvane-host "$(cards_option "$CARDSIM_STATE")" tree &
  keep color host list --color always &
  keep columns host list -c object,status_reasons,id -o tsv &
  wait
  keep list host list -o json &
  keep tree host tree -o json &
  keep show host show a1 -o json &
  keep get host get a1 temperature_celsius name -o json &
  keep events host events -o json &
  keep plugin host plugin -o json &
  if_direct keep explain corvane-host explain OK -o json &
  if_direct keep help corvane-host help -o json &
  if_direct keep version corvane-host --version -o json &
  if_direct keep odd test_plugin odd show a0 -o json &
  if_direct keep oddlist test_plugin odd list --long &
  if_direct keep oddtsv test_plugin odd list -o tsv &
  wait
  CORVANE_CONFIG_DIR="$BATS_FILE_TMPDIR/for-set" keep set host set plugin poll_interval=30 -o json &
  keep noobject host show a9 -o json &
  if_direct keep nocommand corvane-host frobnicate -o json &
  if_direct keep nooption corvane-host list --frobnicate -o json &
  if_direct keep badformat corvane-host list -o xml &
  if_direct keep badvalue corvane-host list -o json --color purple &
  if_direct keep noplugin corvane-host --plugin /none list -o jsonl &
  keep readonly host set a0 name=x -o json &
  if_direct keep nocards corvane-host list -o json &
  if_direct keep nolines corvane-host list -o jsonl &
  keep noevents host events -o jsonl &
  wait
}

@test "list -o tsv uses field names and base units" {
  ended tsv 0
  same "object	name	status	temperature_celsius	reserve_space_ratio	formatted_size_bytes	pci_address	serial_number
a0	SanDisk BoardA (1)	OK	48.2	0.97	879608463360	0000:3b:02.1	S100
a0/d0	DriveA (0)	AVAILABLE	-	-	879608463360	-	-
a1	MOLT EP PX600 (2)	WARNING	-	-	2599999766528	0000:5e:00.0	S200
a1/d0	MOLT EP PX600 2.6TB (0)	AVAILABLE	-	-	2599999766528	-	-" "$(out tsv)"
  same "$(out tsv | sed 1d)" "$(out bare)"
}

@test "-o jsonl prints one document for an empty list" {
  if_direct valid nolines
  if_direct same '[0, []]' "$(if_direct json nolines '[d["exit_code"], d["result"]["objects"]]')"
  valid noevents
  same '[0, []]' "$(json noevents '[d["exit_code"], d["result"]["events"]]')"
}

@test "tree -o value prints the object names" {
  same "plugin
a0
a0/d0
a1
a1/d0" "$(out value)"
}

@test "--columns selects columns" {
  ended columns 0
  same "object	status_reasons	id
a0	ATTACHED	0x0130000000000001
a0/d0	-	0x0130000000000002
a1	TEMPERATURE_ABOVE_WARN,ATTACHED	0x0130000000000003
a1/d0	-	0x0130000000000004" "$(out columns)"
}

@test "--ascii and a locale without UTF-8 use ASCII characters" {
  ended ascii 0
  run ! grep -qP '[^\x00-\x7F]' "$BATS_FILE_TMPDIR/ascii.out"
  grep -q '^|-a0 ' "$BATS_FILE_TMPDIR/ascii.out"
  grep -q ' 48C ' "$BATS_FILE_TMPDIR/ascii.out"
  same "$(out ascii)" "$(out latin)"
}

@test "piped output is colored only with --color always" {
  local name
  for name in tsv value lines ascii list tree show; do
    run ! grep -q $'\x1b' "$BATS_FILE_TMPDIR/$name.out"
  done
  grep -q $'\x1b\\[32mok' "$BATS_FILE_TMPDIR/color.out"
  grep -q $'\x1b\\[1;33mWARNING' "$BATS_FILE_TMPDIR/color.out"
}

@test "JSON documents match the schema" {
  local name
  for name in list tree show get events plugin set $(if_direct echo explain help version odd nocards); do
    echo "$name"
    ended "$name" 0
    valid "$name"
  done
}

@test "JSON after a failure contains the exit code and the message id" {
  local row name code id
  for row in noobject:3:NO_SUCH_OBJECT readonly:4:NOT_WRITABLE \
    $(if_direct echo nocommand:2:USAGE nooption:2:USAGE noplugin:5:PLUGIN_MISSING); do
    IFS=: read -r name code id <<<"$row"
    echo "$name"
    ended "$name" "$code"
    same "[$code, null, \"$id\"]" \
      "$(json "$name" '[d["exit_code"], d["result"], d["messages"][-1]["id"]]')"
    valid "$name"
  done
}

@test "the schema rejects invalid documents" {
  schema_rejects list 'd.pop("time")' 'd["extra"] = 1' 'd.update(command="frob")' 'd.update(exit_code=9)' \
    'd["result"]["objects"][0].pop("temperature_celsius")' \
    'd["result"]["objects"][0].update(temperature_celsius="48")' \
    'd["result"]["objects"][1].update(type="adapter")' 'd.update(result=None)'
}

@test "tree -o jsonl prints one document per object" {
  ended lines 0
  valid lines:5
  same 5 "$(out lines | wc -l)"
}

@test "list -o json uses base units, and null for unknown values" {
  same '["a0", "adapter", "0x0130000000000001", 48.2, 0.97, 1099511627776, true, "OK", ["ATTACHED"]]' \
    "$(json list '[d["result"]["objects"][0][k] for k in ("object", "type", "id", "temperature_celsius", "reserve_space_ratio", "physical_size_bytes", "external_power_connected", "status", "status_reasons")]')"
  same '[null, null]' \
    "$(json list '[d["result"]["objects"][2][k] for k in ("temperature_celsius", "reserve_space_ratio")]')"
}

@test "tree -o json contains owners, parents and children" {
  same '[["plugin", null], ["a0", "plugin"], ["a0/d0", "a0"], ["a1", "plugin"], ["a1/d0", "a1"]]' \
    "$(json tree '[[o["object"], o["owner"]] for o in d["result"]["objects"]]')"
  same '[["0x0130000000000001", "0x0130000000000003"], ["0x0130000000000000"]]' \
    "$(json tree '[d["result"]["objects"][0]["children"], d["result"]["objects"][1]["parents"]]')"
}

@test "set -o json contains the values before and after" {
  same '{"object": "plugin", "property": "poll_interval_seconds", "before": {"poll_interval_seconds": 15}, "after": {"poll_interval_seconds": 30}, "saved": true, "dry_run": false, "would_change": null}' \
    "$(json set 'd["result"]')"
}

@test "unreported values are null, and invalid text does not break the document" {
  direct_only "uses the test plug-in"
  same '[null, null, "49999", "bad\ufffdutf", 9007199255789568, "9007199255789568"]' \
    "$(json odd '[d["result"]["fields"][k] for k in ("temperature_celsius", "driver_name", "status", "firmware_version", "physical_size_bytes", "physical_size_bytes_s")]')"
}

@test "control characters of a card are escaped in tables" {
  direct_only "uses the test plug-in"
  run ! grep -q $'\x1b' "$BATS_FILE_TMPDIR/oddlist.out"
  grep -q 'tab\\x09here\\x1b\[31m' "$BATS_FILE_TMPDIR/oddlist.out"
  same 8 "$(out oddtsv | awk -F'\t' '{print NF}' | sort -u)"
}

@test "a drive without an adapter is listed by its id" {
  direct_only "uses the test plug-in"
  grep -q '^0x0000000000000031' "$BATS_FILE_TMPDIR/oddtsv.out"
  grep -q '^a0/d0' "$BATS_FILE_TMPDIR/oddtsv.out"
}

@test "list -o json prints an empty list and a note on a machine without cards" {
  direct_only "runs without a service"
  same '[0, [], "ERR_NO_SUPPORTED_HARDWARE"]' \
    "$(json nocards '[d["exit_code"], d["result"]["objects"], d["messages"][0]["id"]]')"
}

@test "an unsupported output format is refused" {
  direct_only "needs no plug-in"
  ended badformat 2
  silent badformat out
  said badformat "corvane-host: list: -o: invalid value 'xml'"
}

@test "an invalid value of another option is reported in the requested format" {
  direct_only "needs no plug-in"
  ended badvalue 2
  same '[2, "USAGE"]' "$(json badvalue '[d["exit_code"], d["messages"][0]["id"]]')"
}
