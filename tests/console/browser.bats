#!/usr/bin/env bats
# Pages in a real browser that try to read from the service and to change its cards.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  command -v cog >/dev/null || return 0
  keep pages timeout 800 python3 "$CORVANE_SOURCE/tests/console/browser.py" \
    "$BATS_FILE_TMPDIR/corvane.sock"
}

setup() {
  command -v cog >/dev/null || skip "needs cog"
  ended pages 0 || { err pages; false; }
}

# results PAGE PREFIX: prints the distinct results of the page's attempts whose names start with
# PREFIX.
results() {
  json pages "sorted({json.dumps(v) for k, v in d['$1'].items() if k.startswith('$2')})"
}

@test "a page from another origin cannot read anything" {
  local page kind
  for page in port host; do
    same 13 "$(json pages "len(d['$page'])")"
    for kind in cors image events form; do same '["null"]' "$(results "$page" "$kind")"; done
    # Browsers report this status and content for an opaque response.
    same '["[0, \"\"]"]' "$(results "$page" no-cors)"
  done
}

@test "a page whose host name is rebound to the service is refused" {
  same '[["HOST_NOT_ALLOWED"], [403]]' \
    "$(json pages '[sorted({json.loads(v[1])["id"] for k, v in d["rebound"].items() if "cors" in k}), sorted({v[0] for k, v in d["rebound"].items() if "cors" in k})]')"
  same '[null, null, "HOST_NOT_ALLOWED"]' \
    "$(json pages '[d["rebound"]["image"], d["rebound"]["events"], json.loads(d["rebound"]["form"][1])["id"]]')"
}

@test "a page at the service's own address can read but not change anything" {
  same '[["S100", "S200"], "a1", true]' \
    "$(json pages '[sorted(o["serial_number"] for o in json.loads(d["own"]["cors /v1/cards"][1])["result"]["objects"] if o["type"] == "adapter"), json.loads(d["own"]["cors /v1/status"][1])["result"]["objects"][2]["object"], "corvane_plugin_up 1\n" in d["own"]["no-cors /metrics"][1]]')"
  same '[200, ""]' "$(json pages 'd["own"]["events"]')"
  same '["READ_ONLY"]' \
    "$(json pages 'sorted({json.loads(v[1])["id"] for k, v in d["own"].items() if k in ("form", "cors session") or "post" in k})')"
}

# The same request succeeds if an allowed client sends it.
@test "no page changes a card" {
  same '[[], 202]' "$(json pages '[d["jobs"], d["allowed"]]')"
}
