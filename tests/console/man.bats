#!/usr/bin/env bats
# The manual pages match the programs, and installed programs work.

bats_require_minimum_version 1.5.0
load helper

PAGES="$CORVANE_BUILD/share/man/man1"

# page NAME: prints the page as man shows it, without hyphenation.
page() { groff -man -rHY=0 -Tutf8 -P-cbou "$PAGES/$1.1"; }

# section PAGE TITLE: prints the lines of the section.
section() { page "$1" | sed -n "/^$2\$/,/^[A-Z]/p" | sed '1d'; }

# terms PAGE TITLE: prints the terms of a section, which are indented less than their explanations.
terms() { section "$1" "$2" | sed -n 's/^       \([^ ].*\)/\1/p'; }

@test "the manual pages are valid" {
  local name
  for name in corvane-host cardsim; do
    [ -s "$PAGES/$name.1" ]
    same "" "$(groff -man -ww -z "$PAGES/$name.1" 2>&1)"
  done
  for name in corvane-host-serve corvane.service; do
    [ -s "$PAGES/../man8/$name.8" ]
    same "" "$(groff -man -ww -z "$PAGES/../man8/$name.8" 2>&1)"
  done
}

@test "the corvane-host man page lists exactly the commands in the help" {
  local help page
  help=$(corvane-host --help | sed -n '/^Inspect/,/^Examples/p' | sed -n 's/^  \([a-z]\+\).*/\1/p')
  page=$(terms corvane-host COMMANDS | awk '{print $1}')
  [ "$(wc -l <<<"$help")" -ge 22 ]
  same "$help" "$page"
}

@test "the corvane-host man page lists exactly the options in the help" {
  local help page
  help=$(corvane-host --help | sed -n '/^Common options/,/^Exit/p' |
    sed -n 's/^  \(-., \|    \)\(--[a-z-]*\).*/\1\2/p' | tr -d ' ')
  page=$(terms corvane-host OPTIONS | grep '^-' |
    sed 's/\(-., \|\)\(--[a-z-]*\).*/\1\2/' | tr -d ' ')
  [ "$(wc -l <<<"$help")" -ge 25 ]
  same "$help" "$page"
}

@test "the corvane-host man page lists the same commands for each option as the help" {
  local help page
  help=$(corvane-host --help | sed -n '/^Command-specific options/,/^$/p' |
    awk '/^  (-., |    )--/ {print ""; sub(/^  (-., |    )/, "")} {printf "%s ", $0}' |
    sed -n 's/^\(--[a-z-]*\) .*(\([a-z, ]*\)) *$/\1 \2/p' | tr -s ' ')
  page=$(section corvane-host OPTIONS | sed -n '/^   Command-specific options/,$p' |
    awk '/^       -/ {print ""; sub(/^ *(-., )?/, ""); $0 = $1} {printf "%s ", $0}' |
    tr -s ' ' |
    sed -n 's/^\(--[a-z-]*\) \([a-z, ]*\):.*/\1 \2/p')
  [ "$(wc -l <<<"$help")" -ge 13 ]
  same "$help" "$page"
}

@test "the corvane-host man page lists exactly the exit codes in the help" {
  same "$(corvane-host --help | sed -n '/^Exit codes/,$p' | sed -n 's/^  \([0-9]*\)  .*/\1/p')" \
    "$(terms corvane-host "EXIT STATUS")"
}

@test "the cardsim man page lists exactly the commands in the help" {
  local help
  help=$(cardsim --help | sed -n '/^Commands/,$p' | sed -n 's/^  \([a-z-]*\)  .*/\1/p')
  [ "$(wc -l <<<"$help")" -ge 13 ]
  same "$help" "$(terms cardsim COMMANDS | awk '{print $1}')"
}

