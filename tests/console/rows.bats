#!/usr/bin/env bats
# The rows that the plug-in writes to the host's database.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  cardsim remove card1
  keep all host rows &
  keep tsv host rows plugin -o tsv &
  keep json host rows -o json &
  keep wrong host rows drives -o json &
  CORVANE_DATABASE=/proc/no-such-directory/rows.db if_direct keep broken host rows adapter -o json &
  wait
  cardsim --state "$BATS_FILE_TMPDIR/many.json" new
  cardsim --state "$BATS_FILE_TMPDIR/many.json" add 0x2001 --count 64
}

# start_together FILE: runs two programs simultaneously with the same database.
start_together() {
  local many="$BATS_FILE_TMPDIR/many.json" file="$1"
  CORVANE_DATABASE="$file" keep one corvane-host --simulate="$many" rows adapter &
  CORVANE_DATABASE="$file" keep two corvane-host --simulate="$many" rows adapter &
  wait
}

@test "rows prints the number of rows and their non-NULL columns" {
  ended all 0
  same "adapter: 1 row in host_adapter_rows
drive: 1 row in host_drive_rows
plugin: 1 row in host_plugin_rows
TABLE ID COLUMN VALUE
adapter 1 ad_activity_names IDLE
adapter 1 ad_status_reason_names ATTACHED
adapter 1 ad_pci_bus 59
adapter 1 ad_temperature 48" "$(out all | sed -e 's/  */ /g' -e 's/ $//' | head -8)"
  same "plugin 1 pi_plugin_version 7.7.0" "$(out all | sed -e 's/  */ /g' | tail -1)"
}

@test "rows TABLE -o tsv prints one table" {
  ended tsv 0
  same "table	id	column	value
plugin	1	pi_api_version	3.16.0
plugin	1	pi_object_id	85568392920039424
plugin	1	pi_plugin_name	SanDisk-Plugin
plugin	1	pi_poll_interval	15
plugin	1	pi_module_id	Plugin:ID=304
plugin	1	pi_vendor	Skatra
plugin	1	pi_plugin_version	7.7.0" "$(out tsv)"
}

@test "rows -o json contains numbers, strings and lists and matches the schema" {
  valid json
  same '["adapter", "drive", "plugin"]' "$(json json '[t["table"] for t in d["result"]["tables"]]')"
  same '[1, 1, 1]' "$(json json '[t["count"] for t in d["result"]["tables"]]')"
  same '["S100", 48, ["ATTACHED"], [], 85568392920039425, "85568392920039425"]' \
    "$(json json '[d["result"]["tables"][0]["rows"][0]["ad_" + k] for k in ("serial_number", "temperature", "status_reason_names", "foreign_configurations", "object_id", "object_id_s")]')"
  same '[97.0, 1073741824.0]' \
    "$(json json '[d["result"]["tables"][1]["rows"][0]["pd_" + k] for k in ("remaining_reserve", "bytes_written_ki_b")]')"
  same false "$(json json '"ad_bios_version" in d["result"]["tables"][0]["rows"][0]')"
}

@test "the schema rejects unknown tables and columns" {
  schema_rejects json 'd["result"]["tables"] = []' 'd["result"]["tables"][0]["table"] = "volume"' \
    'd["result"]["tables"][0]["rows"][0]["ad_model"] = None' \
    'd["result"]["tables"][0]["rows"][0]["model"] = "x"' \
    'del d["result"]["tables"][0]["rows"][0]["ID"]'
}

@test "rows refuses an unknown table and lists the valid ones" {
  ended wrong 2
  valid wrong
  grep -q "unknown table 'drives'" "$BATS_FILE_TMPDIR/wrong.err"
  grep -q "Tables: adapter, drive, plugin" "$BATS_FILE_TMPDIR/wrong.err"
}

@test "rows fails with an unreadable database, but the plug-in starts" {
  direct_only "a service does not start with an unreadable database"
  ended broken 1
  valid broken
  same '["DATABASE_FAILED", "libCorvane.so"]' \
    "$(json broken '[d["messages"][-1]["id"], d["plugin"]["file"].split("/")[-1]]')"
  grep -q "unable to open database file" "$BATS_FILE_TMPDIR/broken.err"
}

@test "two hosts that start at the same time write each row once" {
  direct_only "only one service can use a database"
  local round name
  for round in 1 2 3; do
    start_together "$BATS_TEST_TMPDIR/together.db"
    for name in one two; do
      ended "$name" 0
      same "adapter: 64 rows in host_adapter_rows" "$(out "$name" | head -1)"
    done
    same "64 64" "$(python3 -c '
import sqlite3, sys
rows = sqlite3.connect(sys.argv[1]).execute("SELECT ad_serial_number FROM host_adapter_rows")
serials = [row[0] for row in rows]
print(len(serials), len(set(serials)))' "$BATS_TEST_TMPDIR/together.db")"
  done
}

@test "another user's link to a database is not followed" {
  direct_only "a service does not start with another user's database"
  [ "$(id -u)" -eq 0 ] || skip "only root can create another user's files"
  local shared="$BATS_TEST_TMPDIR/shared" name
  mkdir -m 1777 "$shared"
  echo precious >"$BATS_TEST_TMPDIR/target"
  ln -s ../target "$shared/corvane.db"
  chown -h 65534 "$shared/corvane.db"
  for name in events list; do
    CORVANE_DATABASE="$shared/corvane.db" keep "untrusted$name" host "$name" &
  done
  wait
  ended untrustedevents 6
  said untrustedevents "corvane-host: cannot read the event log $shared/corvane.db: \
$shared/corvane.db is owned by uid 65534"
  ended untrustedlist 1
  same precious "$(cat "$BATS_TEST_TMPDIR/target")"
}
