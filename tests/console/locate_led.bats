#!/usr/bin/env bats
# The state of the locate LED, which is a field of adapters in every form of output.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  use_short_intervals
  cardsim set card1 beacon_state absent
  host list >/dev/null
  keep before host get a0 a1 locate_led -o tsv
  keep on host locate a0 on -o json
  keep list host list -c object,locate_led -o tsv
  keep json host list -o json
  keep show host show a0
  keep none host show a1
  keep metrics host metrics
  keep waited host wait a0 "locate_led=$(expected)"
  keep off host locate a0 off -o json
  keep after host get a0 locate_led
  keep refused host set a0 locate_led=1
  keep watch watch_led
}

# expected: prints the state after `locate on` has returned. Without a service, the next command
# loads the plug-in, which switches off all LEDs.
expected() { if [ -n "${CORVANE_TEST_SERVICE:-}" ]; then echo ON; else echo OFF; fi; }

# watch_led: runs watch while another program switches the LED on.
watch_led() {
  local file lines="$BATS_FILE_TMPDIR/lines" pid
  file=$(copy watched)
  corvane-host --simulate="$file" watch -o jsonl >"$lines" 2>/dev/null </dev/null &
  pid=$!
  eventually grep -q '"locate_led":"OFF"' "$lines"
  cards watched set card0 beacon_state true
  eventually grep -q '"locate_led":"ON"' "$lines"
  kill "$pid"
  wait "$pid"
}

@test "the locate LED of a card is OFF, and unknown for a card without one" {
  ended before 0
  same "object	property	value
a0	locate_led	OFF
a1	locate_led	-" "$(out before)"
}

@test "the locate LED is the same in list, JSON, show and metrics" {
  ended on 0
  same "object	locate_led
a0	$(expected)
a0/d0	-
a1	-
a1/d0	-" "$(out list)"
  valid json
  same "[\"$(expected)\", null]" \
    "$(json json '[o["locate_led"] for o in d["result"]["objects"] if o["type"] == "adapter"]')"
  same "  locate_led                    $(expected)" "$(out show | grep locate_led)"
  same "  locate_led                    -" "$(out none | grep locate_led)"
  same "$(expected)" "$(sed -nE \
    's/^corvane_adapter_locate_led\{adapter="S100",corvane_adapter_locate_led="(ON|OFF)"\} 1$/\1/p' \
    "$BATS_FILE_TMPDIR/metrics.out")"
  same 2 "$(out metrics | grep -c '^corvane_adapter_locate_led{')"
}

@test "wait knows the locate LED, and set refuses it" {
  ended waited 0
  ended refused 4
  said refused "corvane-host: set a0 locate_led: read-only"
}

@test "locate changes the field that list shows" {
  ended off 0
  valid on off
  same '[{"locate_led": "OFF"}, {"locate_led": "ON"}]' \
    "$(json on '[d["result"]["before"], d["result"]["after"]]')"
  same OFF "$(out after)"
}

@test "watch shows that another program has switched the locate LED on" {
  ended watch 130
}
