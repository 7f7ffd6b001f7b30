#!/usr/bin/env bats
# A value beyond a limit of the card is a problem in every form of output, whether or not the card
# itself reports it.

bats_require_minimum_version 1.5.0
load helper

# Cards whose limits are 78 and 85 degrees, 10 percent of reserve and 24.75 watts:
# attribute, value, reasons that the card reports; then the expected status and reasons.
CASES="temp_internal_deg_c|78||OK|
temp_internal_deg_c|78.5||WARNING|TEMPERATURE_ABOVE_WARN
temp_internal_deg_c|85||WARNING|TEMPERATURE_ABOVE_WARN
temp_internal_deg_c|86||FAILED|TEMPERATURE_ABOVE_ERROR
temp_internal_deg_c|86|TEMPERATURE_ABOVE_WARN|FAILED|TEMPERATURE_ABOVE_ERROR TEMPERATURE_ABOVE_WARN
temp_internal_deg_c|86|TEMPERATURE_NEAR_ERROR|FAILED|TEMPERATURE_NEAR_ERROR
temp_internal_deg_c|79|TEMPERATURE_WRITE_REGULATION|WARNING|TEMPERATURE_WRITE_REGULATION
reserve_space_pct|10||OK|
reserve_space_pct|9||WARNING|RESERVES_DEPLETED
reserve_space_pct|9|RESERVES_DEPLETED|WARNING|RESERVES_DEPLETED
pcie_slot_power_watts|24.75||OK|
pcie_slot_power_watts|25||WARNING|PCI_OVERPOWER
reserve_space_pct|9|DETACHED|WARNING|RESERVES_DEPLETED DETACHED"

setup_file() {
  load helper
  make_machine
  cardsim new
  cardsim add flash-785g --count 13
  local number=0 attribute value reports reason
  while IFS='|' read -r attribute value reports _; do
    cardsim set "card$number" "$attribute" "$value"
    for reason in $reports; do
      if [ "$reason" = DETACHED ]; then
        cardsim set "card$number" iom_state 0
      else
        cardsim raise "card$number" "$reason"
      fi
    done
    number=$((number + 1))
  done <<<"$CASES"
  keep list host list -o json &
  keep rows host list -H &
  keep status host status -o json &
  keep text host status a3 &
  keep check host check -o json &
  keep metrics host metrics &
  keep wait host wait a1 ok --timeout 0s &
  wait
}

@test "status and reasons follow the card's limits" {
  valid list status check
  local number=0 status reasons
  while IFS='|' read -r _ _ _ status reasons; do
    local names='[]'
    [ -z "$reasons" ] || names="[\"${reasons// /\", \"}\"]"
    echo "a$number $status $names"
    same "[\"$status\", $names]" \
      "$(json list "[[o['status'], [r for r in o['status_reasons'] if r != 'ATTACHED']] for o in d['result']['objects'] if o['object'] == 'a$number'][0]")"
    same "[\"$status\", $names]" \
      "$(json status "[[o['status'], [r['name'] for r in o['reasons']]] for o in d['result']['objects'] if o['object'] == 'a$number'][0]")"
    number=$((number + 1))
  done <<<"$CASES"
  [ "$number" -eq 13 ]
}

@test "the plug-in's own status and reasons remain visible" {
  same '[["a1", "OK", ["ATTACHED"]], ["a4", "WARNING", ["TEMPERATURE_ABOVE_WARN", "ATTACHED"]]]' \
    "$(json list '[[o[k] for k in ("object", "plugin_status", "plugin_status_reasons")] for o in d["result"]["objects"] if o["object"] in ("a1", "a4")]')"
}

@test "list puts cards beyond their limits above healthy cards" {
  same "a3 FAILED|a4 FAILED|a5 FAILED|a1 WARNING|a2 WARNING|a6 WARNING|a8 WARNING|a9 WARNING|a11 WARNING|a12 WARNING|a0 ok|a7 ok|a10 ok|" \
    "$(out rows | awk '{ printf "%s %s|", $1, $2 }')"
}

@test "status shows the value and the limits" {
  grep -q '^a3 FAILED ' "$BATS_FILE_TMPDIR/text.out"
  grep -q '^   86 °C (warning 78, critical 85) ' "$BATS_FILE_TMPDIR/text.out"
}

@test "check, metrics and wait agree with list" {
  same '["CRITICAL", "WARNING", "WARNING", "OK"]' \
    "$(json check '[next(o["state"] for o in d["result"]["objects"] if o["object"] == name) for name in ("a3", "a1", "a8", "a7")]')"
  same 3 "$(out metrics | grep -c '^corvane_adapter_status{.*"FAILED"} 1$')"
  same 7 "$(out metrics | grep -c '^corvane_adapter_status{.*"WARNING"} 1$')"
  ended wait 7
}
