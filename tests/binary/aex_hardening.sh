#!/usr/bin/env bash
# The effect can be loaded at any 64-bit address, and its data cannot be executed. The file holds no symbols and not the
# time of the build; a symbols file lies beside it. Usage: aex_hardening.sh FILE.aex OBJDUMP
set -euo pipefail
aex=$1 objdump=$2
headers=$("$objdump" -p "$aex")
sections=$("$objdump" -h "$aex")

failed=0
check() { # TEXT COMMAND …
  if "${@:2}" >/dev/null; then echo "ok   $1"; else echo "FAIL $1" && failed=1; fi
}
has() { grep -Eq -- "$1" <<<"$headers"; }
flag() { has "^[[:space:]]+$1\$"; }

check "address randomisation" flag DYNAMIC_BASE
check "with all of 64 bits" flag HIGH_ENTROPY_VA
check "and a preferred address above 4 GiB" has '^ImageBase[[:space:]]+0000000[1-9a-f]'
check "and relocations to move by" has '^Entry 5 0*[1-9a-f][0-9a-f]* 0*[1-9a-f][0-9a-f]* Base Relocation'
check "data is not executed" flag NX_COMPAT
code_and_data_apart() { # a section's line of flags follows its name
  ! awk '/^ +[0-9]+ /{name = $2} /CODE/ && !/READONLY/ {print name; found = 1} END {exit !found}' <<<"$sections" &&
    [[ $(awk '/^ +[0-9]+ /{name = $2} /CODE/ {print name}' <<<"$sections") == .text ]]
}
check "code in one section, which is not writable" code_and_data_apart
check "constants are not writable" eval "grep -A1 ' \.rdata ' <<<\"\$sections\" | grep -q READONLY"
check "no symbols" eval "\"$objdump\" -t '$aex' 2>&1 | grep -q 'no symbols'"
check "no debugging sections" eval "! grep -q ' \.debug' <<<\"\$sections\""
check "but the name of the symbols file" grep -q ' \.gnu_debuglink ' <<<"$sections"
check "which has them" eval "\"$objdump\" -h '${aex%.aex}.debug' | grep -q ' \.debug_info '"
check "no time of the build" has '^Time/Date[[:space:]]+Thu Jan +1 00:00:00 1970'
check "no folder of the build" eval "! grep -aqF \"\$(cd \"$(dirname "$0")/../..\" && pwd)\" '$aex' '${aex%.aex}.debug'"
((failed == 0))
