#!/bin/bash
# What the command line tool promises, tried on real files.
# Usage: nuvhost_test.sh NUVHOST FOLDER   (the folder is emptied first)
set -u
nuvhost=$(realpath "$1")
rm -rf "$2" && mkdir -p "$2" && cd "$2" || exit 2
command -v oiiotool >/dev/null || { echo "nuvhost_test: oiiotool is not installed" >&2; exit 2; }

passed=0
failed=0

# promise TEXT COMMAND…: the command's exit code decides. It runs in a shell of its own.
promise() {
    local text=$1
    shift
    if ("$@"); then
        echo "ok   $text"
        passed=$((passed + 1))
    else
        echo "FAIL $text"
        failed=$((failed + 1))
    fi
}

# ---- Tools --------------------------------------------------------------------------------------------------

# Every pixel of a file as stored, alpha left alone, one a line.
pixels() { oiiotool --native --iconfig oiio:UnassociatedAlpha 1 --dumpdata "$1" | tail -n +2; }
# The stored numbers of one pixel: "102 51 26 128".
pixel() { pixels "$1" | sed -n "s/^ *Pixel ($2, $3): *//p" | sed 's/ *(.*//'; }
# "64 x 48, 4 channel, uint8 png"
kind() { oiiotool --info "$1" | sed -n '1s/^[^:]*: *//p' | tr -s ' '; }
# The value of one entry of the metadata; nothing if there is none.
attribute() { oiiotool --info -v "$1" | sed -n "s/^ *$2: //p"; }
straight() { oiiotool --iconfig oiio:UnassociatedAlpha 1 --info -v "$1" | grep -q 'oiio:UnassociatedAlpha: 1'; }

same_pixels() {
    pixels "$1" >expected.txt
    pixels "$2" >actual.txt
    [ -s expected.txt ] && cmp expected.txt actual.txt
}
# same_colors LETTERS A B: as above, of some colours only.
same_colors() {
    local letter fields=()
    for letter in $1; do
        case $letter in R) fields+=(5) ;; G) fields+=(6) ;; B) fields+=(7) ;; esac
    done
    pixels "$2" | tr -s ' ' | cut -d ' ' -f "$(IFS=, && echo "${fields[*]}")" >expected.txt
    pixels "$3" | tr -s ' ' | cut -d ' ' -f "$(IFS=, && echo "${fields[*]}")" >actual.txt
    [ -s expected.txt ] && cmp expected.txt actual.txt
}
not() { ! "$@"; }
is() { [ "$1" = "$2" ] || { echo "     expected: $2, got: $1"; false; }; }

# The run succeeds, says nothing on standard error and leaves nothing but its output behind.
quietly() {
    local output=${*: -1} before after
    before=$(ls -A | grep -vx -e "$output" -e stderr.txt)
    "$nuvhost" "$@" 2>stderr.txt || { cat stderr.txt; return 1; }
    after=$(ls -A | grep -vx -e "$output" -e stderr.txt)
    [ ! -s stderr.txt ] && [ -s "$output" ] && [ "$before" = "$after" ]
}
# render INPUT OUTPUT OPTIONS…
render() { quietly render "${@:3}" "$1" "$2"; }

# refuses CODE CULPRIT ARGUMENTS…: that exit code, one line that holds the culprit, and no new file.
refuses() {
    local code=$1 culprit=$2 before actual
    touch stdout.txt stderr.txt
    before=$(ls -AR)
    "$nuvhost" "${@:3}" >stdout.txt 2>stderr.txt
    actual=$?
    is "$actual" "$code" && is "$(wc -l <stderr.txt)" 1 && is "$(wc -c <stdout.txt)" 0 &&
        grep -q '^nuvhost: ' stderr.txt && grep -qF -- "$culprit" stderr.txt && is "$(ls -AR)" "$before" ||
        { cat stderr.txt; false; }
}

# ---- Pictures -----------------------------------------------------------------------------------------------

