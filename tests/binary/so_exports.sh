#!/usr/bin/env bash
# The library exports the two entry points and nothing else. Usage: so_exports.sh FILE.so NM
set -euo pipefail
exports=$("$2" -D --defined-only "$1" | awk '{print $NF}' | sort | tr '\n' ' ')
echo "exports: $exports"
[[ $exports == "EffectMain PluginDataEntryFunction " ]]
