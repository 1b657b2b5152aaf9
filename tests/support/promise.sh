# shellcheck shell=bash
# The shell tests source this. It runs promises and counts them.
passed=0
failed=0

# promise TEXT COMMAND…: runs the command in a subshell; its exit code says whether the promise holds.
promise() {
  local text=$1
  shift
  if ("$@"); then
    echo "ok   $text"
    passed=$((passed + 1))
  else
    echo "FAIL $text"
    failed=$((failed + 1))
  fi
}
# Prints the counts as the last line of a test; succeeds if every promise held.
summary() {
  echo "$passed passed, $failed failed"
  [ "$failed" = 0 ]
}

is() { [ "$1" = "$2" ] || {
  echo "     expected: $2, got: $1"
  false
}; }
not() { ! "$@"; }
