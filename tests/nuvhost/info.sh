#!/usr/bin/env bash
# What `nuvhost info` says about our effect, and about one that is unlike it.
# Usage: info.sh NUVHOST FOLDER OUR_EFFECT OTHER_EFFECT SDK_FOLDER   (the folder is emptied first)
set -u
source "$(dirname "$0")/../support/promise.sh"
nuvhost=$(realpath "$1") ours=$(realpath "$3") other=$(realpath "$4") flags=$(realpath "$5/pf_basics.h")
rm -rf "$2" && mkdir -p "$2" && cd "$2" || exit 2

# line TEXT: the last output has this line; only its spaces may differ.
line() { tr -s ' ' <out.txt | sed 's/^ //' | grep -qxF -- "$1" || {
  cat out.txt
  false
}; }
# json KEY…: prints the value at this path in the last output.
cat >json.cmake <<'END'
file(READ out.txt text)
string(JSON value GET "${text}" ${path})
execute_process(COMMAND ${CMAKE_COMMAND} -E echo "${value}")
END
json() { cmake -Dpath="$(IFS=';' && echo "$*")" -P json.cmake; }
json_has() { is "$(json "${@:2}")" "$1"; } # VALUE PATH…
shows() { "$nuvhost" info "$@" >out.txt 2>err.txt && [ ! -s err.txt ]; }
# refuses CODE CULPRIT ARGUMENTS…: the command ends with the code, and prints one line, which names the culprit.
refuses() {
  local code=$1 culprit=$2 actual
  "$nuvhost" info "${@:3}" >out.txt 2>err.txt
  actual=$?
  {
    is "$actual" "$code" && is "$(wc -l <err.txt)" 1 && [ ! -s out.txt ] && grep -q '^nuvhost: ' err.txt &&
      grep -qF -- "$culprit" err.txt
  } || {
    cat err.txt
    false
  }
}

# ---- Our effect ---------------------------------------------------------------------------------------------

promise "our effect is shown" shows "$ours"
promise "by its name" line "NUV Chromatic Aberration"
promise "its match name" line "match name nuv_chromaber"
promise "its category" line "category NUV"
promise "its version" line "version 2.0.0, develop, build 1 (0x00100001)"
promise "the effect API that it is written against" line "effect API 13.27"
promise "the flags that each host is told" line "out_flags 0x06008244 0x04008244"
promise "the flags of the second word" line "out_flags2 0x08021488 0x08020488"
promise "a flag that both hosts are told" line "PF_OutFlag_NON_PARAM_VARY yes yes"
promise "a flag that the editor is not told" line "PF_OutFlag2_FLOAT_COLOR_AWARE yes -"
promise "the editor's pixel format" line "pixel formats - bgra"
promise "the point" line "1 Frame center point disk id 2"
promise "its default" line "default 50 %, 50 % of the layer; may lie outside"
promise "a menu" line "2 Mode popup disk id 3"
promise "its choices and its odd default" line "1 Red-Cyan, 2 Green-Purple, 3 Blue-Yellow; default 0, no choice"
promise "the slider" line "4 Amount float slider disk id 5"
promise "its ranges and default" line "-100 to 100, slider -100 to 100; default 0; 2 decimals"
promise "what a menu names but does not offer" \
  line "1 Final, 2 Just CA, 3 Without CA; not offered: 4 Alpha, 5 Full Alpha;"
(cd "$(dirname "$ours")" && "$nuvhost" info "$(basename "$ours")") >narrow.txt
promise "no line is longer than 80 columns" eval '[ -s narrow.txt ] && ! grep -n ".\{81\}" narrow.txt'
promise "no flag of ours is without a name" eval '! grep -w bit out.txt'

