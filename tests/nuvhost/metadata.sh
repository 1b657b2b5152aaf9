#!/usr/bin/env bash
# Windows, orientation, metadata, types and further pictures of a file.
source "$(dirname "$0")/tools.sh"
pictures opaque.png opaque.exr others.exr opaque.jpg

window() { oiiotool --info -v "$1" | sed -n 's/^ *\(pixel data origin\|full\/display size\|full\/display origin\): *//p' | tr '\n' ' ' | sed 's/ $//'; }

# The left half of a frame is black, the file stores the right half only.
oiiotool --create 64x48 3 --noise:type=uniform:min=0:max=1 --fill:color=0,0,0 32x48 -d half -o whole.exr
oiiotool whole.exr --crop 32x48+32+0 -d half -o part.exr
as_whole() {
  render part.exr part_out.exr --amount 30 && render whole.exr whole_out.exr --amount 30 &&
    is "$(window part_out.exr)" "$(window part.exr)" && is "$(kind part_out.exr)" "$(kind part.exr)" &&
    oiiotool whole_out.exr --crop 32x48+32+0 -d half -o cut.exr && same_pixels cut.exr part_out.exr &&
    not same_pixels part.exr part_out.exr >/dev/null
}
promise "a data window is rendered as part of the frame and stays what it is" as_whole
to_png() { render part.exr part.png --amount 30 && render whole.exr whole.png --amount 30 && same_pixels whole.png part.png; }
promise "a format without windows gets the frame" to_png
oiiotool --create 80x48 3 --noise:type=uniform:min=0:max=1 --origin -8+0 --fullsize 64x48+0+0 -d half -o overscan.exr
overscan() {
  render overscan.exr over_out.exr && is "$(window over_out.exr)" "$(window overscan.exr)" &&
    same_pixels overscan.exr over_out.exr && render overscan.exr over.png && is "$(kind over.png)" \
    "64 x 48, 3 channel, uint8 png"
}
promise "overscan is kept where the format can, cut off where it cannot" overscan
same_centre() { # percentages are of the frame, not of the stored pixels
  render overscan.exr a.exr --amount 30 --center 0%,0% && render overscan.exr b.exr --amount 30 --center 0,0 &&
    oiiotool overscan.exr --origin +0+0 --fullsize 80x48+0+0 -d half -o moved.exr &&
    render moved.exr c.exr --amount 30 --center 8,0 && oiiotool c.exr --origin -8+0 -d half -o back.exr &&
    same_pixels a.exr b.exr && same_pixels a.exr back.exr
}
promise "the centre counts from the frame's corner" same_centre

turned() { # turned ORIENTATION OPERATIONS…: the PNG shows the JPEG the right way up
  oiiotool --create 64x48 3 --fill:color=1,0,0 32x24 --fill:color=0,1,0 32x24+32+0 --fill:color=0,0,1 32x24+0+24 \
    --orientation "$1" --quality 100 --attrib jpeg:subsampling 4:4:4 -o turned.jpg &&
    render turned.jpg turned.png && oiiotool turned.jpg --orientation 1 "${@:2}" -d uint8 -o expected.png &&
    is "$(kind turned.png)" "$(kind expected.png)" && same_pixels expected.png turned.png
}
upright() { promise "orientation $1, which PNG cannot hold, is carried out" turned "$@"; }
upright 2 --flop
upright 3 --rotate180
upright 4 --flip
upright 5 --transpose
upright 6 --rotate90
upright 7 --transpose --rotate180
upright 8 --rotate270
kept() { oiiotool opaque.jpg --orientation 6 -o six.jpg && render six.jpg six_out.jpg && render six.jpg six.tif &&
  is "$(attribute six_out.jpg Orientation)" "$(attribute six.jpg Orientation)" &&
  is "$(attribute six.tif Orientation)" "$(attribute six.jpg Orientation)"; }
promise "formats that hold the orientation keep it" kept

oiiotool opaque.png opaque.png --siappend -o pages.tif
oiiotool opaque.exr opaque.exr --siappend -o parts.exr
promise "a file with several pages is refused" refuses 1 "--first-page" render pages.tif out.tif
promise "a file with several parts is refused" refuses 1 "parts.exr" render parts.exr out.exr
first_page() { render pages.tif page.tif --first-page && same_pixels opaque.png page.tif &&
  not grep -q subimages <(oiiotool --info -v page.tif); }
promise "--first-page renders the first and leaves the others out" first_page
cmyk() { oiiotool --create 8x8 3 --fill:color=.2,.4,.6 8x8 --attrib tiff:ColorSpace CMYK \
  --attrib tiff:PhotometricInterpretation 5 -d uint8 -o cmyk.tif && refuses 1 "convert it to RGB" render cmyk.tif out.tif; }
promise "CMYK is refused in plain words" cmyk

type_of() { render opaque.png "$1" --pixel-type "$2" && is "$(kind "$1")" "64 x 48, 3 channel, $3"; }
promise "--pixel-type float" type_of t.exr float "float openexr"
promise "--pixel-type half" type_of t.exr half "half openexr"
promise "--pixel-type uint16" type_of t.png uint16 "uint16 png"
promise "--pixel-type uint8" type_of t.tif uint8 "uint8 tiff"
promise "a wrong --pixel-type is refused" refuses 2 "double" render opaque.png o.png --pixel-type double
mixed() { render others.exr m.exr --pixel-type half && is "$(kind m.exr)" "64 x 48, 5 channel, half openexr"; }
promise "--pixel-type is that of the other channels as well" mixed
color_only() { render others.exr c.exr --channels color && is "$(kind c.exr)" "64 x 48, 4 channel, float openexr" &&
  render others.exr c.png --channels color && is "$(kind c.png)" "64 x 48, 4 channel, uint8 png"; }
promise "--channels color leaves the others out" color_only
bare() { oiiotool opaque.exr --attrib project somebody --compression piz -o meta.exr && render meta.exr with.exr &&
  is "$(attribute with.exr project)" '"somebody"' && render meta.exr bare.exr --metadata drop &&
  is "$(attribute bare.exr project)" "" && is "$(attribute bare.exr compression)" '"piz"'; }
promise "metadata are kept, or dropped when asked" bare

summary