straight_alpha='--attrib oiio:UnassociatedAlpha 1'
oiiotool --create 64x48 3 --noise:type=uniform:min=0:max=1 -d uint8 -o opaque.png
oiiotool opaque.png -d uint8 -o opaque.tif
oiiotool opaque.png --quality 95 -o opaque.jpg
oiiotool opaque.png -d half -o opaque.exr
oiiotool --create 64x48 3 --noise:type=uniform:min=0:max=1:seed=5 -d uint16 -o deep.tif
oiiotool --create 64x48 3 --noise:type=uniform:min=0:max=1:seed=6 -d uint16 -o deep.png
oiiotool --create 64x48 1 --noise:type=uniform:min=0:max=1 -d uint8 -o grey.png
# Alpha from 1/255 upwards everywhere: colour under no alpha at all is the effect's to blacken.
oiiotool --create 64x48 4 --noise:type=uniform:min=0.01:max=1:seed=9 $straight_alpha -d uint8 -o straight.png
oiiotool --create 64x48 4 --noise:type=uniform:min=0.01:max=1:seed=9 $straight_alpha -d uint8 -o straight.tif
oiiotool --create 64x48 4 --noise:type=uniform:min=0.01:max=0.5:seed=9 --ch R,G,B,A=1 --mulc 0.5 \
    -d uint8 -o associated.tif
oiiotool --create 64x48 4 --noise:type=uniform:min=0.01:max=0.5:seed=9 -d half -o associated.exr
oiiotool --create 64x48 2 --chnames Y,A --noise:type=uniform:min=0.01:max=1:seed=3 $straight_alpha -d uint8 \
    -o grey_alpha.png
oiiotool --create 64x48 5 --chnames R,G,B,A,mask.id --noise:type=uniform:min=0.01:max=1 -d float -o others.exr
oiiotool --create 2x2 4 --fill:color=0.4,0.2,0.1,0.5 2x2 $straight_alpha -d uint8 -o plain_straight.png
oiiotool --create 2x2 4 --fill:color=0.25,0.125,0.0625,0.5 2x2 -d half -o plain_associated.exr

# ---- Help and version ---------------------------------------------------------------------------------------

prints() { # prints TEXT ARGUMENTS…
    "$nuvhost" "${@:2}" >stdout.txt 2>stderr.txt && [ ! -s stderr.txt ] && grep -qF -- "$1" stdout.txt
}
promise "--version names the tool and its version" prints "nuvhost 2.0" --version
promise "render --version does as well" prints "nuvhost 2.0" render --version
promise "--help lists the commands" prints "render" --help
for option in --mode --scaling --amount --show --center --depth --host --plain --plugin --help --version; do
    promise "render --help explains $option" prints "$option" render --help
done

# ---- The identity, in every format --------------------------------------------------------------------------

identity() { render "$1" "$2" "${@:3}" && same_pixels "$1" "$2"; }
promise "amount 0 gives back an 8-bit PNG byte for byte" identity opaque.png same.png
promise "amount 0 gives back an 8-bit TIFF byte for byte" identity opaque.tif same.tif
promise "amount 0 gives back an OpenEXR bit for bit" identity opaque.exr same.exr
promise "amount 0 gives back a PNG of straight alpha byte for byte" identity straight.png same_straight.png
promise "amount 0 gives back a TIFF of straight alpha byte for byte" identity straight.tif same_straight.tif
promise "amount 0 gives back a TIFF of associated alpha byte for byte" identity associated.tif same_assoc.tif
promise "amount 0 gives back an OpenEXR with alpha bit for bit" identity associated.exr same_assoc.exr
promise "amount 0 gives back 8-bit pixels through the plain render" identity straight.png same.png --plain
promise "amount 0 gives back 8-bit pixels through the editor" identity straight.png same.png --host editor
promise "amount 0 gives back 8-bit pixels through 16 bits" identity straight.png same.png --depth 16
promise "amount 0 gives back 8-bit pixels through floats" identity straight.png same.png --depth 32
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

# ---- What a file is, it stays -------------------------------------------------------------------------------

keeps_kind() { render "$1" "$2" --amount 5 && is "$(kind "$2")" "$3"; }
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
        for i in 1 2 3; do cat <(pixels grey.png | awk '{print $4}'); done >expected.txt &&
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

mixed_types() {
    oiiotool opaque.exr --create 64x48 1 --chnames id --fill:color=0.75 64x48 --chappend \
        -d R=half -d G=half -d B=half -d id=float -o mixed.exr && render mixed.exr mixed_out.exr &&
        same_pixels mixed.exr mixed_out.exr &&
        is "$(attribute mixed_out.exr 'channel list')" "$(attribute mixed.exr 'channel list')" &&
        not is "$(attribute mixed.exr 'channel list')" "" >/dev/null
}
promise "channels of several types keep their types" mixed_types

# ---- Alpha --------------------------------------------------------------------------------------------------

still_straight() { render straight.png still.png --amount 5 && straight still.png; }
promise "straight PNG to PNG stays straight" still_straight
straight_tiff() { render straight.tif still.tif && straight still.tif; }
promise "straight TIFF to TIFF stays straight" straight_tiff
associated_tiff() { render associated.tif still.tif && not straight still.tif; }
promise "associated TIFF to TIFF stays associated" associated_tiff
to_exr() { render plain_straight.png to.exr &&
    is "$(pixel to.exr 0 0)" "0.200805664 0.100402832 0.051177979 0.501953125"; }
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

