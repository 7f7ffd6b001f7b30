#!/usr/bin/env bats
# The commands that show objects and their properties: list, tree, show, get and plugin.

bats_require_minimum_version 1.5.0
load helper

setup_file() {
  load helper
  make_machine
  make_cards
  keep list host list &
  keep listlong host list --long &
  keep chosen host list -c object,formatted_size_bytes &
  keep columns host list -c help &
  keep columnsjson host list -c help -o json &
  keep tree host tree &
  keep long host tree --long &
  keep show host show a0 &
  keep drive host show a0/d0 &
  keep plugin host show plugin &
  wait
  keep get host get a0 temperature_celsius reserve_space_ratio physical_size_bytes read_bytes \
    endurance_used_ratio status status_reasons pci_address external_power_connected &
  keep unknown host get a1 temperature_celsius CHIP_TEMPERATURE reserve_space_ratio &
  keep number host get plugin 30005 POLL_INTERVAL poll_interval_seconds &
  keep all host get a0/d0 &
  keep events host events &
  keep about host plugin &
  wait
}

@test "list prints one row per card, the worst first, with a dash for unknown values" {
  ended list 0
  silent list err
  same "ID  STATUS   TEMP  RESERVE  USED     SIZE  SLOT  SERIAL
a1  WARNING     -        -   2 %  2.60 TB     2  S200
a0  ok       48°C     97 %  25 %   880 GB     5  S100" "$(out list)"
}

@test "list --long adds names, addresses, binary sizes and drives" {
  ended listlong 0
  same "ID STATUS TEMP RESERVE USED SIZE BINARY SLOT SERIAL PCI NAME
a1 WARNING - - 2 % 2.60 TB 2.36 TiB 2 S200 0000:5e:00.0 MOLT EP PX600 (2)
a1/d0 available 2.60 TB 2.36 TiB MOLT EP PX600 2.6TB (0)
a0 ok 48°C 97 % 25 % 880 GB 819 GiB 5 S100 0000:3b:02.1 SanDisk BoardA (1)
a0/d0 available 880 GB 819 GiB DriveA (0)" "$(out listlong | sed 's/  */ /g')"
}

@test "list -c chooses the columns, and fills those of drives" {
  ended chosen 0
  same "OBJECT    SIZE
a1     2.60 TB
a0      880 GB" "$(out chosen)"
}

@test "-c help lists the columns" {
  ended columns 0
  local name
  for name in object status temperature_celsius formatted_size_bytes last_read_at; do
    out columns | grep -qx "$name"
  done
  ended columnsjson 2
  said columnsjson "corvane-host: list: -c help cannot be combined with -o json"
}

@test "tree draws plug-in, adapters and drives" {
  ended tree 0
  same "OBJECT    NAME                    STATUS    TEMP RESERVE    SIZE PCI          SERIAL
plugin    SanDisk-Plugin
├─a0      SanDisk BoardA (1)      ok        48°C    97 %  880 GB 0000:3b:02.1 S100
│ └─a0/d0 DriveA (0)              available               880 GB
└─a1      MOLT EP PX600 (2)       WARNING      -       - 2.60 TB 0000:5e:00.0 S200
  └─a1/d0 MOLT EP PX600 2.6TB (0) available              2.60 TB" "$(out tree)"
}

@test "tree --long also shows ids, parents, reasons and sizes" {
  ended long 0
  same "plugin 0x0130000000000000 - SanDisk-Plugin
├─a0 0x0130000000000001 0x0130000000000000 SanDisk BoardA (1) ok ATTACHED 48°C 97 % 1.10 TB 880 GB 0000:3b:02.1 S100
│ └─a0/d0 0x0130000000000002 0x0130000000000001 DriveA (0) available 1.10 TB 880 GB 512 B
└─a1 0x0130000000000003 0x0130000000000000 MOLT EP PX600 (2) WARNING TEMPERATURE_ABOVE_WARN, ATTACHED - - 2.20 TB 2.60 TB 0000:5e:00.0 S200" \
    "$(out long | sed -e 1d -e 's/  */ /g' | head -4)"
}

@test "show prints the properties of an adapter" {
  ended show 0
  local text
  text=$(out show | sed -e 's/^ *//' -e 's/  */ /g')
  for line in "object a0" "type adapter" "id 0x0130000000000001" \
    "parents plugin (0x0130000000000000)" "children a0/d0 (0x0130000000000002)" \
    "name SanDisk BoardA (1)" "status ok" "status_reasons ATTACHED" "temperature_celsius 48°C ███████░░░░░ warning 78, critical 85" \
    "reserve_space_ratio 97 % ████████████ warning 10" "written_bytes 1.10 TB (1.00 TiB)" "endurance_used_ratio 25 % ███░░░░░░░░░" "pci_slot 5" \
    "serial_number S100"; do
    grep -qxF "$line" <<<"$text" || { echo "missing: $line"; false; }
  done
  grep -qxF "operations OP_LOCATE_DEVICE, OP_STOP_LOCATE_DEVICE, OP_ATTACH, OP_DETACH" <<<"$text"
}

