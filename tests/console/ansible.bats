#!/usr/bin/env bats
# The playbook of docs/ansible.md, which changes the cards once.

bats_require_minimum_version 1.5.0
load helper
load service

setup_file() {
  load helper
  load service
  make_machine
  make_cards
  use_short_intervals
  cardsim set card0 iom_format_max_size_bytes 1099511627776
  start_service
  export CORVANE_SOCKET="$SOCKET" ANSIBLE_LOCAL_TEMP="$BATS_FILE_TMPDIR/ansible"
  export ANSIBLE_HOME="$BATS_FILE_TMPDIR/ansible" ANSIBLE_NOCOLOR=1
  # shellcheck disable=SC2016  # back quotes of Markdown
  sed -n '/^```yaml$/,/^```$/p' "$CORVANE_SOURCE/docs/ansible.md" | sed '/^```/d' \
    >"$BATS_FILE_TMPDIR/cards.yml"
  printf '[storage]\nlocalhost ansible_connection=local ansible_python_interpreter=/usr/bin/python3\n' \
    >"$BATS_FILE_TMPDIR/hosts"
  keep first play
  keep second play
  keep unknown play -e card=S900
}

teardown_file() {
  load service
  stop_service
}

# play ARGUMENTS...: runs the playbook for the card S100, in the time zone and locale of the tests.
play() {
  ansible-playbook -i "$BATS_FILE_TMPDIR/hosts" -e card=S100 "$@" "$BATS_FILE_TMPDIR/cards.yml"
}

# recap NAME: prints the counts of a run as "ok changed failed".
recap() { out "$1" | sed -En 's/^localhost .*ok=([0-9]+) +changed=([0-9]+) .*failed=([0-9]+).*/\1 \2 \3/p'; }

@test "the first run of the playbook detaches, formats and attaches the card, and reports changes" {
  ended first 0 || { out first; false; }
  same "6 5 0" "$(recap first)"
  same 4096 "$(cardsim get card0 sector_size_bytes)"
  same 2 "$(cardsim get card0 iom_state)"
  same true "$(cardsim get card0 beacon_state)"
  grep -qx "PollInterval=30" "$CORVANE_CONFIG_DIR/Corvane.ini"
}

@test "the second run of the playbook changes nothing" {
  ended second 0 || { out second; false; }
  same "4 0 0" "$(recap second)"
}

@test "the playbook fails for an unknown card" {
  ended unknown 2
  out unknown | grep -q '"rc": 3'
}
