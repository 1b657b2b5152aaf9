#!/usr/bin/env bash
# Raw frames from standard input to standard output, with the real ffmpeg at both ends.
source "$(dirname "$0")/tools.sh"
command -v ffmpeg >/dev/null || {
  echo "$0: ffmpeg is not installed" >&2
  exit 2
}

ff() { ffmpeg -nostdin -v error -y "$@"; }
stream() { "$nuvhost" render - - --size 64x48 "$@"; }
# A clip of twelve frames, compressed without loss.
ff -f lavfi -i testsrc2=size=64x48:rate=12 -frames:v 12 -c:v ffv1 -pix_fmt bgra clip.mkv
raw() { ff -i clip.mkv -f rawvideo -pix_fmt "$1" - 2>/dev/null; }
bytes() { stat -c %s "$1"; }

whole_pipe() {
  set -o pipefail
  raw rgba | stream --pixel rgba8 --amount 20 2>stderr.txt |
    ff -f rawvideo -pix_fmt rgba -s 64x48 -r 12 -i - -c:v ffv1 -pix_fmt bgra out.mkv &&
    is "$(ffprobe -v error -count_frames -show_entries stream=nb_read_frames -of csv=p=0 out.mkv)" 12 || return
  # The seventh frame is the same as when it is rendered as a file.
  ff -i clip.mkv -vf select='eq(n\,6)' -frames:v 1 -pix_fmt rgb24 f.png && "$nuvhost" render f.png g.png --amount 20 &&
    ff -i out.mkv -vf select='eq(n\,6)' -frames:v 1 -pix_fmt rgb24 h.png && same_pixels g.png h.png &&
    not same_pixels f.png h.png >/dev/null
}
promise "a clip goes from ffmpeg through the effect to ffmpeg" whole_pipe
identity() { # identity PIX_FMT PIXEL
  raw "$1" >in.raw && stream --pixel "$2" <in.raw >out.raw 2>stderr.txt && [ -s in.raw ] && cmp in.raw out.raw
}
promise "amount 0 gives back rgba byte for byte" identity rgba rgba8
promise "amount 0 gives back gbrapf32 bit for bit" identity gbrapf32le gbrapf32
deep() { # numbers change a little: the host's white is 32768, and ffmpeg makes an alpha of 65532
  raw rgba64le >in.raw && stream --pixel rgba16 <in.raw >out.raw 2>stderr.txt && is "$(bytes out.raw)" "$(bytes in.raw)" &&
    paste <(od -An -v -tu2 -w2 in.raw) <(od -An -v -tu2 -w2 out.raw) |
    awk '{ d = $1 - $2; if (d < -2 || d > 2) exit 1 }'
}
promise "rgba16 comes back within the host's 16 bits" deep
floats() { perl -e 'print pack "f<4", $_ / 3072, $_ % 7 / 7, 0.25, 1 for 0 .. 3071' >in.raw &&
  stream --pixel rgbaf32 <in.raw >out.raw 2>stderr.txt && cmp in.raw out.raw; }
promise "amount 0 gives back rgbaf32 bit for bit" floats
planes() { # the same picture either way
  raw gbrapf32le | stream --pixel gbrapf32 --amount 30 2>stderr.txt | ff -f rawvideo -pix_fmt gbrapf32le -s 64x48 -i - \
    -f rawvideo -pix_fmt rgba a.raw && raw rgba | stream --pixel rgba8 --amount 30 2>stderr.txt >b.raw && cmp a.raw b.raw
}
promise "planes and pixels give the same picture" planes
in_order() {
  raw rgba >in.raw && stream --pixel rgba8 --amount 20 --threads 1 <in.raw >one.raw 2>stderr.txt &&
    stream --pixel rgba8 --amount 20 --threads 5 <in.raw >five.raw 2>stderr.txt && cmp one.raw five.raw &&
    not cmp -s in.raw one.raw
}
promise "any number of threads keeps the order" in_order
moving() {
  raw rgba >in.raw && stream --pixel rgba8 --amount 0:0,10:50 <in.raw >out.raw 2>stderr.txt &&
    tail -c +$((12288 * 4 + 1)) in.raw | head -c 12288 | stream --pixel rgba8 --amount 20 2>stderr.txt >fifth.raw &&
    tail -c +$((12288 * 4 + 1)) out.raw | head -c 12288 | cmp - fifth.raw
}
promise "parameters move, the first frame being 0" moving
told() { raw rgba | stream --pixel rgba8 2>stderr.txt >out.raw && is "$(sed -n 3p stderr.txt)" "frame 2 -> - (3)" &&
  is "$(wc -l <stderr.txt)" 12; }
