#!/usr/bin/env bash
# The effect loads on every Windows: it imports from KERNEL32 and the system's C runtime alone, and exports the two
# entry points and nothing else. Usage: aex_imports_and_exports.sh FILE.aex OBJDUMP
set -euo pipefail
headers=$("$2" -p "$1")

imports=$(sed -n 's/.*DLL Name: *//p' <<<"$headers" | sort | tr '\n' ' ')
exports=$(awk '/\[Ordinal\/Name Pointer\] Table/ {on=1; next} on && /\[ *[0-9]+\]/ {print $NF; next} on {on=0}' \
  <<<"$headers" | sort | tr '\n' ' ')

echo "imports: $imports"
echo "exports: $exports"
[[ $imports == "KERNEL32.dll msvcrt.dll " ]]
[[ $exports == "EffectMain PluginDataEntryFunction " ]]
grep -Eq 'Entry d 0+ 0+ Delay Import Directory' <<<"$headers"
