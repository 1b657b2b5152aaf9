#!/usr/bin/env bash
# The kernels may include one another, the processor's intrinsics, and a few headers of the C++ standard library, but no
# header of the host or of the platform. This script prints each line that breaks this rule, and then fails.
# Usage: kernel_includes.sh FOLDER
set -euo pipefail
allowed='"engine/kernels/[a-z0-9_/]+\.h"|<(algorithm|cmath|cstddef|cstdint|cstring|limits|span)>|<(emm|imm)intrin\.h>'

includes=$(grep -rE '^[[:space:]]*#[[:space:]]*include' "$1")
if grep -vE ":[[:space:]]*#[[:space:]]*include[[:space:]]+($allowed)([[:space:]]|\$)" <<<"$includes"; then
  echo "kernel_includes.sh: the kernels must not include these headers" >&2
  exit 1
fi
