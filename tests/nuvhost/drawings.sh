#!/usr/bin/env bash
# The chart and the contact sheet.
source "$(dirname "$0")/tools.sh"

chart() {
  quietly chart chart.png && is "$(kind chart.png)" "960 x 540, 4 channel, uint8 png" && straight chart.png &&
    is "$(pixel chart.png 780 322 | cut -d' ' -f4)" 0 && is "$(pixel chart.png 100 100)" "255 255 255 255" &&
    half=$(pixel chart.png 780 358 | cut -d' ' -f4) && [ "$half" -gt 20 ] && [ "$half" -lt 235 ]
}
promise "the chart is 960 x 540 with a shape that fades into transparency" chart
sized() { quietly chart --size 320x200 sized.tif && is "$(kind sized.tif)" "320 x 200, 4 channel, uint8 tiff"; }
promise "--size sets the chart's size" sized
promise "a wrong size is refused" refuses 2 "320" chart out.png --size 320
promise "a size of nothing is refused" refuses 2 "0x5" chart out.png --size 0x5
promise "a chart in an unknown format is refused" refuses 2 "out.xyz" chart out.xyz

tile() { # tile COLUMN ROW FILE: cuts one tile out of the sheet
  oiiotool sheet.png --cut "320x180+$((24 + $1 * 336))+$((24 + 72 + 28 + $2 * 224))" -o "$3"
}
sheet() {
  quietly sheet --tile-width 320 --amount 6 chart.png sheet.png &&
    is "$(kind sheet.png)" "1040 x 1448, 3 channel, uint8 png" || return 1
  local sums
  sums=$(for row in 0 1 2 3 4 5; do for column in 0 1 2; do
    tile $column $row tile.png && pixels tile.png | md5sum
  done; done | sort -u | wc -l)
  is "$sums" 18
}
promise "the sheet has 18 tiles that all differ" sheet
nothing() {
  quietly sheet --tile-width 320 --amount 0 chart.png sheet.png && tile 0 0 one.png && tile 2 5 other.png &&
    same_pixels one.png other.png
}
promise "without an amount all tiles are alike" nothing
# as_resized WIDTHxHEIGHT: the sheet shows a picture of this size as oiiotool's resize makes it, up to rounding.
as_resized() {
  pictures opaque.png && oiiotool opaque.png --resize "$1" -o sized.png &&
    oiiotool sized.png --resize 320x180 -d uint8 -o expected.png &&
    quietly sheet --tile-width 320 --amount 0 sized.png sheet.png && tile 1 3 tile.png &&
    oiiotool --fail 0.0041 --diff expected.png tile.png >/dev/null
}
promise "a tile is a large picture made smaller" as_resized 1280x720
promise "a tile is a small picture made larger" as_resized 160x90
bar() {
  script -qec "$nuvhost sheet chart.png sheet.png" /dev/null >terminal.txt </dev/null &&
    grep -q '18/18, 100%  [0-9.]* tiles/s  0:00 left' terminal.txt && grep -q '18 tiles in .* tiles/s' terminal.txt
}
promise "a terminal gets a bar while the sheet is made" bar
silent() { is "$("$nuvhost" sheet chart.png sheet.png 2>&1)" ""; }
promise "without a terminal the sheet prints nothing" silent
promise "a sheet of a missing file is refused" refuses 1 "nowhere.png" sheet nowhere.png out.png
promise "a sheet with a wrong amount is refused" refuses 2 "200" sheet chart.png out.png --amount 200

summary