@test "an installation contains the plug-in, the simulator, completion scripts and manual pages" {
  make_machine
  local root="$BATS_FILE_TMPDIR/root"
  cmake --install "$CORVANE_BUILD" --prefix "$root" >"$BATS_FILE_TMPDIR/install.log"
  env -u CORVANE_BUILD PATH=/usr/bin:/bin "$root/bin/cardsim" new
  env PATH=/usr/bin:/bin "$root/bin/cardsim" add 0x2001
  same "a0
a0/d0" "$(env PATH=/usr/bin:/bin "$root/bin/corvane-host" --simulate list -o value)"
  same "$root/lib/libCorvane.so" \
    "$("$root/bin/corvane-host" plugin -o json | python3 -c 'import json,sys; print(json.load(sys.stdin)["result"]["file"])')"
  # The installed programs do not use libraries from the build directory.
  run ! grep -q "$CORVANE_BUILD" <(env -u LD_LIBRARY_PATH ldd "$root/bin/corvane-host" "$root/lib/libCorvane.so")
  cmp "$SCHEMA" "$root/share/corvane/corvane-host.schema.json"
  cmp "$PAGES/corvane-host.1" "$root/share/man/man1/corvane-host.1"
  cmp "$CORVANE_SOURCE/service/prometheus/corvane.rules.yml" \
    "$root/share/corvane/prometheus/corvane.rules.yml"
  "$root/bin/corvane-host" completion bash |
    cmp - "$root/share/bash-completion/completions/corvane-host"
  "$root/bin/corvane-host" completion zsh | cmp - "$root/share/zsh/site-functions/_corvane-host"
  "$root/bin/corvane-host" completion fish |
    cmp - "$root/share/fish/vendor_completions.d/corvane-host.fish"
}

# --socket is an option of all commands, with a different meaning for serve.
@test "the corvane-host-serve man page lists the options in the help, and --socket" {
  local help page
  help=$(corvane-host help serve | sed -n '/^Options/,/^  -o/s/^ *\(--[a-z-]*\).*/\1/p' | sort)
  page=$(groff -man -rHY=0 -Tutf8 -P-cbou "$PAGES/../man8/corvane-host-serve.8" | sed -n '/^OPTIONS/,/^SIGNALS/p' |
    sed -n 's/^       \(--[a-z-]*\).*/\1/p' | sort)
  same "$(printf -- '--%s\n' events-directory for listen listen-any socket)" "$page"
  same "$page" "$(printf '%s\n' "$help" --socket | sort)"
}

# A setting of the units, and what the page says about it. "!" marks a setting that must not be set.
SETTINGS="ListenStream=/run/corvane/corvane.sock|the socket /run/corvane/corvane.sock
SocketGroup=corvane|members of the group corvane can open
SocketMode=0660|members of the group corvane can open
Type=notify|readiness (Type=notify)
ExecReload=/bin/kill -HUP \$MAINPID|systemctl reload corvane looks up the groups
WatchdogSec=30|The watchdog restarts the service
ProtectSystem=strict|The whole file system is read-only, except /var/lib/corvane
StateDirectory=corvane|except /var/lib/corvane for the database
ReadWritePaths=-/etc/corvane|/etc/corvane for Corvane.ini
ReadOnlyPaths=-/etc/corvane/events.d|/etc/corvane/events.d is read-only
DeviceAllow=char-fct* rw|The rule for char-fct*
CapabilityBoundingSet=CAP_SYS_ADMIN|CAP_SYS_ADMIN is the only capability
ProtectHome=read-only|ProtectHome= is read-only rather than yes
NoNewPrivileges=yes|without set-user-id rights
!PrivateDevices|PrivateDevices= is not set
!ProcSubset|ProcSubset=pid is not set"

# unit_settings: prints the settings of both units.
unit_settings() { grep -hE '^[A-Za-z]+=' "$CORVANE_SOURCE"/service/systemd/units/corvane.{service.in,socket}; }

@test "the corvane.service man page describes the settings of the units" {
  local page line text
  page=$(groff -man -rHY=0 -Tutf8 -P-cbou "$PAGES/../man8/corvane.service.8" | tr -s ' \n' ' ')
  while IFS='|' read -r line text; do
    grep -qF -- "$text" <<<"$page" || { echo "not in the page: $text"; false; }
    case $line in
      !*) run ! grep -q "^${line#!}=" <(unit_settings) ;;
      *) unit_settings | grep -qxF -- "$line" || { echo "not in the units: $line"; false; } ;;
    esac
  done <<<"$SETTINGS"
}

@test "the corvane.service man page names the files of the units" {
  local page path
  page=$(groff -man -rHY=0 -Tutf8 -P-cbou "$PAGES/../man8/corvane.service.8" | sed -n '/^FILES/,/^SEE/p')
  for path in $(unit_settings | grep -oE '(^ListenStream|CORVANE_[A-Z_]+)=/[^ ]*' | cut -d = -f 2); do
    grep -qF "$path" <<<"$page" || { echo "not in the page: $path"; false; }
  done
  same "/etc/corvane
/run/corvane/corvane.sock
/var/lib/corvane/corvane.db" \
    "$(unit_settings | grep -oE '(^ListenStream|CORVANE_[A-Z_]+)=/[^ ]*' | cut -d = -f 2 | sort)"
}