promise "--json is given" shows --json "$ours"
promise "it is JSON with the match name" json_has nuv_chromaber match_name
promise "the version as a number" json_has 1048577 version value
promise "the flags as a number" json_has 100696644 hosts 0 out_flags value
promise "and by name" json_has PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG hosts 1 out_flags2 names 0
promise "five parameters" eval 'json parameters 4 >/dev/null && ! json parameters 5 >/dev/null 2>&1'
disk_ids() { is "$(for i in 0 1 2 3 4; do json parameters $i id; done | tr "\n" " ")" "2 3 4 5 6 "; }
promise "disk ids" disk_ids
promise "the slider's range" json_has -100.0 parameters 3 valid_range 0
promise "the menu's choices" json_has "Full Alpha" parameters 4 choices 4
either_order() { cp out.txt first.txt && shows "$ours" --json && cmp first.txt out.txt; }
promise "the order of arguments does not matter" either_order

# ---- Another effect -----------------------------------------------------------------------------------------

promise "another effect is shown" shows "$other"
named() { # every flag that the headers declare by its name, and every other bit by its number
  local name
  grep -o 'PF_OutFlag2\?_[A-Z_]* = 1u << [0-9]*' "$flags" | tr -d '=' >declared.txt
  [ "$(wc -l <declared.txt)" -gt 10 ] || return 1
  while read -r name _; do line "$name yes yes" || return; done <declared.txt
  is "$(grep -c '^ *bit [0-9]* *yes *yes$' out.txt)" "$((64 - $(wc -l <declared.txt)))"
}
promise "with all its flags" named
promise "its version" line "version 29.9.4, stage 3, build 321 (0x0C2CA741)"
promise "a kind that is no word" line "kind 0x00000001"
promise "numbers as they were written" line "-0.1 to 1e+09, slider 0 to 0.3; default 0.05; 3 decimals"
promise "an empty choice" line "1 one, 2 (empty); not offered: 3 three; default 2"
promise "a menu of nothing" line "no choices; default 0, no choice"
promise "a point that stays inside" line "default -0.25 %, 120 % of the layer; stays inside it"
promise "parameters of kinds without values" line "6 not � UTF-8 color disk id 105"
promise "no escape sequence of its own" line '5 \u001b[31mred\nline checkbox disk id 104'
promise "a name without an end, of a kind without a name" line "7 a name of thirty-two characters, type 77 disk id 106"
promise "as JSON, too" shows --json "$other"
promise "which holds numbers exactly" grep -q '"default": 0.05,' out.txt
promise "and bits without a name" json_has 0 hosts 0 out_flags unknown_bits 0

with() { OTHER_EFFECT=$1 "${@:2}"; }
promise "an effect for one host only is shown" with "refuses the editor" shows "$other"
promise "with the reason" line "The editor is refused: the effect's global set-up fails with code 512."
promise "and the other host's column alone" line "PF_OutFlag_CUSTOM_UI yes"

# ---- What is refused ----------------------------------------------------------------------------------------

echo "no library" >text.so
promise "no effect at all is a wrong command line" refuses 2 "PLUGIN"
promise "two effects are" refuses 2 "text.so" "$ours" text.so
promise "a missing file is named" refuses 1 "nowhere.so" nowhere.so
promise "a folder is named" refuses 1 ".: is a folder" .
promise "a file that is no library is named" refuses 1 "text.so" text.so
library=$(ldd "$nuvhost" | sed -n 's/.*libstdc++[^ ]* => \([^ ]*\).*/\1/p')
promise "a library that is no effect is named" refuses 1 "no entry point EffectMain" "$library"
promise "an effect that fails is named" with "refuses everybody" refuses 1 "$other: the effect's global set-up fails with code 4" "$other"
promise "also in its parameters" with "has no parameters" refuses 1 "parameter set-up fails with code 516" "$other"
promise "an effect that throws is named" with "throws" refuses 1 "fails with code -1" "$other"
promise "an effect that crashes is named" with "crashes" refuses 1 "$other: the effect crashed" "$other"
full_disk() {
  "$nuvhost" info "$ours" >/dev/full 2>err.txt
  is $? 1 && grep -q "standard output" err.txt
}
promise "a full disk is reported" full_disk

summary
