#!/usr/bin/env bash
# No 32-byte register is saved with an aligned move. The stack of 64-bit Windows is aligned to 16 bytes only, and GCC
# may forget that. Usage: no_aligned_wide_stack_access.sh FILE.aex OBJDUMP
set -euo pipefail
wide=$("$2" -d --no-show-raw-insn "$1" | grep -E '%[yz]mm')

echo "$(wc -l <<<"$wide") instructions with wide registers"
# Constants of the program itself, relative to %rip, may be aligned. Streaming stores have a mnemonic of their own.
! grep -E 'vmov(aps|apd|dqa)' <<<"$wide" | grep -F '(' | grep -vF '(%rip)'
