#!/usr/bin/env bash
# Straight and associated alpha, and which pixels the effect gets.
source "$(dirname "$0")/tools.sh"
pictures straight.png straight.tif associated.tif associated.exr plain_straight.png plain_associated.exr

as_is() { render "$1" same."${1##*.}" --alpha as-is && same_pixels "$1" same."${1##*.}"; }
promise "--alpha as-is gives back a PNG of straight alpha byte for byte at amount 0" as_is straight.png
promise "--alpha as-is gives back a TIFF of straight alpha byte for byte at amount 0" as_is straight.tif
as_is_changes() {
  render straight.png one.png --amount 9 --alpha as-is && render straight.png other.png --amount 9 &&
    not same_pixels one.png other.png >/dev/null
}
promise "--alpha as-is hands the effect other numbers" as_is_changes
deep_identity() { render straight.png same.png --depth 32 && same_pixels straight.png same.png; }
promise "amount 0 gives back a PNG of straight alpha byte for byte through floats" deep_identity
# Every value that 8-bit colour and alpha can have together, one pixel each.
multiplied() {
  perl -e 'for $a (0..255) { print pack "C4", $_, $_, $_, $a for 0..255 }' >all.raw &&
    "$nuvhost" render -q - - --size 256x256 --pixel rgba8 --amount 0 <all.raw >out.raw &&
    od -An -v -tu1 -w4 out.raw | awk '
            { c = (NR - 1) % 256; a = int((NR - 1) / 256); m = int((c * a + 127) / 255)
              want = a ? int((m * 255 + int(a / 2)) / a) : 0; if (want > 255) want = 255
              if ($1 != want || $2 != want || $3 != want || $4 != a) bad = 1 }
            END { exit bad || NR != 65536 }'
}
promise "8-bit colour is multiplied and divided as hosts round it" multiplied
divided() { # as above, in a file of associated alpha: 8 bits give what floats give
  oiiotool --pattern fill:left=0:right=1 256x256 1 --dup --dup --chappend --chappend \
    --pattern fill:top=0:bottom=1 256x256 1 --chappend --chnames R,G,B,A -d uint8 -o all.tif &&
    render all.tif bytes.png && render all.tif floats.png --depth 32 && same_pixels bytes.png floats.png
}
promise "8-bit colour is divided by alpha as exactly as in floats" divided
# shellcheck disable=SC2086  # straight_alpha is two words
opaque_part() { # the opaque half keeps every bit, whatever the other half has
  oiiotool --create 64x48 4 $noise:min=0:max=1:seed=2 --fill:color=0.3,0.2,0.1,1 32x48 --ch R,G,B,A \
    $straight_alpha -d uint8 -o half.png && render half.png same.png &&
    is "$(pixels same.png | grep -c '(77 51 26 255)\|77 51 26 255')" \
      "$(pixels half.png | grep -c '(77 51 26 255)\|77 51 26 255')"
}
promise "opaque pixels keep every bit" opaque_part

still_straight() { render straight.png still.png --amount 5 && straight still.png; }
promise "straight PNG to PNG stays straight" still_straight
straight_tiff() { render straight.tif still.tif && straight still.tif; }
promise "straight TIFF to TIFF stays straight" straight_tiff
associated_tiff() { render associated.tif still.tif && not straight still.tif; }
promise "associated TIFF to TIFF stays associated" associated_tiff
to_exr() { render plain_straight.png to.exr &&
  is "$(pixel to.exr 0 0)" "0.199951172 0.101989746 0.050994873 0.501953125"; }
promise "straight PNG to OpenEXR is multiplied by alpha" to_exr
to_png() { render plain_associated.exr to.png && is "$(pixel to.png 0 0)" "128 64 32 128"; }
promise "associated OpenEXR to PNG is divided by alpha" to_png
to_jpeg() {
  render plain_straight.png to.jpg &&
    oiiotool --create 2x2 3 --fill:color=0.2008,0.1004,0.0512 2x2 -d uint8 -o black.png &&
    oiiotool --fail 0.02 black.png to.jpg --diff >/dev/null
}
promise "straight PNG to JPEG lies over black" to_jpeg
round_trip() { render plain_associated.exr trip.png && render trip.png trip.exr --depth 32 &&
  oiiotool --fail 0.004 plain_associated.exr trip.exr --diff >/dev/null; }
promise "associated to straight and back is the same but for 8-bit rounding" round_trip

summary