# ---- The effect ---------------------------------------------------------------------------------------------

fringe() { # fringe OPTIONS CHANNELS-KEPT CHANNELS-CHANGED
    render opaque.png fringe.png $1 && same_colors "$2" opaque.png fringe.png &&
        not same_colors "$3" opaque.png fringe.png >/dev/null
}
promise "red-cyan enlarges red" fringe "--mode red-cyan --amount 10" "G B" R
promise "red-cyan below 0 enlarges green and blue" fringe "--mode red-cyan --amount -10" R G
promise "green-purple enlarges green" fringe "--mode green-purple --amount 10" "R B" G
promise "green-purple below 0 enlarges red and blue" fringe "--mode green-purple --amount -10" G B
promise "blue-yellow enlarges blue" fringe "--mode blue-yellow --amount 10" "R G" B
promise "blue-yellow below 0 enlarges red and green" fringe "--mode blue-yellow --amount -10" B R

doubled() { # amount 50 enlarges twice: the red of (40, 30) comes from half way to the centre, (36, 27)
    render opaque.png doubled.png --amount 50 &&
        is "$(pixel doubled.png 40 30 | cut -d' ' -f1)" "$(pixel opaque.png 36 27 | cut -d' ' -f1)" &&
        is "$(pixel doubled.png 40 30 | cut -d' ' -f2-)" "$(pixel opaque.png 40 30 | cut -d' ' -f2-)"
}
promise "amount 50 enlarges twice about the centre" doubled

differ() { # differ OPTIONS OPTIONS
    render opaque.png one.png $1 && render opaque.png other.png $2 && not same_pixels one.png other.png >/dev/null
}
agree() {
    render straight.png one.png $1 && render straight.png other.png $2 &&
        not same_pixels straight.png one.png >/dev/null &&
        same_pixels one.png other.png
}
promise "square differs from linear" differ "--amount 30" "--amount 30 --scaling square"
promise "cubic differs from square" differ "--amount 30 --scaling square" "--amount 30 --scaling cubic"
promise "the defaults are red-cyan, linear, final, the middle" agree "--amount 12" \
    "--amount 12 --mode red-cyan --scaling linear --show final --center 50%,50%"
promise "percent and pixels name the same centre" agree "--amount 20 --center 25%,75%" "--amount 20 --center 16,36"
promise "percent and pixels may be mixed" agree "--amount 20 --center 25%,36" "--amount 20 --center 16,75%"
promise "the centre may lie outside" differ "--amount 20" "--amount 20 --center -10,120%"
promise "the order of arguments does not matter" agree "--amount=20 --mode blue-yellow" \
    "--mode blue-yellow --amount +20"

shows() {
    render straight.png show.png --show just-ca && is "$(pixels show.png | awk '{print $7}' | sort -u)" 0 &&
        render plain_straight.png show.png --show without-ca && is "$(pixel show.png 0 0)" "102 51 26 64"
}
promise "just-ca keeps alpha where fringes are, without-ca where they are not" shows

odd="--amount 17.5 --center 13,40 --scaling cubic --mode green-purple"
promise "the plain render gives the same as smart render" agree "$odd" "$odd --plain"
promise "the editor gives the same 8-bit pixels as the compositor" agree "$odd" "$odd --host editor"
promise "the editor defaults to 8 bits for deeper files too" keeps_kind deep.tif kind.tif \
    "64 x 48, 3 channel, uint16 tiff"
editor_deep() { render deep.tif one.tif --amount 9 --host editor &&
    render deep.tif other.tif --amount 9 --depth 8 &&
    same_pixels one.tif other.tif; }
promise "the editor gets 8 bits of a 16-bit file" editor_deep

overwrites() { cp grey.png over.png && render opaque.png over.png && same_pixels opaque.png over.png; }
promise "an output that is there is replaced" overwrites
through_link() { cp grey.png behind.png && ln -sf behind.png link.png && quietly render opaque.png link.png &&
    [ -L link.png ] && same_pixels opaque.png behind.png; }
promise "an output that is a link stays one, and its file is replaced" through_link
named_plugin() { local plugin; plugin=$(dirname "$nuvhost")/nuv_chromaber.so
    [ -e "$plugin" ] || plugin=$(dirname "$nuvhost")/../nuv_chromaber.so
    cp "$plugin" other_name.so && render opaque.png one.png --amount 4 --plugin other_name.so; }
