#!/usr/bin/env bats
# Operations of the console through a service are jobs of the service, and locate LEDs and jobs when
# the plug-in process is killed.

bats_require_minimum_version 1.5.0
load helper
load service

setup_file() {
  load helper
  make_machine
}

# Each test has its own service, because the delay before a restart of the plug-in process doubles
# with each restart.
setup() {
  rm -f "$CARDSIM_STATE"
  make_cards
  use_short_intervals
  start_service
}

# A plug-in that still waits for a card would delay the exit of the service.
teardown() {
  local plugin
  plugin=$(plugin_process) || true
  if [[ "$plugin" =~ ^[0-9]+$ ]] && [ "$plugin" -gt 1 ]; then kill -KILL "$plugin" || true; fi
  stop_and_wait
}

# stop_and_wait: stops the service and waits until it has exited.
stop_and_wait() {
  stop_service
  eventually has_exited "$(cat "$BATS_FILE_TMPDIR/pid")"
}
has_exited() { ! grep -qs '^State:[[:space:]]*[^Z[:space:]]' "/proc/$1/status"; }

served() { corvane-host --socket "$SOCKET" "$@"; }

# kill_plugin: kills the plug-in process.
# await_plugin: waits until another process than the killed one serves the cards.
kill_plugin() {
  KILLED=$(plugin_process)
  [[ "$KILLED" =~ ^[0-9]+$ ]] && [ "$KILLED" -gt 1 ]
  kill -KILL "$KILLED"
}
is_replaced() { [ "$(plugin_process)" != "$KILLED" ] && answers_ready; }
await_plugin() {
  eventually is_replaced
  [ "$(plugin_process)" -gt 1 ]
}

# newest_job SERIAL EXPRESSION: prints a value of the card's newest job `j`.
newest_job() {
  ask jobs GET /v1/jobs
  json jobs "(lambda j: ($2))(next(j for j in d['jobs'] if j['serial_number'] == '$1'))"
}
job_is() { [ "$(newest_job "$1" 'j["operation"], j["state"]')" = "[\"$2\", \"$3\"]" ]; }
state_is() { [ "$(cardsim get "$1" iom_state)" = "$2" ]; }

# activity_is SERIAL ACTIVITY: succeeds if the service shows this activity of the card.
activity_is() {
  ask card GET "/v1/cards/$1?fresh=1"
  [ "$(rc card)" = 200 ] && [ "$(json card 'd["result"]["fields"]["activity"]')" = "\"$2\"" ]
}

# start_long_detach NAME: starts a detach of a0 that the card does not finish.
start_long_detach() {
  cardsim set card0 detach_ms 3600000
  keep "$1" served detach a0 -y --timeout 1s
  ended "$1" 7
  state_is card0 3
}

# led_before SERIAL: prints the state of the LED that a locate job reports.
led_before() {
  local id
  ask led POST "/v1/cards/$1/operations/locate" '{"dry_run": true}'
  responded led 202
  id=$(json led 'd["id"]' | tr -d '"')
  led_has_ended() {
    ask led GET "/v1/jobs/$id"
    [ "$(json led 'd["state"]')" != '"RUNNING"' ]
  }
  eventually led_has_ended
  json led 'd["result"]["result"]["before"]["locate_led"]'
}

@test "an operation of the console is a job of its user" {
  keep on served locate a0 on
  ended on 0
  same "[\"locate\", \"SESSION\", \"$(id -un)\", false, \"SUCCEEDED\", null]" \
    "$(newest_job S100 '[j[k] for k in ("operation", "origin", "user", "dry_run", "state", "result")]')"
  keep off served locate a0 off
  same '["stop-locate", "SUCCEEDED"]' "$(newest_job S100 'j["operation"], j["state"]')"
  ask api POST /v1/cards/S100/operations/locate '{"dry_run": true}'
  same "[\"API\", \"$(id -un)\"]" "$(newest_job S100 'j["origin"], j["user"]')"
}

@test "each command can start as soon as the previous one has ended" {
  local i
  for i in 1 2 3; do
    keep detach served detach a0 -y
    ended detach 0 || { err detach; false; }
    same '["detach", "SUCCEEDED", null]' "$(newest_job S100 'j["operation"], j["state"], j["result"]')"
    keep attach served attach a0 -y
    ended attach 0 || { err attach; false; }
    same '["attach", "SUCCEEDED", null]' "$(newest_job S100 'j["operation"], j["state"], j["result"]')"
  done
}

@test "a job of the console that the card rejects has failed" {
  cardsim set card0 in_use true
  keep busy served detach a0 -y
  cardsim set card0 in_use false
  ended busy 1
  same '["detach", "FAILED", "CTRL_DETACH_FAILED"]' \
    "$(newest_job S100 'j["operation"], j["state"], j["result"]["id"]')"
}

