#!/usr/bin/env bash
# The manual, built as script/manual builds it: complete in one file, and true to what its captions say.
# Usage: manual_test.sh NUVHOST FOLDER   (the folder keeps the ray-traced scenes from run to run)
set -u
source "$(dirname "$0")/../support/promise.sh"
nuvhost=$(realpath "$1") folder=$(realpath -m "$2")
cd "$(dirname "$0")/../.." || exit 2
html=$folder/manual.html

# named NAME: prints the file of a picture, whose NAME is without number and extension; the first of several.
named() { find "$folder/pictures" -regex ".*/[0-9]*-$1\.jpg" | sort | head -n 1; }

rm -f "$html"
builds() { is "$(NUVHOST=$nuvhost script/manual "$folder")" "$html" && [ -s "$html" ]; }
promise "the manual is built" builds
[ -s "$html" ] || {
  echo "$passed passed, $((failed + 1)) failed"
  exit 1
}
sed 's/data:image[^"]*/data/g' "$html" >"$folder/bare.html" # without the pictures' bytes

# ---- One file -----------------------------------------------------------------------------------------------

planned=$(sed -n '/^<!-- pictures /,/^-->/p' docs/manual.md | grep -vc -e '^<!--' -e '^-->')
promise "there are pictures" test "$planned" -gt 30
promise "as many as the text asks for" is "$(grep -o '<img ' "$html" | wc -l)" "$planned"
promise "all of them lie inside" is "$(grep -o '<img[^>]* src="data:image/jpeg;base64,[^"]\{1000\}' "$html" | wc -l)" "$planned"
promise "each tells in words what it shows" is "$(grep -o ' alt="The [^"]*with [^"]*"' "$html" | wc -l)" "$planned"
promise "nothing else is fetched" not grep -E 'src="[^d]|url\(|https?://|<link|<script' "$folder/bare.html"
links() {
  grep -o 'href="[^"]*"' "$folder/bare.html" | sort -u >"$folder/links.txt"
  [ "$(wc -l <"$folder/links.txt")" -gt 20 ] || return 1
  while IFS='"' read -r _ link _; do
    { [ "${link#\#}" != "$link" ] && grep -q "id=\"${link#\#}\"" "$folder/bare.html"; } || {
      echo "     $link"
      return 1
    }
  done <"$folder/links.txt"
}
promise "every link leads to a place in it" links
promise "the text alone links to nothing else either" not grep -E '\]\([^#]|!\[' docs/manual.md
promise "no machine is named in it" not grep -F -e "$PWD" -e "$folder" "$folder/bare.html"

# ---- True ---------------------------------------------------------------------------------------------------

choices() { # each entry that the effect's menus offer has a picture under its name
  local menu index choice
  while IFS='|' read -r menu index; do
    for i in 0 1 2; do
      choice=$(cmake -P "$folder/choice.cmake" "$index" "$i" 2>&1)
      { [ "$choice" ] && grep -qx "$menu $choice\(, .*\)\?" "$folder/bare.html"; } || {
        echo "     $menu $choice"
        return 1
      }
    done
  done <<<$'Mode|1\nScaling|2\nShow|4'
}
"$nuvhost" info --json "$(dirname "$nuvhost")/nuv_chromaber.so" >"$folder/info.json"
cat >"$folder/choice.cmake" <<'END'
file(READ ${CMAKE_CURRENT_LIST_DIR}/info.json text)
string(JSON choice GET "${text}" parameters ${CMAKE_ARGV3} choices ${CMAKE_ARGV4})
execute_process(COMMAND ${CMAKE_COMMAND} -E echo "${choice}")
END
promise "every entry of every menu is shown" choices

sums() { (cd "$folder/pictures" && md5sum -- *.jpg | sort); }
same=$(sums | uniq -w 32 -D | cut -c 35- | sed 's/^[0-9]*-//' | sort | tr '\n' ' ')
promise "pictures of different settings differ, but for an opaque layer without its fringes" \
  is "$same" "show-final-mode-red-cyan-amount-3.jpg show-without-ca-mode-red-cyan-amount-3.jpg "

shows() { # NAME CROP OPTIONS…: the picture of that name is what the plug-in gives with these options
  local picture
  picture=$(named "$1")
  "$nuvhost" render "$folder/street.tif" "$folder/check.png" "${@:3}" &&
    oiiotool "$folder/check.png" --cut "$2" --ch R,G,B -o "$folder/crop.png" &&
    oiiotool --fail 0.12 --failpercent 1 --hardfail 1 "$folder/crop.png" "$picture" --diff >"$folder/diff.txt"
}
detail=420x280+830+10
promise "the picture of a mode shows that mode" \
  shows mode-blue-yellow-amount-1.5 $detail --mode blue-yellow --amount 1.5
promise "and no other" not shows mode-blue-yellow-amount-1.5 $detail --mode green-purple --amount 1.5
promise "the picture of a scaling shows that scaling" \
  shows scaling-cubic-mode-red-cyan-amount-2.5 $detail --scaling cubic --amount 2.5
promise "a look shows its values" shows mode-blue-yellow-scaling-linear-amount-0.7-frame-center-30-85 640x360+640+0 \
  --mode blue-yellow --amount -0.7 --center 30%,85%
shows_cutout() { # NAME CROP OPTIONS…: the same for the title, which lies over squares
  local picture
  picture=$(named "$1")
  "$nuvhost" render "$folder/title.tif" "$folder/check.tif" "${@:3}" &&
    oiiotool "$folder/check.tif" --cut "$2" \
      --pattern checker:color1=.36,.36,.36,1:color2=.5,.5,.5,1:width=12:height=12 "${2%%+*}" 4 --over \
      --ch R,G,B -d uint8 -o "$folder/crop.png" &&
    oiiotool --fail 0.12 --failpercent 1 --hardfail 1 "$folder/crop.png" "$picture" --diff >"$folder/diff.txt"
}
cutout=(show-just-ca-mode-blue-yellow-amount-2 420x280+520+100 --show just-ca --mode blue-yellow --amount -2)
promise "a cut-out goes into the effect as hosts hand it out" shows_cutout "${cutout[@]}"
promise "and not with straight alpha" not shows_cutout "${cutout[@]}" --alpha as-is
promise "which are in the text" grep -q '^\*\*Mode Blue-Yellow, Scaling linear, Amount -0.7, Frame center 30% 85%\*\*' docs/manual.md

summary
