#!/usr/bin/env bash
# What is compiled for one instruction set has no function and no object that the linker might keep for every
# processor. All objects of the folder x86/ are checked. Usage: wide_kernels_share_nothing.sh NM OBJECT …
set -euo pipefail
nm=$1
shift

checked=()
for object in "$@"; do
  [[ $object != */kernels/x86/* ]] || checked+=("$object")
done
echo "${#checked[@]} objects"
((${#checked[@]}))
# W, V, u and, for Windows, functions in sections of their own.
! "$nm" -C "${checked[@]}" | grep -E '^[0-9a-f]* *[WwVvu] |linkonce|\.text\$'
