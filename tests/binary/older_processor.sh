#!/usr/bin/env bash
# On processors without AVX, and without AVX-512, the plug-in renders the same bytes, and all kernels that run there
# give the bytes of the scalar ones. Usage: older_processor.sh QEMU PLUGIN RENDER_DIGEST KERNEL_CHECKER
set -euo pipefail
qemu=$1 plugin=$2 digest=$3 checker=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$digest" "$plugin" >"$work/here.txt"
[[ -s $work/here.txt ]]
older() { # older PROCESSOR KERNELS
  "$qemu" -cpu "$1" "$digest" "$plugin" >"$work/there.txt"
  cmp "$work/here.txt" "$work/there.txt"
  echo "$1: $(wc -l <"$work/here.txt") renders, byte-identical"
  "$qemu" -cpu "$1" "$checker" --gtest_brief=1 | tee "$work/checker.txt"
  grep -qx "kernels: $2" "$work/checker.txt"
}
older Nehalem 'scalar sse2 sse2-streaming'
older Haswell 'scalar sse2 sse2-streaming avx2 avx2-streaming'