@test "a card that is being detached refuses other jobs from both sides" {
  start_long_detach long
  same '["detach", "RUNNING", null]' "$(newest_job S100 'j["operation"], j["state"], j["result"]')"
  ask api POST /v1/cards/S100/operations/locate '{}'
  problem api 409 JOB_RUNNING
  same '"another job is running on card S100 (detach)"' "$(json api 'd["detail"]')"
  keep locate served locate a0 on
  ended locate 4
  same "corvane-host: another job is running on card S100 (detach)
  Wait until this is done: corvane-host wait S100 detached" "$(err locate)"
  same false "$(cardsim get card0 beacon_state)"
  keep other served locate a1 on
  ended other 0
  keep other served locate a1 off
  ended other 0
}

# refuses_all_jobs: expects card a0, on which a detach is running, to refuse all other jobs.
refuses_all_jobs() {
  local path body arguments
  while IFS='|' read -r path body; do
    ask api POST "/v1/cards/S100/$path" "$body"
    problem api 409 JOB_RUNNING || { echo "$path $body"; false; }
  done <<'END'
operations/locate|{}
operations/stop-locate|{}
operations/attach|{"confirm": true}
operations/detach|{"confirm": true}
operations/detach|{"confirm": true, "force": true}
operations/detach|{"dry_run": true}
drives/0/operations/online|{"confirm": true}
drives/0/operations/offline|{"confirm": true}
drives/0/format|{"dry_run": true, "capacity": "80"}
drives/0/format|{"confirm": "S100", "capacity": "80"}
END
  while read -r arguments; do
    # shellcheck disable=SC2086  # a row consists of several arguments
    keep console served $arguments
    [ "$(rc console)" = 4 ] || { echo "$arguments: $(rc console)"; err console; false; }
  done <<'END'
locate a0 on
attach a0 -y
detach a0 -y
detach a0 -y --force
offline a0/d0 -y
format a0/d0 --capacity 50 --confirm S100
END
  ask jobs GET /v1/jobs
  same '["detach"]' \
    "$(json jobs '[j["operation"] for j in d["jobs"] if j["serial_number"] == "S100" and j["state"] == "RUNNING"]')"
  same "3 false" "$(cardsim get card0 iom_state) $(cardsim get card0 beacon_state)"
}

@test "a card refuses all other jobs while a job of the console runs on it" {
  start_long_detach long
  refuses_all_jobs
}

@test "the console is refused while a job of the API runs on the card" {
  cardsim set card0 detach_ms 3600000
  ask api POST /v1/cards/S100/operations/detach '{"confirm": true}'
  responded api 202
  eventually state_is card0 3
  keep locate served locate a0 on
  ended locate 4
  said locate "corvane-host: another job is running on card S100 (detach)"
}

# Until the plug-in's next scan, it reports the state that the card had before.
start_without_scans() {
  stop_and_wait
  echo PollInterval=255 >"$CORVANE_CONFIG_DIR/Corvane.ini"
  cardsim set card1 iom_state 0
  start_service
}

# Each row has the arguments of a command that starts while a0 is being detached and a1 attached.
@test "a card that is being attached or detached refuses the opposite, also as a dry run" {
  local words number=0 end
  start_without_scans
  start_long_detach long
  cardsim set card1 attach_ms 3600000
  keep attaching served attach a1 -y --timeout 1s
  ended attaching 7
  while read -r words; do
    number=$((number + 1))
    # shellcheck disable=SC2086  # the words of a command line
    keep "case$number" served $words
    ended "case$number" 4 || { echo "$words"; out "case$number"; err "case$number"; false; }
    end="S100 detached"
    [[ "$words" != *a1* ]] || end="S200 attached"
    said "case$number" "  Wait until this is done: corvane-host wait $end"
  done <<'END'
attach a0 -y
attach a0 -y -n
detach a0 -y
detach a0 -y --force
op run a0 OP_ATTACH -y
detach a1 -y
detach a1 -y -n
detach a1 -y --force
attach a1 -y
format a1 --capacity 50 --confirm S200
format a1 --capacity 50 -n
END
  state_is card0 3
  state_is card1 1
}

@test "list, status, JSON and wait show that a card is being detached before the plug-in does" {
  local state
  start_without_scans
  start_long_detach long
  keep get served get a0 activity
  same DETACHING "$(out get)"
  keep list served list
  out list | grep -E '^a0 .* S100 +detaching$'
  keep status served status
  out status | grep -E '^   the card is being detached '
  keep json served status a0 -o json
  same '["DETACHING", []]' "$(json json '[d["result"]["objects"][0][k] for k in ("activity", "reasons")]')"
  for state in attached detached; do
    keep early served wait a0 "$state" --timeout 300ms
    ended early 7
  done
}

