#!/usr/bin/env bats
# The monitoring page and the rules for Prometheus match the metrics of the service.

bats_require_minimum_version 1.5.0
load helper
load service

PAGE="$CORVANE_SOURCE/docs/monitoring.md"
RULES="$CORVANE_SOURCE/service/prometheus/corvane.rules.yml"

setup_file() {
  load helper
  load service
  make_machine
  make_cards
  PORT=$(free_port)
  export PORT
  start_service --listen "127.0.0.1:$PORT"
  # An event, for the counter.
  cardsim remove card1
  eventually has_events
  curl -s "http://127.0.0.1:$PORT/metrics" >"$BATS_FILE_TMPDIR/metrics.out"
}

teardown_file() {
  load service
  stop_service
}

has_events() { curl -s "http://127.0.0.1:$PORT/metrics" | grep -q '^corvane_events_total{.*} [1-9]'; }

# names: prints the names of metrics in the input. A name that ends in "_" is a pattern.
names() { grep -oE '\bcorvane_[a-z_]+[a-z]\b' | sort -u; }

# is_metric NAME: succeeds if the service has a series or label with this name.
is_metric() { grep -qE "(^|[{,])$1[ {=]" "$BATS_FILE_TMPDIR/metrics.out"; }

# blocks LANGUAGE: prints each example in this language to a file of its own, and the files' names.
blocks() {
  python3 - "$PAGE" "$1" "$BATS_TEST_TMPDIR" <<'PYTHON'
import pathlib, re, sys

page, language, directory = sys.argv[1:]
text = pathlib.Path(page).read_text(encoding="utf-8")
for number, block in enumerate(re.findall(rf"^```{language}$(.*?)^```$", text, re.M | re.S)):
    file = pathlib.Path(directory, f"{number}.{language}")
    file.write_text(block, encoding="utf-8")
    print(file)
PYTHON
}

@test "Prometheus accepts the rules" {
  "$PROMTOOL" check rules "$RULES"
}

@test "the rules raise each alert for its cause only" {
  sed "s|RULES|$RULES|" "$CORVANE_SOURCE/tests/console/rules_test.yml" >"$BATS_TEST_TMPDIR/test.yml"
  "$PROMTOOL" test rules "$BATS_TEST_TMPDIR/test.yml"
  same "$(sed -n 's/^ *- alert: //p' "$RULES" | sort)" \
    "$(grep -o 'alertname: [A-Za-z]*' "$CORVANE_SOURCE/tests/console/rules_test.yml" | cut -d ' ' -f 2 | sort -u)"
}

@test "the rules and the page use metrics of the service" {
  local name found=0
  for name in $(grep expr: "$RULES" | names; names <"$PAGE"); do
    is_metric "$name" || { echo "no metric $name"; false; }
    found=$((found + 1))
  done
  [ "$found" -ge 15 ]
  run ! is_metric corvane_adapter_no_such_metric
}

@test "the page lists the alerts and recorded series of the rules" {
  same "$(sed -n 's/^ *- \(alert\|record\): //p' "$RULES" | sort)" \
    "$(grep -oE '^\| `(Corvane[A-Za-z]+|corvane:[a-z0-9_:]+)`' "$PAGE" | tr -d '|` ' | sort)"
}

@test "Prometheus accepts the configurations of the page" {
  local file files
  files=$(blocks yaml)
  [ "$(wc -w <<<"$files")" -eq 2 ]
  cp "$RULES" "$BATS_TEST_TMPDIR"
  for file in $files; do
    "$PROMTOOL" check config --syntax-only "$file"
  done
  sed -i s/static_configs/static_config/ "$BATS_TEST_TMPDIR/0.yaml"
  run ! "$PROMTOOL" check config --syntax-only "$BATS_TEST_TMPDIR/0.yaml"
}

@test "the Unix socket, which a proxy uses, has the same metrics as TCP" {
  same 200 "$(curl -s -o "$BATS_TEST_TMPDIR/unix.out" -w '%{http_code}' --unix-socket "$SOCKET" http://service/metrics)"
  same "$(names <"$BATS_FILE_TMPDIR/metrics.out")" "$(names <"$BATS_TEST_TMPDIR/unix.out")"
}

@test "the check for monitoring systems uses the service" {
  CORVANE_SOCKET="$SOCKET" keep check corvane-host check -v
  grep -q "using the service" "$BATS_FILE_TMPDIR/check.err"
  grep -q "^CORVANE CRITICAL - 2 cards: 1 CRITICAL, 1 OK; a1 MISSING: last seen " "$BATS_FILE_TMPDIR/check.out"
}
