#!/usr/bin/env bats
# The query parameters of /v1/events, and the log in pages.

bats_require_minimum_version 1.5.0
load helper
load service

setup_file() {
  load helper
  load service
  make_machine
  make_cards
  cardsim clear card1 TEMPERATURE_ABOVE_WARN
  export CORVANE_DATABASE="$BATS_FILE_TMPDIR/corvane.db"
  host list >/dev/null
  # Events 1 to 12: 3 and 9 are warnings of S200, 6 and 12 are errors of its drive.
  local rows=() number
  for number in $(seq 12); do
    case $((number % 6)) in
      3) rows+=("2026-11-20T05:31:$number 3 10967 1 'Card' 'text $number' S200 19038") ;;
      0) rows+=("2026-11-20T05:31:$number 4 10967 1 'Drive' 'text $number' S200 19018") ;;
      *) rows+=("2026-11-20T05:31:$number 2 10980 1 'Card' 'text $number' S100 19038") ;;
    esac
  done
  add_log_entries "$CORVANE_DATABASE" "${rows[@]}"
  start_service
}

teardown_file() {
  load service
  stop_service
}

# numbers QUERY: prints the numbers of the events in the response.
numbers() {
  document page "/v1/events?$1" >&2
  json page '" ".join(str(e["number"]) for e in d["result"]["events"])' | tr -d '"'
}
ALL="1 2 3 4 5 6 7 8 9 10 11 12"

@test "events have their numbers in the log" {
  same "$ALL" "$(numbers limit=1000000000)"
}

@test "limit selects the newest events" {
  same "" "$(numbers limit=0)"
  same "12" "$(numbers limit=1)"
  same "3 4 5 6 7 8 9 10 11 12" "$(numbers limit=10)"
  same "$ALL" "$(numbers limit=12)"
}

@test "since selects events by time, including this time" {
  same "$ALL" "$(numbers since=2026-11-20)"
  same "11 12" "$(numbers since=2026-11-20T05:31:11Z)"
  same "12" "$(numbers "since=2026-11-20T06:31:11%2B01:00&limit=1")"
  same "" "$(numbers since=2026-11-20T05:31:13Z)"
}

@test "after and limit return the log in pages without gaps or duplicates" {
  local after=0 page pages=()
  while page=$(numbers "after=$after&limit=5") && [ -n "$page" ]; do
    pages+=("$page")
    after=${page##* }
  done
  same "$ALL" "${pages[*]}"
  same 3 "${#pages[@]}"
  same "12" "$(numbers after=11)"
  same "" "$(numbers after=12)"
  same "" "$(numbers after=9223372036854775807)"
  same "" "$(numbers "after=0&limit=0")"
}

@test "object selects the events of a card and of its drives" {
  same "3 6 9 12" "$(numbers object=S200)"
  same "3 6 9 12" "$(numbers object=a1)"
  same "3 6 9 12" "$(numbers object=pci:0000:5e:00.0)"
  same "6 12" "$(numbers object=a1/d0)"
  same "9 12" "$(numbers "object=S200&limit=2")"
  same "6 9" "$(numbers "object=S200&after=3&limit=2")"
  same "12" "$(numbers "object=S200&since=2026-11-20T05:31:10Z")"
}

@test "severity selects events with the console's names" {
  same "1 2 4 5 7 8 10 11" "$(numbers severity=information)"
  same "3 9" "$(numbers severity=warning)"
  same "6 12" "$(numbers severity=error)"
  same "12" "$(numbers "severity=error&limit=1")"
  same "6" "$(numbers "severity=error&after=0&limit=1")"
  same "" "$(numbers "severity=warning&object=S100")"
}

@test "the console has the same options" {
  keep pages corvane-host --socket "$SOCKET" events S200 --after 3 --limit 2 -o json
  valid pages
  same "[6, 9]" "$(json pages '[e["number"] for e in d["result"]["events"]]')"
  keep errors corvane-host --socket "$SOCKET" events --severity error -o json
  same "[6, 12]" "$(json errors '[e["number"] for e in d["result"]["events"]]')"
  keep negative corvane-host --socket "$SOCKET" events --after=-1
  ended negative 2
  said negative "corvane-host: events: --after: invalid number '-1'"
}

@test "invalid values are refused" {
  local query
  for query in limit=-1 limit= limit=x limit=1000000001 limit=1.5 after=-1 after= \
    after=9223372036854775808 severity= severity=WARNING severity=unknown object= \
    "object=$(printf '%0257d' 0)" since= "since=$(printf '%065d' 0)"; do
    ask refused GET "/v1/events?$query"
    problem refused 400 QUERY_INVALID
  done
  ask refused GET /v1/events?since=never
  problem refused 400 USAGE
  for query in object=S300 object=a9 object=-- object=--version "object=$(printf '%0256d' 0)"; do
    ask refused GET "/v1/events?$query"
    problem refused 404 NO_SUCH_OBJECT
  done
}

@test "a name of several objects is ambiguous" {
  cardsim set card1 serial_number S100
  is_ambiguous() { ask both GET "/v1/cards?fresh=1" && ask refused GET /v1/events?object=S100 && [ "$(rc refused)" = 409 ]; }
  eventually is_ambiguous
  cardsim set card1 serial_number S200
  problem refused 409 AMBIGUOUS
}