@test "the log names the card, the user, the arguments and the result of each operation" {
  local log="$BATS_FILE_TMPDIR/serve.err" user line object
  user=$(id -un)
  keep id served status a0 -o json
  object=$(json id 'd["result"]["objects"][0]["id"]' | tr -d '"')
  keep detach served detach a0 -y
  ended detach 0
  keep format served format a0/d0 --capacity 80 --sector-size 4096 --again --confirm S100
  ended format 0
  cardsim fail vsl_op_start --code 99 --text "flux" >/dev/null
  keep broken served attach a0 -y
  ended broken 1
  ask api POST /v1/cards/S100/drives/0/format '{"confirm": "S200", "capacity": "80"}'
  while read -r line; do
    grep -qE -- "^corvane-host: $line\$" "$log" || { echo "no $line"; cat "$log"; false; }
  done <<END
OP_DETACH on a0 [(]S100, $object[)] requested by uid $(id -u), pid [0-9]+ [(]corvane-host[)]
detach of a0 [(]S100[)] by $user has succeeded after [0-9:]+
OP_FORMAT_DEVICE on a0/d0 [(]S100, 0x[0-9a-f]{16}[)], FORMATTING=CUSTOM, SIZE=80, BLOCK_SIZE=4096 requested by uid .*
format of a0 [(]S100[)] by $user has succeeded after [0-9:]+
attach of a0 [(]S100[)] by $user has failed after [0-9:]+: the card rejected the command
formatDrive/0/S100, capacity=80 requested by uid .* [(]curl[)] was refused: 'S200' is not the serial number
END
}

@test "the log names requests that are refused because another job is running" {
  start_long_detach long
  keep attach served attach a0 -y
  ended attach 4
  grep -qE '^corvane-host: OP_ATTACH on a0 [(]S100, 0x[0-9a-f]{16}[)] requested by uid [0-9]+, pid [0-9]+ [(]corvane-host[)] was refused: another job is running on card S100 [(]detach[)]$' \
    "$BATS_FILE_TMPDIR/serve.err"
  keep show served show a0
  run ! grep -q OP_LOCATE "$BATS_FILE_TMPDIR/serve.err"
}

@test "a session job fails if the plug-in process is killed" {
  start_long_detach long
  kill_plugin
  eventually job_is S100 detach FAILED
  same '[503, "PLUGIN_ENDED", "the plug-in process has exited"]' \
    "$(newest_job S100 '[j["result"][k] for k in ("status", "id", "detail")]')"
  newest_job S100 'j["result"]["hint"]' | grep -q "The card may still be working"
  await_plugin
  eventually activity_is S100 IDLE
}

@test "a job of the API fails if the plug-in process is killed" {
  cardsim set card0 detach_ms 3600000
  ask api POST /v1/cards/S100/operations/detach '{"confirm": true}'
  responded api 202
  eventually state_is card0 3
  kill_plugin
  eventually job_is S100 detach FAILED
  same '[503, "PLUGIN_ENDED"]' "$(newest_job S100 'j["result"]["status"], j["result"]["id"]')"
  await_plugin
}

# In the simulator, a card stops formatting when the process exits; a real card continues.
@test "a card that continues to format after its process was killed is shown as busy" {
  cardsim set card1 iom_state 0
  cardsim set card1 format_ms 3600000
  is_detached() { ask card GET "/v1/cards/S200?fresh=1" && json card 'd["result"]["fields"]["status_reasons"]' | grep -q DETACHED; }
  eventually is_detached
  keep format served format a1/d0 --capacity 80 --confirm S200 &
  local format=$!
  eventually state_is card1 4
  same '["format", "RUNNING"]' "$(newest_job S200 'j["operation"], j["state"]')"
  ask api POST /v1/cards/S200/operations/attach '{"confirm": true}'
  problem api 409 JOB_RUNNING
  keep dry served format S200 --capacity 50 -n
  keep second served format S200 --capacity 50 --confirm S200
  local name
  for name in dry second; do
    ended "$name" 4
    said "$name" "corvane-host: another job is running on card S200 (format)"
  done
  kill_plugin
  cardsim set card1 iom_state 4
  wait "$format"
  ended format 5
  said format "corvane-host: the plug-in process has exited"
  same '["FAILED", 503, "PLUGIN_ENDED"]' \
    "$(newest_job S200 'j["state"], j["result"]["status"], j["result"]["id"]')"
  await_plugin
  eventually activity_is S200 BUSY
  cardsim set card1 iom_state 2
  eventually activity_is S200 IDLE
}

@test "locate LEDs are on again after the plug-in process was killed" {
  keep console served locate a0 on
  ended console 0
  ask api POST /v1/cards/S200/operations/locate '{}'
  responded api 202
  eventually job_is S200 locate SUCCEEDED
  kill_plugin
  await_plugin
  same "true true" "$(cardsim get card0 beacon_state) $(cardsim get card1 beacon_state)"
  same '"ON"' "$(led_before S100)"
  same '"ON"' "$(led_before S200)"
  keep off served locate a0 off
  ended off 0
  kill_plugin
  await_plugin
  same "false true" "$(cardsim get card0 beacon_state) $(cardsim get card1 beacon_state)"
  same '"OFF"' "$(led_before S100)"
}

@test "locate LEDs are off after the service was restarted" {
  keep on served locate a1 on
  ended on 0
  stop_and_wait
  start_service
  same "false false" "$(cardsim get card0 beacon_state) $(cardsim get card1 beacon_state)"
  same '"OFF"' "$(led_before S200)"
}
