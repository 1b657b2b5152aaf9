# shellcheck shell=bash
# Promises, counted: what the shell tests share. Sourced.
passed=0
failed=0

# promise TEXT COMMAND…: the command's exit code decides. It runs in a shell of its own.
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
# The last line of every test: its count, and whether all is well.
summary() {
  echo "$passed passed, $failed failed"
  [ "$failed" = 0 ]
}

is() { [ "$1" = "$2" ] || {
  echo "     expected: $2, got: $1"
  false
}; }
not() { ! "$@"; }
