#!/usr/bin/env bash
# The effect calls its host only through src/host/host_call.h. A callback's name may be followed by a call nowhere, and
# may stand only as the first argument of CallHost and GiveBackToHost, or in a comparison with null. A function that the
# host calls may use CallHostUnguarded. This script prints each other use of a callback, and then fails.
# Usage: host_calls.sh SDK_FOLDER SOURCE_FOLDER
set -euo pipefail

names=$(grep -hoP '\(\*\K\w+(?=\)\()' "$1"/*.h | sort -u | paste -sd '|')
[[ $names == *checkout_param* && $names == *iterate_generic* ]]

found=0
while IFS= read -r file; do
  through='CallHost|GiveBackToHost'
  [[ $file != */engine/conversion_callbacks.h ]] || through+='|CallHostUnguarded'
  uses=$(sed 's://.*::' "$file" | tr -s '[:space:]' ' ' |
    sed -E "s/\<($through)\( ?([^,;]|\", [0-9])*(\.|->)($names)[,)]//g; s/(\.|->)($names) [!=]= nullptr//g" |
    grep -oE "[^ ]*(\.|->|\<PF_[A-Za-z0-9]+::)($names)\>.{0,20}") || continue
  found=1
  printf '%s: %s\n' "$file" "$uses"
done < <(find "$2" -name '*.cpp' -o -name '*.h')
((found == 0)) || {
  echo "host_calls.sh: the effect must call its host through host/host_call.h" >&2
  exit 1
}