@test "show prints the sizes of a drive" {
  ended drive 0
  local text
  text=$(out drive | sed -e 's/^ *//' -e 's/  */ /g')
  for line in "parents a0 (0x0130000000000001)" "status available" "physical_size_bytes 1.10 TB (1.00 TiB)" \
    "formatted_size_bytes 880 GB (819 GiB)" "formatted_ratio 80 % ██████████░░" "sector_size_bytes 512 B"; do
    grep -qxF "$line" <<<"$text" || { echo "missing: $line"; false; }
  done
}

@test "show plugin prints the poll interval" {
  ended plugin 0
  same "poll_interval_seconds 15 s" "$(out plugin | sed -e 's/^ *//' -e 's/  */ /g' | grep poll)"
}

@test "get prints raw values in base units, one per line" {
  ended get 0
  silent get err
  same "48.2
0.97
1099511627776
2199023255552
0.25
OK
ATTACHED
0000:3b:02.1
yes" "$(out get)"
}

@test "get prints a dash for an unreported value and succeeds" {
  ended unknown 0
  same "-
-
-" "$(out unknown)"
}

@test "get accepts a property by number, identifier or name" {
  ended number 0
  same "15
15
15" "$(out number)"
}

@test "get without a property prints all values" {
  ended all 0
  same "DriveA (0)
AVAILABLE
AVAILABLE" "$(out all | head -3)"
  same "$(host get a0/d0 -o tsv -H | cut -f 2)" "$(out all)"
}

@test "events prints only a note for an empty log" {
  ended events 0
  silent events out
  said events "corvane-host: note: no matching events in the log"
}

@test "plugin shows the loaded file and its symbols" {
  ended about 0
  same "PROPERTY VALUE
file $CORVANE_BUILD/lib/libCorvane.so
module_id 304
interface_version 2
createIf present
releaseIf present
NAMESPACE_Corvane::ErrorMsgList present
NAMESPACE_Corvane::MBX_MODULE_INFO_Corvane present
NAMESPACE_Corvane::NLS::m_LngFile present
NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL present
other_symbols 0" "$(out about | sed 's/  */ /g')"
}

@test "plugin shows exported and missing symbols of the file" {
  keep oddplugin test_plugin x plugin -o json
  ended oddplugin 0
  valid oddplugin
  same '[["createIf", true], ["releaseIf", true], ["NAMESPACE_Corvane::ErrorMsgList", false], ["NAMESPACE_Corvane::MBX_MODULE_INFO_Corvane", false], ["NAMESPACE_Corvane::NLS::m_LngFile", false], ["NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL", false]]' \
    "$(json oddplugin '[[s["name"], s["present"]] for s in d["result"]["symbols"] if s["expected"]]')"
  same "$(nm -D --defined-only --demangle "$TEST_PLUGIN" | cut -d ' ' -f 3- | LC_ALL=C sort)" \
    "$(python3 -c 'import json,sys; [print(s["name"]) for s in json.load(open(sys.argv[1]))["result"]["symbols"] if s["present"]]' \
      "$BATS_FILE_TMPDIR/oddplugin.out" | LC_ALL=C sort)"
  schema_rejects oddplugin 'd["result"]["symbols"].clear()' 'd["result"]["symbols"][0].pop("present")'
}

@test "get accepts every name of an adapter" {
  for name in a0 A0 S100 "SanDisk BoardA (1)" pci:0000:3b:02.1 pci:3b:02.1 /dev/fct0 \
    0x0130000000000001 0x130000000000001; do
    keep "by-${name//\//_}" host get "$name" serial_number &
  done
  wait
  local file
  for file in "$BATS_FILE_TMPDIR"/by-*.out; do
    [ "$(cat "$file")" = S100 ] || { echo "$file: $(cat "$file" "${file%out}err")"; false; }
  done
}

@test "help lists commands, and help COMMAND prints the same as COMMAND --help" {
  for command in list tree show get set events explain plugin help version; do
    corvane-host help | grep -q "^  $command "
    corvane-host help "$command" | grep -q "^Usage: corvane-host $command"
    same "$(corvane-host help "$command")" "$(corvane-host "$command" --help)"
  done
  same "corvane-host 7.7.0" "$(corvane-host --version)"
}
