#!/usr/bin/env bash
# On a processor without AVX the plug-in renders the same bytes, with the baseline kernels, and those give what the
# scalar ones do. Usage: older_processor.sh QEMU PLUGIN RENDER_DIGEST KERNEL_CHECKER
set -euo pipefail
older=("$1" -cpu Nehalem)
plugin=$2 digest=$3 checker=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$digest" "$plugin" >"$work/here.txt"
"${older[@]}" "$digest" "$plugin" >"$work/there.txt"
[[ -s $work/here.txt ]]
cmp "$work/here.txt" "$work/there.txt"
echo "$(wc -l <"$work/here.txt") renders, byte-identical"

"${older[@]}" "$checker" --gtest_brief=1 | tee "$work/checker.txt"
grep -qx 'kernels: scalar sse2 sse2-streaming' "$work/checker.txt"