promise "--plugin loads the named binary" named_plugin

# ---- What is refused ----------------------------------------------------------------------------------------

echo "no picture" >text.png
head -c 3000 opaque.png >short.png
head -c 3000 opaque.jpg >short.jpg
head -c 3000 opaque.tif >short.tif
head -c 3000 opaque.exr >short.exr
: >empty.png
mkdir folder.png
echo "no library" >text.so

promise "no command is refused" refuses 2 "command"
promise "an unknown command is refused" refuses 2 "rendr" rendr
promise "a missing output is refused" refuses 2 "OUT" render opaque.png
promise "an unknown option is refused" refuses 2 "--amout" render opaque.png out.png --amout 3
promise "a stray argument is refused" refuses 2 "third.png" render opaque.png out.png third.png
promise "an option without its value is refused" refuses 2 "--amount" render opaque.png out.png --amount
promise "an option with two values is refused" \
    refuses 2 "--mode" render opaque.png out.png --mode red-cyan --mode red-cyan
promise "a wrong mode is refused" refuses 2 "purple" render opaque.png out.png --mode purple
promise "a wrong scaling is refused" refuses 2 "quartic" render opaque.png out.png --scaling quartic
promise "a wrong show is refused" refuses 2 "alpha" render opaque.png out.png --show alpha
promise "a wrong depth is refused" refuses 2 "12" render opaque.png out.png --depth 12
promise "a wrong host is refused" refuses 2 "premiere" render opaque.png out.png --host premiere
for amount in 100.01 -101 1e3 inf -inf nan 5% ten "" 1,5 "3 "; do
    promise "amount '$amount' is refused" refuses 2 "\"$amount\"" render opaque.png out.png --amount "$amount"
done
for center in 5 , 5, ,5 5,6,7 a,b nan,1 1,inf "5 %,5" 5%%,5 ""; do
    promise "centre '$center' is refused" refuses 2 "\"$center\"" render opaque.png out.png --center "$center"
done
promise "a centre beyond the host's coordinates is refused" \
    refuses 2 "--center" render opaque.png out.png --center 40000,5
for depth in 16 32; do
    promise "the editor with $depth bits is refused" \
        refuses 2 "editor" render opaque.png out.png --host editor --depth $depth
done
promise "a missing input is refused" refuses 1 "nowhere.png" render nowhere.png out.png
for input in text.png empty.png short.png short.jpg short.tif short.exr folder.png; do
    promise "the unreadable $input is refused" refuses 1 "$input" render $input out.png
done
promise "a format that nobody writes is refused" refuses 2 "out.xyz" render opaque.png out.xyz
promise "an output without extension is refused" refuses 2 "png" render opaque.png png
promise "a folder that is not there is refused" refuses 1 "nowhere/out.png" render opaque.png nowhere/out.png
promise "a folder as output is refused" refuses 2 "folder.png" render opaque.png folder.png
promise "the input as output is refused" refuses 2 "opaque.png" render opaque.png ./opaque.png
promise "channels that the format cannot hold are refused" refuses 1 "mask.id" render others.exr out.png
promise "a missing plug-in is refused" refuses 1 "nowhere.so" render opaque.png out.png --plugin nowhere.so
promise "a file that is no plug-in is refused" refuses 1 "text.so" render opaque.png out.png --plugin text.so

# A limit on the size of files stands for a full disk.
full_disk() { # full_disk OUTPUT: at the start, half way and just before the end
    local size
    quietly render opaque.png whole."${1##*.}"
    size=$((($(stat -c %s whole."${1##*.}") - 1) / 1024))
    for limit in 1 $((size / 2)) $size; do
        (trap '' XFSZ && ulimit -f $limit && refuses 1 "$1" render opaque.png "$1") || return
    done
}
for output in full.png full.jpg full.tif full.exr; do
    promise "a disk too full for $output is reported" full_disk $output
done
no_plugin() { mkdir -p alone/bin && cp "$nuvhost" alone/bin/nuvhost &&
    (nuvhost=$PWD/alone/bin/nuvhost && refuses 1 nuv_chromaber.so render opaque.png out.png); }
promise "the plug-in's absence beside nuvhost is named" no_plugin
keeps_old() { cp opaque.png old.png && "$nuvhost" render short.png old.png 2>/dev/null; [ $? = 1 ] &&
    cmp opaque.png old.png; }
promise "a failure leaves an output that was there alone" keeps_old

# ---- Chart and sheet ----------------------------------------------------------------------------------------

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

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
