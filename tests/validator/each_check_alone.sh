#!/usr/bin/env bash
# Runs every check of the validator in a program of its own, because the race detector does not watch threads in forked
# processes.
# Usage: each_check_alone.sh NUVHOST EFFECT
set -uo pipefail
nuvhost=$1 effect=$2
left_out=pixels.past-2-gib # the detector keeps several times the memory that it watches

{ list=$("$nuvhost" validate --list) && grep -q "^$left_out " <<<"$list"; } || {
  echo "no list of checks, or not $left_out in it"
  exit 1
}
passed=0 failed=0
while read -r check; do
  [[ $check != "$left_out" ]] || continue
  if output=$(timeout 300 "$nuvhost" validate "$effect" --check "$check" --in-process 2>&1); then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAIL $check"
    echo "$output"
  fi
done < <(awk '$1 ~ /[.]/ { print $1 }' <<<"$list")
echo "left out: $left_out"
echo "$passed passed, $failed failed"
((passed > 0 && failed == 0))
