#!/usr/bin/env bash
# In every format, a picture file keeps its pixels, channels and types.
source "$(dirname "$0")/tools.sh"
pictures opaque.png opaque.tif opaque.jpg opaque.exr deep.tif deep.png grey.png straight.png straight.tif associated.tif \
  associated.exr grey_alpha.png others.exr

identity() { render "$1" "$2" "${@:3}" && same_pixels "$1" "$2"; }
promise "amount 0 gives back an 8-bit PNG byte for byte" identity opaque.png same.png
promise "amount 0 gives back an 8-bit TIFF byte for byte" identity opaque.tif same.tif
promise "amount 0 gives back an OpenEXR bit for bit" identity opaque.exr same.exr
promise "amount 0 gives back a TIFF of associated alpha byte for byte" identity associated.tif same_assoc.tif
promise "amount 0 gives back an OpenEXR with alpha bit for bit" identity associated.exr same_assoc.exr
promise "amount 0 gives back 8-bit pixels through the plain render" identity opaque.png same.png --plain
promise "amount 0 gives back 8-bit pixels through the editor" identity opaque.png same.png --host editor
promise "amount 0 gives back 8-bit pixels through 16 bits" identity opaque.png same.png --depth 16
promise "amount 0 gives back 8-bit pixels through floats" identity opaque.png same.png --depth 32
promise "amount 0 gives back 16-bit pixels through floats" identity deep.tif same.tif --depth 32

near16() { # every channel within one of 65535
  render deep.tif near.tif && pixels deep.tif >expected.txt && pixels near.tif >actual.txt &&
    paste -d ' ' expected.txt actual.txt | awk '
            { for (i = 4; i <= 6; ++i) { d = $i - $(i + (NF / 2)); if (d < -1 || d > 1) bad = 1; ++n } }
            END { exit bad || n != 64 * 48 * 3 }'
}
promise "amount 0 gives back 16-bit pixels within the host's 16 bits" near16
twice16() { render deep.tif once.tif && render once.tif twice.tif && same_pixels once.tif twice.tif; }
promise "a second trip through 16 bits changes nothing" twice16
ends16() {
  oiiotool --create 2x1 3 --fill:color=1,1,1 1x1 -d uint16 -o ends.tif && render ends.tif ends_out.tif &&
    is "$(pixel ends_out.tif 0 0)" "65535 65535 65535" && is "$(pixel ends_out.tif 1 0)" "0 0 0"
}
promise "16-bit black and white stay black and white" ends16

close_jpeg() {
  render opaque.jpg same.jpg && is "$(kind same.jpg)" "64 x 48, 3 channel, uint8 jpeg" &&
    oiiotool --fail 0.1 --failpercent 5 opaque.jpg same.jpg --diff >/dev/null
}
promise "amount 0 gives back a JPEG but for its compression" close_jpeg

promise "a PNG without alpha gets none" keeps_kind opaque.png kind.png "64 x 48, 3 channel, uint8 png"
promise "a PNG with alpha keeps it" keeps_kind straight.png kind.png "64 x 48, 4 channel, uint8 png"
promise "16 bits stay 16 bits in PNG" keeps_kind deep.png kind.png "64 x 48, 3 channel, uint16 png"
promise "16 bits stay 16 bits in TIFF" keeps_kind deep.tif kind.tif "64 x 48, 3 channel, uint16 tiff"
promise "halves stay halves in OpenEXR" keeps_kind opaque.exr kind.exr "64 x 48, 3 channel, half openexr"
promise "grey becomes colour" keeps_kind grey.png kind.png "64 x 48, 3 channel, uint8 png"
promise "grey with alpha becomes colour with alpha" keeps_kind grey_alpha.png kind.png \
  "64 x 48, 4 channel, uint8 png"
promise "TIFF becomes PNG" keeps_kind opaque.tif kind.png "64 x 48, 3 channel, uint8 png"
promise "OpenEXR becomes JPEG" keeps_kind associated.exr kind.jpg "64 x 48, 3 channel, uint8 jpeg"

grey_values() {
  render grey.png grey_out.png &&
    for _ in 1 2 3; do cat <(pixels grey.png | awk '{print $4}'); done >expected.txt &&
    pixels grey_out.png | awk '{print $4}' >actual.txt &&
    pixels grey_out.png | awk '{print $5}' >>actual.txt &&
    pixels grey_out.png | awk '{print $6}' >>actual.txt && cmp expected.txt actual.txt
}
promise "grey fills all three colours" grey_values

keeps_attributes() {
  oiiotool opaque.tif --attrib Copyright "somebody" --orientation 6 -o meta.tif && render meta.tif meta_out.tif &&
    is "$(attribute meta_out.tif Copyright)" '"somebody"' && is "$(kind meta_out.tif)" "$(kind meta.tif)" &&
    is "$(attribute meta_out.tif Orientation)" "$(attribute meta.tif Orientation)" &&
    same_pixels meta.tif meta_out.tif
}
promise "metadata and the orientation tag are kept, pixels are not turned" keeps_attributes

keeps_others() {
  render others.exr others_out.exr --amount 20 &&
    is "$(kind others_out.exr)" "64 x 48, 5 channel, float openexr" &&
    oiiotool others.exr --ch mask.id -o left.exr && oiiotool others_out.exr --ch mask.id -o right.exr &&
    same_pixels left.exr right.exr && not same_pixels others.exr others_out.exr >/dev/null
}
promise "channels beside colour and alpha are copied as they are" keeps_others

# lacks CHANNELS FILLED: a picture with these channels only is rendered as if the missing ones were 0 (FILLED says
# how oiiotool adds them), and the output has the same channels as the input.
lacks() {
  oiiotool --create 64x48 "$(tr ',' '\n' <<<"$1" | wc -l)" --chnames "$1" $noise:min=0.1:max=1 -d half -o lacks.exr &&
    oiiotool lacks.exr --ch "$2" -d half -o filled.exr && render lacks.exr lacks_out.exr --amount -20 &&
    render filled.exr filled_out.exr --amount -20 && oiiotool filled_out.exr --ch "$1" -d half -o expected.exr &&
    is "$(attribute lacks_out.exr 'channel list')" "${1//,/, }" && same_pixels expected.exr lacks_out.exr &&
    not same_pixels lacks.exr lacks_out.exr >/dev/null && render lacks.exr lacks.tif --channels color &&
    render filled.exr filled.tif --channels color && same_pixels filled.tif lacks.tif
}
promise "red and green without blue" lacks R,G R,G,B=0
promise "green alone" lacks G R=0,G,B=0
promise "blue with alpha" lacks B,A R=0,G=0,B,A
promise "red and blue beside another channel" lacks R,B,mask.id R,G=0,B,mask.id
promise "a layer without red" lacks beauty.G,beauty.B,beauty.A beauty.R=0,beauty.G,beauty.B,beauty.A
promise "what the picture lacks is not taken from a layer" lacks R,G,beauty.B R,G,B=0,beauty.B

mixed_types() {
  oiiotool opaque.exr --create 64x48 1 --chnames id --fill:color=0.75 64x48 --chappend \
    -d R=half -d G=half -d B=half -d id=float -o mixed.exr && render mixed.exr mixed_out.exr &&
    same_pixels mixed.exr mixed_out.exr &&
    is "$(attribute mixed_out.exr 'channel list')" "$(attribute mixed.exr 'channel list')" &&
    not is "$(attribute mixed.exr 'channel list')" "" >/dev/null
}
promise "channels of several types keep their types" mixed_types

summary