promise "frames are told on standard error" told
silent() { raw rgba | stream --pixel rgba8 -q 2>stderr.txt >out.raw && [ ! -s stderr.txt ]; }
promise "-q says nothing" silent

short() {
  raw rgba | head -c $((12288 * 3 + 1000)) | stream --pixel rgba8 -q >out.raw 2>stderr.txt
  is "$? $(cat stderr.txt)" "1 nuvhost: standard input: frame 3 is short: 1000 of 12288 bytes" &&
    is "$(bytes out.raw)" $((12288 * 3))
}
promise "a short last frame is an error, after the frames before it" short
empty() {
  stream --pixel rgba8 >out.raw 2>stderr.txt </dev/null
  is "$? $(wc -l <stderr.txt) $(bytes out.raw)" "1 1 0"
}
promise "no frame at all is an error" empty
broken_pipe() {
  head -c $((12288 * 400)) /dev/zero | stream --pixel rgba8 -q 2>stderr.txt | head -c 100 >out.raw
  is "${PIPESTATUS[1]} $(cat stderr.txt)" "141 "
}
promise "a reader that goes away ends it quietly" broken_pipe
full() {
  raw rgba | stream --pixel rgba8 -q 2>stderr.txt >/dev/full
  is "$? $(wc -l <stderr.txt)" "1 1" &&
    grep -q 'standard output cannot be written' stderr.txt
}
promise "a full disk is told" full

# ---- Without standard input, output or error ---------------------------------------------------------------

no_input() {
  stream --pixel rgba8 <&- >out.raw 2>stderr.txt
  is "$? $(<stderr.txt)" "2 nuvhost: standard input is not open for reading"
}
promise "a stream from a closed input is refused" no_input
no_output() {
  raw rgba >in.raw && stream --pixel rgba8 <in.raw >&- 2>stderr.txt
  is "$? $(<stderr.txt)" "2 nuvhost: standard output is not open for writing"
}
promise "a stream to a closed output is refused" no_output
no_error() { raw rgba >in.raw && stream --pixel rgba8 "$@" <in.raw >out.raw 2>&- && cmp in.raw out.raw; }
promise "a closed standard error harms no stream" no_error
promise "nor does its progress" no_error --progress json
no_error_files() { ff -i clip.mkv -frames:v 1 -pix_fmt rgb24 f.png && "$nuvhost" render f.png g.png --progress json 2>&- >out.txt &&
  same_pixels f.png g.png && is "$(wc -l <out.txt)" 3 && "$nuvhost" render f.png g.png <&- >&- 2>&- && same_pixels f.png g.png; }
promise "nor pictures" no_error_files
no_help() {
  "$nuvhost" --help >&- 2>stderr.txt
  is "$? $(<stderr.txt)" "1 nuvhost: standard output cannot be written"
}
promise "--help to a closed output fails" no_help
json_lines() {
  raw rgba | stream --pixel rgba8 --progress json 2>stderr.txt >out.raw && perl -MJSON::PP -e '
        my @events = map { decode_json($_) } <STDIN>;
        die unless @events == 14 && $events[1]{frame} == 0 && $events[13]{rendered} == 12' <stderr.txt
}
promise "--progress json of a stream is on standard error" json_lines

wrong() { refuses 2 "$1" render "${@:2}" </dev/null; }
promise "a stream without size is refused" wrong "--size" - - --pixel rgba8
promise "a stream without a kind of pixels is refused" wrong "--pixel" - - --size 64x48
promise "an unknown kind of pixels is refused" wrong "yuv420p" - - --size 64x48 --pixel yuv420p
promise "a wrong size is refused" wrong "64" - - --size 64 --pixel rgba8
promise "a stream to files is refused" wrong "stream" - out.#.png --size 64x48 --pixel rgba8
promise "files to a stream are refused" wrong "stream" clip.mkv - --size 64x48 --pixel rgba8
promise "--frames is refused for a stream" wrong "--frames" - - --size 64x48 --pixel rgba8 --frames 1-3
promise "--size is refused for files" wrong "--size" clip.mkv out.png --size 64x48
promise "the editor with deep pixels is refused" wrong "editor" - - --size 64x48 --pixel rgba16 --host editor

summary
