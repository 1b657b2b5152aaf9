#!/usr/bin/env bash
# Names that stand for many files, frame ranges, and what is checked before anything is rendered.
source "$(dirname "$0")/tools.sh"
pictures opaque.png others.exr

# fresh FRAME…: enters a new folder with a picture in.FRAME.ppm for each frame. The grey depends on the number.
fresh() {
  local frame
  cd "$(mktemp -d here.XXXX)" || return
  for frame in "$@"; do
    ppm $((10#${frame#-} % 250)) >"in.$frame.ppm"
  done
}
ppm() { printf 'P6\n4 4\n255\n' && perl -e 'print chr(shift) x 48' "$1"; }
# renders FILES ARGUMENTS…: the run succeeds, and makes exactly these new files.
renders() {
  local before
  before=$(find . -type f | sort)
  "$nuvhost" render "${@:2}" >../stdout.txt 2>../stderr.txt || {
    cat ../stderr.txt
    return 1
  }
  is "$(comm -13 <(echo "$before") <(find . -type f | sort) | sed 's|^\./||' | tr '\n' ' ' | sed 's/ $//')" "$1"
}
like() { cmp "$1" "$2"; }
# told: prints the frames in the order in which standard output names them.
told() { sed -n 's/^frame \(-*[0-9]*\) ->.*/\1/p' ../stdout.txt | tr '\n' ' ' | sed 's/ $//'; }

# ---- Patterns -----------------------------------------------------------------------------------------------

every_input() { fresh 0001 0002 0005 && renders "out.0001.ppm out.0002.ppm out.0005.ppm" in.####.ppm out.####.ppm &&
  like in.0005.ppm out.0005.ppm && like in.0001.ppm out.0001.ppm; }
promise "without --frames every input that exists is rendered" every_input
one_hash() { fresh 0001 0002 && renders "o0001.ppm o0002.ppm" in.#.ppm o#.ppm; }
promise "one # is four digits" one_hash
at_signs() { fresh 0001 0012 && renders "o.01.ppm o.12.ppm" in.@@@@.ppm o.@@.ppm; }
promise "@ is one digit each" at_signs
printf_names() { fresh 0001 0012 && renders "o_1.ppm o_12.ppm" in.%04d.ppm o_%d.ppm; }
promise "%04d and %d are those of printf" printf_names
not_padded() { fresh 0001 12 00013 && renders "out.0001.ppm" in.####.ppm out.####.ppm; }
promise "files padded otherwise are no part of the sequence" not_padded
folders() { fresh && mkdir f1 f2 && ppm 1 >f1/a.ppm && ppm 2 >f2/a.ppm &&
  renders "out.0001.ppm out.0002.ppm" f@/a.ppm out.#.ppm; }
promise "the number may be part of a folder's name" folders
literal_folders() { fresh && mkdir shot#1 take@%d && ppm 1 >shot#1/in.0001.ppm && ppm 2 >shot#1/in.0002.ppm &&
  renders "take@%d/o.1.ppm take@%d/o.2.ppm" shot#1/in.#.ppm take@%d/o.@.ppm; }
promise "folders are taken as they are if the file's name has the place" literal_folders
literal_name() { fresh && ppm 7 >logo@2x.ppm && renders "small@2x.ppm" logo@2x.ppm small@2x.ppm; }
promise "a picture whose name looks like a pattern is that picture" literal_name
literal_flag() { fresh && ppm 7 >a.ppm && renders "b#1.ppm" a.ppm b#1.ppm --literal; }
promise "--literal takes names as they are" literal_flag
still() {
  fresh && cp ../opaque.png . && renders "out.0001.png out.0002.png out.0003.png" opaque.png out.#.png --frames 1-3 \
    --amount 1:0,3:50 && cd .. && same_pixels opaque.png "$OLDPWD/out.0001.png" &&
    not same_pixels opaque.png "$OLDPWD/out.0003.png" >/dev/null
}
promise "a still with --frames is rendered once for each" still
single_frame() { fresh 0001 0002 && renders "one.ppm" in.#.ppm one.ppm --frames 2 && like in.0002.ppm one.ppm; }
promise "one frame may go to a plain name" single_frame

# ---- Ranges -------------------------------------------------------------------------------------------------

ranges() { # ranges FRAMES TOLD
  fresh 0001 0002 0003 0004 0005 0006 0007 0008 0009 0010 -001 -002 &&
    "$nuvhost" render in.#.ppm out.#.ppm --threads 1 --frames "$1" >../stdout.txt 2>../stderr.txt &&
    is "$(told)" "$2" && is "$(count out.*)" "$(wc -w <<<"$2")"
}
promise "--frames takes a range" ranges 2-5 "2 3 4 5"
promise "--frames takes steps and commas" ranges 1-10x4,2 "1 5 9 2"
promise "--frames runs backwards" ranges 5-3 "5 4 3"
promise "--frames runs backwards with a queue's negative step" ranges 9-1x-4 "9 5 1"
promise "--frames takes negative numbers" ranges -2--1 "-2 -1"
promise "--frames takes a queue's padded numbers" ranges 0008-0010 "8 9 10"
promise "each frame is rendered once" ranges 1-3,2-4,1 "1 2 3 4"
clipped() {
  fresh 0001 0002 0003 && renders "out.0003.ppm" in.#.ppm out.#.ppm --frames 0003-0006 --clip-range 0001-0003
}
promise "--clip-range lets a last chunk overshoot" clipped
clipped_all() { fresh 0001 && renders "" in.#.ppm out.#.ppm --frames 4-6 --clip-range 1-3 &&
  grep -q "nothing to do" ../stderr.txt; }
promise "a chunk wholly past the end is no failure" clipped_all
clip_found() { fresh 0001 0002 0003 && renders "out.0002.ppm out.0003.ppm" in.#.ppm out.#.ppm --clip-range 2-9; }
promise "--clip-range also applies to the frames found" clip_found
refused() { # refused CODE CULPRIT ARGUMENTS…: there are inputs for the frames 1, 2 and 5
  fresh 0001 0002 0005 && refuses "$1" "$2" render "${@:3}"
}
for frames in "" a 1- 1-5x0 1-5x-1 1,,2 1.5 1-2-3; do
  promise "--frames '$frames' is refused" refused 2 "\"$frames\"" in.#.ppm out.#.ppm --frames "$frames"
done
promise "more than a million frames are refused" refused 2 "million" in.#.ppm out.#.ppm --frames 1-99999999
promise "a wrong --clip-range is refused" refused 2 '"9-1"' in.#.ppm out.#.ppm --clip-range 9-1
promise "a range with a plain output is refused" refused 2 "out.ppm" in.#.ppm out.ppm --frames 1-2
promise "a sequence with a plain output is refused" refused 2 "out.ppm" in.#.ppm out.ppm
promise "a picture with a sequence as output is refused" refused 2 "out.#.ppm" in.0001.ppm out.#.ppm
promise "two places for the number are refused" refused 2 "more than one" in.#.ppm out.#.@.ppm
promise "a sequence that is not there is refused" refused 1 "none.#.ppm" none.#.ppm out.#.ppm
promise "a sequence in a folder that is not there is refused" refused 1 "nowhere" nowhere/in.#.ppm out.#.ppm

# ---- Missing inputs -----------------------------------------------------------------------------------------

promise "missing inputs are listed compactly before anything is rendered" \
  refused 1 "5 of 8 frames are missing: 3-4,6-8" in.#.ppm out.#.ppm --frames 1-8
missing_skip() { fresh 0001 0002 0005 &&
  renders "out.0001.ppm out.0002.ppm out.0005.ppm" in.#.ppm out.#.ppm --frames 1-6 --missing skip &&
  grep -q "left out: 3-4,6" ../stderr.txt; }
promise "--missing skip leaves them out and says so" missing_skip
missing_black() {
  fresh 0001 0003 && renders "out.0001.ppm out.0002.ppm out.0003.ppm" in.#.ppm out.#.ppm --frames 1-3 \
    --missing black && like <(ppm 0) out.0002.ppm && grep -q "black instead: 2" ../stderr.txt
}
promise "--missing black puts black frames of the same size in their place" missing_black
skip_chunk() { fresh 0001 && renders "" in.#.ppm out.#.ppm --frames 7-9 --missing skip "$@" &&
  is "$(cat ../stderr.txt)" "nuvhost: in.#.ppm: missing, left out: 7-$((9 - $# / 2))"; }
promise "a chunk of missing frames alone is skipped" skip_chunk
promise "and a clipped one" skip_chunk --clip-range 1-8
sized() { printf 'P6\n%s\n255\n' "$2" && ppm "$1" | tail -c 48; }
black_chunk() { # the frames are the same, in whichever chunks they are rendered
  fresh && sized 1 "2 8" >in.0001.ppm && sized 5 "8 2" >in.0005.ppm &&
    renders "out.0003.ppm" in.#.ppm out.#.ppm --frames 3-5 --clip-range 1-3 --missing black &&
    renders "out.0004.ppm out.0006.ppm" in.#.ppm out.#.ppm --frames 4,6 --missing black &&
    renders "all.0001.ppm all.0002.ppm all.0003.ppm all.0004.ppm all.0005.ppm all.0006.ppm" in.#.ppm all.#.ppm \
      --frames 1-6 --missing black && like all.0003.ppm out.0003.ppm && like all.0004.ppm out.0004.ppm &&
    like all.0006.ppm out.0006.ppm && like <(sized 0 "2 8") out.0003.ppm && like <(sized 0 "8 2") out.0004.ppm
}
promise "a chunk of missing frames alone is black, each like its nearest" black_chunk
for missing in skip black; do
  promise "--missing $missing of a sequence without any file is refused" \
    refused 1 "no.#.ppm: no file" no.#.ppm out.#.ppm --frames 1-2 --missing $missing
  promise "--missing $missing of a still that is not there is refused" \
    refused 1 "no.ppm: no such file" no.ppm out.#.ppm --frames 1-2 --missing $missing
done
not_onto_missing() { fresh 0001 && refuses 2 in.0001.ppm render in.#.ppm in.0001.ppm --frames 2 --missing black; }
promise "a black frame does not replace what it is like" not_onto_missing
promise "a wrong --missing is refused" refused 2 "grey" in.#.ppm out.#.ppm --missing grey

# ---- Outputs ------------------------------------------------------------------------------------------------

promise "a sequence onto itself is refused" refused 2 "in.0001.ppm" in.#.ppm in.%04d.ppm
linked() { fresh 0001 0002 && ln -s in.0001.ppm out.0001.ppm && refuses 2 "out.0001.ppm" render in.#.ppm out.#.ppm; }
promise "an output that leads to its input is refused" linked
linked_folder() { fresh 0001 0002 && ln -s . there && refuses 2 "there/in.0001.ppm" render in.#.ppm there/in.#.ppm; }
promise "and through a linked folder" linked_folder
other_frame() { fresh 0001 0002 && ln in.0002.ppm out.0001.ppm &&
  refuses 2 "is the input file in.0002.ppm" render in.#.ppm out.#.ppm; }
promise "an output that is another frame's input is refused" other_frame
shared_output() { fresh 0001 0002 && ppm 9 >x.ppm && ln -s x.ppm out.0001.ppm && ln -s x.ppm out.0002.ppm &&
  refuses 2 "another frame's output" render in.#.ppm out.#.ppm; }
promise "two outputs that are one file are refused" shared_output
shared_later() { fresh 0001 0002 && ln -s x.ppm out.0001.ppm && ln -s ./y.ppm out.0002.ppm && ln -s x.ppm y.ppm &&
  refuses 2 "another frame's output" render in.#.ppm out.#.ppm; }
promise "and that will be one file" shared_later
onto_missing() { fresh 0001 && refuses 2 "in.0003.ppm" render in.#.ppm in.%04d.ppm --frames 3 --missing black; }
promise "a black frame in the place of its input is refused" onto_missing
promise "a missing output folder is refused" refused 1 "new/out.0001.ppm" in.#.ppm new/out.#.ppm
promise "an output format that nobody writes is refused" refused 2 "out.0001.xyz" in.#.ppm out.#.xyz
create_dir() { fresh 0001 0002 && renders "a/b/out.0001.ppm a/b/out.0002.ppm" in.#.ppm a/b/out.#.ppm --create-dir; }
promise "--create-dir makes the folders" create_dir
numbered_dirs() { fresh 0001 0002 && renders "f1/x.ppm f2/x.ppm" in.#.ppm f@/x.ppm --create-dir; }
promise "--create-dir makes one folder for each frame if that is the pattern" numbered_dirs
no_dir_made() { fresh 0001 && refuses 1 "missing: 2" render in.#.ppm new/out.#.ppm --create-dir --frames 1-2; }
promise "--create-dir makes nothing when a check fails" no_dir_made
under_file() { fresh 0001 && refuses 1 "in.0001.ppm" render in.#.ppm in.0001.ppm/out.#.ppm --create-dir; }
promise "--create-dir under a file is refused" under_file
skip_existing() {
  fresh 0001 0002 0003 && ppm 99 >out.0002.ppm &&
    renders "out.0001.ppm out.0003.ppm" in.#.ppm out.#.ppm --skip-existing && like <(ppm 99) out.0002.ppm &&
    grep -q '^frame 2 skipped, exists: out.0002.ppm (1/3, 33%)$' ../stdout.txt
}
promise "--skip-existing leaves finished frames alone" skip_existing
skip_all() { fresh 0001 && ppm 99 >out.0001.ppm && renders "" in.#.ppm out.#.ppm --skip-existing; }
promise "--skip-existing with nothing left is no failure" skip_all
skip_whole() { fresh 0001 0002 && : >out.0001.ppm && ppm 99 >out.0002.ppm && renders "" in.#.ppm out.#.ppm --skip-existing &&
  like in.0001.ppm out.0001.ppm && like <(ppm 99) out.0002.ppm; }
promise "--skip-existing renders what is there but empty" skip_whole
skip_folder() { fresh 0001 && mkdir out.0001.ppm && refuses 2 "is a folder" render in.#.ppm out.#.ppm --skip-existing; }
promise "--skip-existing takes no folder for a frame" skip_folder
nothing_left() { fresh 0001 && ppm 99 >out.0001.ppm && "$@"; }
nothing_checked() { refuses 1 nowhere.so render in.#.ppm out.#.ppm --skip-existing --plugin nowhere.so; }
promise "--skip-existing with nothing left checks all the same" nothing_left nothing_checked
nothing_saved() { renders "look.json" in.#.ppm out.#.ppm --skip-existing --save-settings look.json; }
promise "--skip-existing with nothing left saves the settings" nothing_left nothing_saved
nothing_dry() { renders "" in.#.ppm out.#.ppm --skip-existing --dry-run &&
  is "$(cat ../stdout.txt)" "frame 1: skipped, exists: out.0001.ppm"; }
promise "--dry-run with nothing left tells it as always" nothing_left nothing_dry
promise "a format that nobody writes is refused with nothing to do" \
  refused 2 "out.#.xyz" in.#.ppm out.#.xyz --clip-range 7-8
skip_missing() { fresh 0001 && ppm 9 >out.0002.ppm &&
  renders "out.0001.ppm" in.#.ppm out.#.ppm --frames 1-2 --skip-existing; }
promise "--skip-existing needs no input of a finished frame" skip_missing
replaced() { fresh 0001 && ppm 99 >out.0001.ppm && renders "" in.#.ppm out.#.ppm && like in.0001.ppm out.0001.ppm; }
promise "outputs that are there are replaced" replaced
dry_run() {
  fresh 0001 0003 && renders "" in.#.ppm new/out.#.ppm --frames 1-3 --missing black --create-dir --dry-run \
    --save-settings look.json && is "$(cat ../stdout.txt)" "frame 1: in.0001.ppm -> new/out.0001.ppm
frame 2: black -> new/out.0002.ppm
frame 3: in.0003.ppm -> new/out.0003.ppm" && [ ! -e new ]
}
promise "--dry-run tells everything and writes nothing" dry_run
dry_skip() { fresh 0001 0003 && renders "" in.#.ppm out.#.ppm --frames 1-6 --missing skip --dry-run &&
  is "$(cat ../stdout.txt)" "frame 1: in.0001.ppm -> out.0001.ppm
frame 3: in.0003.ppm -> out.0003.ppm
missing, left out: 2,4-6"; }
promise "--dry-run tells what is left out" dry_skip
promise "--dry-run checks all the same" refused 1 "missing: 3" in.#.ppm out.#.ppm --frames 1-3 --dry-run
channels_first() { fresh && cp ../others.exr in.0001.exr && cp ../others.exr in.0002.exr &&
  refuses 1 "mask.id" render in.#.exr new/out.#.png --create-dir; }
promise "channels without room are refused before anything is made" channels_first
plugin_first() { fresh 0001 && refuses 1 "nowhere.so" render in.#.ppm new/out.#.ppm --create-dir --plugin nowhere.so; }
promise "a missing plug-in is refused before anything is made" plugin_first
dangling() { fresh 0001 && ln -s later.ppm out.0001.ppm && "$nuvhost" render in.#.ppm out.#.ppm >../stdout.txt &&
  [ -L out.0001.ppm ] && like in.0001.ppm later.ppm; }
promise "an output that is a link to nothing yet is written through" dangling
dead_link() { fresh 0001 0002 && ln -s nowhere/later.ppm out.0002.ppm && refuses 1 "out.0002.ppm: is a link to no folder" \
  render in.#.ppm out.#.ppm "$@"; }
promise "an output that is a link to no folder is refused before anything is rendered" dead_link
promise "and with --create-dir" dead_link --create-dir
circle() { fresh 0001 0002 && ln -s out.0002.ppm out.0002.ppm && refuses 1 "out.0002.ppm" render in.#.ppm out.#.ppm; }
promise "a link to itself is refused" circle
folder_frame() { fresh 0001 0002 && mkdir in.0003.ppm && refuses 1 "in.0003.ppm: is a folder" render in.#.ppm out.#.ppm "$@"; }
promise "a folder named like a frame is refused before anything is rendered" folder_frame
promise "and with --keep-going" folder_frame --keep-going
promise "and by --dry-run" folder_frame --dry-run
later_channels() { fresh && cp ../opaque.png in.0001.exr && cp ../others.exr in.0002.exr &&
  refuses 1 "mask.id" render in.#.exr out.#.png "$@"; }
promise "channels without room in a later frame are refused before anything is rendered" later_channels
promise "and with --keep-going" later_channels --keep-going
wider() { fresh 0001 && oiiotool --create 64x4 3 -o in.0002.ppm &&
  refuses 2 "--center" render in.#.ppm out.#.ppm --center 100000%,50% "$@"; }
promise "a centre too far out for a wider frame is refused before anything is rendered" wider
promise "and by --dry-run" wider --dry-run
no_header() { fresh 0001 0003 && echo nothing >in.0002.ppm && refuses 1 "in.0002.ppm" render in.#.ppm out.#.ppm "$@"; }
promise "what is no picture is refused before anything is rendered" no_header
promise "and by --dry-run" no_header --dry-run --keep-going
keeps_going() { fresh 0002 0003 && echo nothing >in.0001.ppm &&
  not renders "" in.#.ppm out.#.ppm --keep-going >/dev/null && is "$(ls out.*)" "out.0002.ppm
out.0003.ppm"; }
promise "but fails its frame alone with --keep-going" keeps_going
long_names() {
  local name
  name=$(printf 'n%.0s' {1..247}).ppm && fresh && ppm 3 >"$name" && mkdir o && renders "o/$name" "$name" "o/$name"
}
promise "names as long as the system allows are written" long_names

# ---- Odd names ----------------------------------------------------------------------------------------------

odd() { # odd NAME: folders, the files of a sequence, and one picture have this in their names
  fresh && mkdir "$1" "$1 out" && ppm 1 >"$1/$1.0001.ppm" && ppm 2 >"$1/$1.0002.ppm" &&
    "$nuvhost" render "$1/$1.#.ppm" "$1 out/$1.@.ppm" --threads 1 >../stdout.txt 2>../stderr.txt &&
    like "$1/$1.0001.ppm" "$1 out/$1.1.ppm" && like "$1/$1.0002.ppm" "$1 out/$1.2.ppm" &&
    grep -qaF "frame 2 -> $1 out/$1.2.ppm (2/2, 100%)" ../stdout.txt && [ ! -s ../stderr.txt ] &&
    "$nuvhost" render "$1/$1.0002.ppm" "$1.ppm" && like "$1/$1.0002.ppm" "$1.ppm" &&
    "$nuvhost" render "$1.ppm" "$1 too.ppm" && like "$1.ppm" "$1 too.ppm" &&
    "$nuvhost" render "$1/$1.#.ppm" "$1 out/$1.#.ppm" --dry-run >../stdout.txt &&
    grep -qaF "frame 1: $1/$1.0001.ppm -> $1 out/$1.0001.ppm" ../stdout.txt &&
    is "$("$nuvhost" render "$1/none.#.ppm" "$1.#.ppm" 2>&1)" "nuvhost: $1/none.#.ppm: no file of this sequence exists"
}
promise "names may hold spaces" odd " two  words "
promise "names may hold bytes that are no text" odd $'caf\xe9\xff'
promise "names may hold percent signs" odd "50% of %s%n 100%"
promise "names may hold quotes and begin with a minus sign" odd "./-a'b\"c\\"
raw_json() { fresh && ppm 1 >$'\xe9.0001.ppm' && renders $'out.\xe9.0001.ppm' $'\xe9.#.ppm' $'out.\xe9.#.ppm' --progress json &&
  perl -MJSON::PP -e 'decode_json($_) for <STDIN>' <../stdout.txt; }
promise "--progress json is json whatever the names" raw_json

# ---- An ordinary user -------------------------------------------------------------------------------------------

# Permissions do not stop root, so root runs these as another user.
if [ "$(id -u)" = 0 ]; then
  chmod 755 .
  user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
  printf '#!/bin/sh\nexec %s "%s" "$@"\n' "${user[*]}" "$nuvhost" >as_user && chmod 755 as_user
else
  user=()
  ln -s "$nuvhost" as_user
fi
as_user() { nuvhost=$(realpath -s as_user) && fresh 0001 0002 && chmod 777 . && mkdir -m 555 closed && "$@"; }
user_can() { renders "out.0001.ppm out.0002.ppm" in.#.ppm out.#.ppm; }
closed_folder() { refuses 1 "closed/out.0001.ppm: no permission" render in.#.ppm closed/out.#.ppm; }
closed_parent() { refuses 1 "cannot be made in" render in.#.ppm closed/new/out.#.ppm --create-dir; }
closed_input() { chmod 0 in.0002.ppm && refuses 1 "in.0002.ppm: cannot be read: Permission denied" render in.#.ppm out.#.ppm "$@"; }
closed_output() { ppm 9 >out.0002.ppm && chmod 444 out.0002.ppm &&
  refuses 1 "out.0002.ppm: is write-protected" render in.#.ppm out.#.ppm && like <(ppm 9) out.0002.ppm; }
closed_link() { ln -s closed/x.ppm out.0002.ppm &&
  refuses 1 "out.0002.ppm: no permission" render in.#.ppm out.#.ppm "$@"; }
hidden_link() {
  mkdir -p hidden/a && ln -s "$PWD/hidden/a/x.ppm" out.0002.ppm && chmod 0 hidden &&
    refuses 1 "out.0002.ppm" render in.#.ppm out.#.ppm
  local code=$?
  chmod 755 hidden
  return $code
}
if "${user[@]}" test -x "$nuvhost" -a -x . 2>/dev/null; then
  promise "an ordinary user renders" as_user user_can
  promise "a folder without permission is refused" as_user closed_folder
  promise "and for folders to be made in it" as_user closed_parent
  promise "a frame without permission is refused before anything is rendered" as_user closed_input
  promise "and with --keep-going" as_user closed_input --keep-going
  promise "a write-protected output is refused before anything is rendered" as_user closed_output
  promise "a link into a folder without permission is refused before anything is rendered" as_user closed_link
  promise "and with --create-dir" as_user closed_link --create-dir
  promise "a link through a folder without permission is refused" as_user hidden_link
else
  echo "skip an ordinary user cannot reach $nuvhost or $PWD"
fi

summary
