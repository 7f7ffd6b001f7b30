#!/usr/bin/env bats
# explain: the meaning of numbers and names, and advice.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  # explain does not load the plug-in.
  keep event corvane-host --plugin /none explain 10967
  keep json corvane-host explain 10967 -o json
  keep bare corvane-host explain format_device -o tsv -H
  keep several corvane-host explain UNDEFINED -o json
  keep term corvane-host explain temperature_celsius -o json
  keep plain corvane-host explain SSD -o json
  keep unknown corvane-host explain TEMPERATURE_ABOVE_WRN -o json
}

@test "explain accepts an operation with and without the OP_ prefix" {
  ended bare 0
  same "operation OP_FORMAT_DEVICE" "$(out bare | cut -f 1,3 | tr '\t' ' ')"
}

@test "explain shows the meaning, severity and advice of an event" {
  ended event 0
  same "10967  CTRL_TEMPERATURE_ABOVE_WARN  event, warning
    means  The temperature of adapter NAME is above its warning threshold.
    do     Check fans and airflow around the card, or reduce its load." "$(out event)"
  valid json
  same '[["event", 10967, "CTRL_TEMPERATURE_ABOVE_WARN", "warning", "Check fans and airflow around the card, or reduce its load.", []]]' \
    "$(json json '[[e[k] for k in ("family", "number", "name", "severity", "advice", "terms")] for e in d["result"]["entries"]]')"
}

@test "a name is case-insensitive and equivalent to its number" {
  same "$(corvane-host explain 20001)" "$(corvane-host explain err_no_supported_hardware)"
  same "$(corvane-host explain 50126)" "$(corvane-host explain Op_Attach)"
}

@test "explain shows all families of a number or name" {
  valid several
  same '[["event", 1], ["operation", 1], ["value", 1]]' \
    "$(corvane-host explain 1 -o json >"$BATS_FILE_TMPDIR/one.out"
      json one '[[e["family"], e["number"]] for e in d["result"]["entries"]]')"
  same '[["event", 1], ["value", 1]]' \
    "$(json several '[[e["family"], e["number"]] for e in d["result"]["entries"]]')"
  same "30486 35034" "$(corvane-host explain REMAINING_RESERVE_SPACE -o tsv -H | cut -f2 | xargs)"
}

@test "explain shows the property number, meaning and unit for a JSON field name" {
  same "30442  CHIP_TEMPERATURE  property
    means  The current temperature of the card's chip.
    name   temperature_celsius (adapter, in degrees Celsius)" \
    "$(corvane-host explain temperature_celsius)"
  valid term
  same '[[30442, null, [{"name": "temperature_celsius", "type": "adapter", "unit": "celsius"}]]]' \
    "$(json term '[[e[k] for k in ("number", "advice", "terms")] for e in d["result"]["entries"]]')"
  # This name refers to one property of adapters and another of drives.
  same "30035 30059" "$(corvane-host explain physical_size_bytes -o tsv -H | cut -f2 | xargs)"
}

@test "explain omits the advice if no action is needed" {
  valid plain
  same '[["value", "Solid-state drive", null, null]]' \
    "$(json plain '[[e[k] for k in ("family", "meaning", "advice", "severity")] for e in d["result"]["entries"]]')"
  same "-" "$(corvane-host explain SSD -o tsv -H | cut -f6)"
  run -0 corvane-host explain SSD
  [[ "$output" != *"    do "* ]]
}

@test "explain distinguishes reasons from other values" {
  same "reason" "$(corvane-host explain TEMPERATURE_ABOVE_WARN -o tsv -H | cut -f1)"
  same "value" "$(corvane-host explain WARNING -o tsv -H | cut -f1)"
}

@test "explain suggests a similar name for an unknown name" {
  ended unknown 3
  valid unknown
  said unknown "corvane-host: TEMPERATURE_ABOVE_WRN: not the number or name of an error, event, operation, property, value or state"
  said unknown "  Did you mean 'TEMPERATURE_ABOVE_WARN'?"
  run -3 corvane-host explain temperature_celcius
  [[ "$output" == *"Did you mean 'temperature_celsius'?"* ]]
  run -3 corvane-host explain 12345
}

@test "explain accepts every property of an adapter, a drive and the plug-in" {
  local object name names
  make_cards
  for object in a0 a0/d0 plugin; do
    names=$(corvane-host --simulate get "$object" -o tsv -H | cut -f1)
    [ "$(wc -w <<<"$names")" -ge 5 ]
    for name in $names; do corvane-host explain "$name" >/dev/null; done
  done
}

@test "the schema rejects an invalid entry" {
  schema_rejects json 'd["result"]["entries"][0].pop("advice")' 'd["result"]["entries"] = []' \
    'd["result"]["entries"][0].update(family="reasons")' \
    'd["result"]["entries"][0].update(advice="")'
}

@test "explain with an object shows its place, and the current value and limit" {
  [ -e "$CARDSIM_STATE" ] || make_cards
  keep where corvane-host --simulate explain TEMPERATURE_ABOVE_WARN a0
  ended where 0
  same "    where  a0, slot 5, PCI 0000:3b:02.1, serial S100
    now    not reported; 48 °C, limit 78 °C" "$(out where | grep -E '^    (where|now)')"
  keep reported corvane-host --simulate explain TEMPERATURE_ABOVE_WARN a1 -o json
  valid reported
  same '[{"object": "a1", "serial_number": "S200", "reported": true, "measured": null, "limit": {"name": "temperature_warning_celsius", "value": 78.0}}]' \
    "$(json reported '[{k: e["circumstances"][k] for k in ("object", "serial_number", "reported", "measured", "limit")} for e in d["result"]["entries"]]')"
  keep property corvane-host --simulate explain reserve_space_ratio a0
  same "    now    97 % (warning 10)" "$(out property | grep '^    now')"
  keep drive corvane-host --simulate explain CTRL_TEMPERATURE_ABOVE_WARN a0/d0
  same "    where  a0/d0, slot 5, PCI 0000:3b:02.1, serial S100" "$(out drive | grep '^    where')"
}

@test "explain knows the states that the plug-in does not report" {
  local state
  for state in MISSING UNREADABLE FORMATTING; do
    keep state corvane-host explain "$state" -o json
    valid state
    same "[[\"state\", null, \"$state\", null]]" \
      "$(json state '[[e[k] for k in ("family", "number", "name", "circumstances")] for e in d["result"]["entries"] if e["family"] == "state"]')"
  done
}

@test "explain says what a failed or warning status means, and what to do" {
  local status
  for status in FAILED WARNING; do
    run -0 corvane-host explain "$status"
    [[ "$output" == *"corvane-host status"* ]]
    run ! grep -E 'means  (Failed|Warning)$' <<<"$output"
  done
}

@test "the caption of an event in JSON contains no placeholder" {
  keep caption corvane-host explain 10972 -o json
  valid caption
  same true "$(json caption '"NAME" in d["result"]["entries"][0]["caption"]')"
  run ! grep -F '%1' "$BATS_FILE_TMPDIR/caption.out"
}

@test "a time without a unit is refused" {
  run -2 corvane-host events --since 24
  [[ "$output" == *"events: --since: '24' has no unit"*"For example: 24m, 24h or 24d"* ]]
}
