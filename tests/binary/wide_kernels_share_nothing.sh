#!/usr/bin/env bash
# What is compiled for AVX2 or AVX-512 has no function or object that the linker might keep for every processor.
# Usage: wide_kernels_share_nothing.sh NM OBJECT …
set -euo pipefail
nm=$1
shift

wide=()
for object in "$@"; do
  [[ ${object##*/} != avx* ]] || wide+=("$object")
done
echo "${#wide[@]} objects"
((${#wide[@]}))
# W, V, u and, for Windows, functions in sections of their own.
! "$nm" -C "${wide[@]}" | grep -E '^[0-9a-f]* *[WwVvu] |linkonce|\.text\$'
