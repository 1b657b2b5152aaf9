#!/usr/bin/env bash
# What is compiled for one instruction set has no function and no object that the linker might keep for every
# processor, and no fused multiply-add, which rounds differently. All objects of the folder x86/ are checked.
# Usage: wide_kernels_share_nothing.sh NM OBJDUMP OBJECT …
set -euo pipefail
nm=$1 objdump=$2
shift 2

checked=()
for object in "$@"; do
  [[ $object != */kernels/x86/* ]] || checked+=("$object")
done
echo "${#checked[@]} objects"
for tier in sse2 avx2 avx512; do
  [[ ${checked[*]} == */${tier}_kernels.cpp.* ]]
done
# The pattern finds weak symbols (W, V, u). In Windows' objects it finds what the linker keeps only once: that lies in a
# section of its own name.
symbols=$("$nm" -C "${checked[@]}")
refuse() { # PATTERN TEXT: prints the lines of the text that must not be there
  if grep -E "$1" <<<"$2"; then exit 1; fi
}
refuse '^[0-9a-f]* *[WwVvu] |linkonce|\.text[$]|\.(rdata|data|bss)[$]_Z' "$symbols"
instructions=$("$objdump" -d --no-show-raw-insn "${checked[@]}")
grep -q 'mulps' <<<"$instructions"
# The code asks for fused operations only where it corrects a quotient, always for one of each of these two kinds.
refuse '[[:space:]]vfn?msub' "$instructions"
fused() { grep -cE "[[:space:]]$1[0-9]" <<<"$instructions"; }
(($(fused vfmadd) == $(fused vfnmadd)))
