#!/usr/bin/env bats
# Characters that could move a terminal's cursor or change the text direction are always printed as
# escapes.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  rmdir "$CORVANE_SYSFS/bus/pci/devices"
  cardsim sysfs "$CORVANE_SYSFS"
}

# hostile FILE: copies the cards to FILE and replaces every string attribute of the first card,
# except its name, with these characters.
hostile() {
  python3 - "$CARDSIM_STATE" "$1" <<'END'
import json, os, sys

sys.path.insert(0, os.environ["CORVANE_SOURCE"] + "/tests/console")
sys.argv, (_, source, target) = ["escapes.py"], sys.argv
import escapes

state = json.load(open(source, encoding="utf-8"))
card = state["cards"][0]
# The simulator assigns card names, so they cannot be changed.
keys = [key for key, value in card.items() if isinstance(value, str) and key != "name"]
assert len(keys) >= 6, keys
for key in keys:
    card[key] = escapes.HOSTILE
json.dump(state, open(target, "w", encoding="utf-8"))
END
}

@test "hostile characters of cards, file names, arguments and variables are escaped" {
  direct_only "combines options that load the plug-in"
  hostile "$BATS_TEST_TMPDIR/cards.json"
  /usr/bin/python3 "$CORVANE_SOURCE/tests/console/escapes.py"
}

@test "JSON preserves hostile text as ASCII escapes" {
  hostile "$BATS_FILE_TMPDIR/hostile.json"
  keep exact with hostile get a0 serial_number firmware_version -o json
  python3 - "$BATS_FILE_TMPDIR/exact.out" <<'END'
import json, os, sys

sys.path.insert(0, os.environ["CORVANE_SOURCE"] + "/tests/console")
import escapes

text = open(sys.argv[1], encoding="utf-8").read()
values = json.loads(text)["result"]["values"]
assert values["serial_number"] == escapes.HOSTILE, values
assert "\\u202e" in text and "\\u009b" in text and "\\u007f" in text
END
}

@test "hostile characters are escaped in tables and tsv" {
  cards seen new
  cards seen add 0x2001
  cards seen set card0 serial_number $'x\x1b\n\x7f\u0085\u009b\u061c\u200e\u2028\u202e\u2066y\u00e9'
  cards seen set card0 board_name $'x\u202ey'
  cards seen set card0 product_name $'p\u202ey\x1b'
  local escaped='x\x1b\x0a\x7f\u0085\u009b\u061c\u200e\u2028\u202e\u2066yé'
  keep value with seen get a0 serial_number
  same "$escaped" "$(out value)"
  keep tsv with seen get a0 serial_number -o tsv -H
  same "serial_number	$escaped" "$(out tsv)"
  keep show with seen show a0
  grep -qF "$escaped" "$BATS_FILE_TMPDIR/show.out"
  keep list with seen list --long
  grep -qF "$escaped" "$BATS_FILE_TMPDIR/list.out"
  grep -qF 'x\u202ey (1)' "$BATS_FILE_TMPDIR/list.out"
}

@test "hostile characters are escaped in the trace" {
  direct_only "traces a plug-in in the same process"
  cards traced new
  cards traced add 0x2001
  cards traced set card0 product_name $'p\u202ey\x1b'
  keep traced with traced list --trace all
  grep -qF 'PD (p\u202ey\x1b (0)) inserted to db.' "$BATS_FILE_TMPDIR/traced.err"
}

@test "a byte that is not valid UTF-8 is escaped" {
  direct_only "uses the test plug-in"
  keep odd test_plugin odd get a0 firmware_version
  same 'bad\xffutf' "$(out odd)"
}

@test "metrics with hostile labels are parsed correctly" {
  hostile "$BATS_FILE_TMPDIR/labels.json"
  keep metrics with labels metrics
  ended metrics 0
  /usr/bin/python3 - "$BATS_FILE_TMPDIR/metrics.out" <<'END'
import sys
from prometheus_client.openmetrics.parser import text_string_to_metric_families

families = list(text_string_to_metric_families(open(sys.argv[1], encoding="utf-8").read()))
labels = {v for f in families for s in f.samples for v in s.labels.values()}
assert any("\\u202e" in label and "\\u009b" in label for label in labels), labels
assert not any("\u202e" in label or "\u009b" in label for label in labels)
END
}
