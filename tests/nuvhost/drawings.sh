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
promise "a sheet of a missing file is refused" refuses 1 "nowhere.png" sheet nowhere.png out.png
promise "a sheet with a wrong amount is refused" refuses 2 "200" sheet chart.png out.png --amount 200

summary
