#!/usr/bin/env bash
# What is refused, and what a failure leaves behind.
source "$(dirname "$0")/tools.sh"
pictures opaque.png opaque.jpg opaque.tif opaque.exr others.exr

prints() { # prints TEXT ARGUMENTS…
  "$nuvhost" "${@:2}" >stdout.txt 2>stderr.txt && [ ! -s stderr.txt ] && grep -qF -- "$1" stdout.txt
}
promise "--version names the tool and its version" prints "nuvhost 2.0" --version
promise "render --version does as well" prints "nuvhost 2.0" render --version
promise "--help lists the commands" prints "render" --help
for option in --mode --scaling --amount --show --center --depth --host --plain --plugin --help --version; do
  promise "render --help explains $option" prints "$option" render --help
done

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
for center in 5 "," "5," ",5" 5,6,7 a,b nan,1 1,inf "5 %,5" 5%%,5 ""; do
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
cut_off() { # all cuts lie in the part that the system loads; a cut after that part would do no harm
  local so bytes
  so=$(dirname "$nuvhost")/nuv_chromaber.so
  for bytes in 40 200 4096 60000; do
    head -c $bytes "$so" >cut.so && refuses 1 "cut.so: is cut off" render opaque.png out.png --plugin cut.so &&
      refuses 1 "cut.so: is cut off" sheet opaque.png out.png --plugin cut.so &&
      refuses 1 "cut.so: is cut off" info cut.so || return
  done
}
promise "a plug-in that is cut off is refused" cut_off
printf 'MZ and more' >windows.aex
promise "a plug-in for Windows is refused" refuses 1 "windows.aex: is a Windows program" \
  render opaque.png out.png --plugin windows.aex
promise "a folder as plug-in is refused" refuses 1 "folder.png: is a folder" render opaque.png out.png --plugin folder.png
promise "a plug-in without a name is refused" refuses 2 '--plugin: ""' render opaque.png out.png --plugin ""
promise "a file that is no plug-in is refused" refuses 1 "text.so" render opaque.png out.png --plugin text.so

# ---- Names and values of all kinds --------------------------------------------------------------------------

# first CODE TEXT ARGUMENTS…: nuvhost refuses this, with a line that begins with the text.
first() { { refuses "$@" && [[ $(<stderr.txt) == "nuvhost: $2"* ]]; } || {
  cat stderr.txt
  false
}; }
long=$(printf '%300s' '' | tr ' ' a).png
ln -s circle.png circle.png
printf 'P6\n2000000000 2000000000\n255\n' >huge.ppm
cp opaque.png $'two\nlines.png'
promise "an input without a name is refused" first 2 'IN: ""' render "" out.png
promise "an output without a name is refused" first 2 'OUT: ""' render opaque.png ""
promise "settings without a name are refused" first 2 '--settings: ""' render opaque.png out.png --settings ""
promise "a sheet of nothing is refused" first 2 'IN: ""' sheet "" out.png
promise "a chart without a name is refused" first 2 'OUT: ""' chart ""
promise "an effect without a name is refused" first 2 'PLUGIN: ""' info ""
promise "an input with too long a name is refused" first 1 "$long: cannot be read: File name too long" \
  render "$long" out.png
promise "an output with too long a name is refused" first 1 "$long: cannot be written: File name too long" \
  render opaque.png "$long"
promise "an input in a circle of links is refused" first 1 "circle.png: cannot be read: Too many levels" \
  render circle.png out.png
promise "an output in a circle of links is refused" first 1 "circle.png: cannot be written: Too many levels" \
  render opaque.png circle.png
promise "a picture too large for a layer is refused" \
  first 1 "huge.ppm: 2000000000 x 2000000000 pixels are too large for a layer" render huge.ppm out.png
promise "what is no picture is called so" first 1 "text.so: is no picture that can be read" render text.so out.png
promise "a name of two lines is told on one" first 1 'none\nwhere.png: no such file' render $'none\nwhere.png' out.png
promise "no control sequence reaches the terminal" first 2 '--amount: "\x1b[31m\x9b7\x7f"' \
  render opaque.png out.png --amount $'\e[31m\xc2\x9b7\x7f'
plan() { "$nuvhost" render $'two\nlines.png' out.png --dry-run >stdout.txt && is "$(<stdout.txt)" 'two\nlines.png -> out.png'; }
promise "nor breaks a line of a dry run" plan
mkdir closed
cp opaque.png closed/in.png
cp opaque.png closed.png
chmod 0 closed closed.png
unreadable() { # unreadable TEXT INPUT
  # shellcheck disable=SC2016  # the inner shell knows $tool
  bound bash -c '"$tool" render '"$2"' out.png' >stdout.txt 2>stderr.txt
  is "$? $(<stderr.txt)" "1 nuvhost: $1"
}
promise "an input that nobody may read is told" unreadable "closed.png: cannot be read: Permission denied" closed.png
promise "so is one in a folder that is closed" \
  unreadable "closed/in.png: cannot be read: Permission denied" closed/in.png
chmod 755 closed

# A limit on the size of files stands for a full disk.
full_disk() { # full_disk OUTPUT: the disk gets full at the start, half way and just before the end
  local size
  quietly render opaque.png whole."${1##*.}"
  size=$((($(stat -c %s whole."${1##*.}") - 1) / 1024))
  for limit in 1 $((size / 2)) $size; do
    (trap '' XFSZ && ulimit -f "$limit" && refuses 1 "$1" render opaque.png "$1") || return
  done
}
for output in full.png full.jpg full.tif full.exr; do
  promise "a disk too full for $output is reported" full_disk $output
done
# Some disks tell only at the end that they are full.
"${CXX:-c++}" -shared -fPIC -o failing_disk.so "$tests/failing_disk.cpp" || exit 2
late() { # late CALL OUTPUT
  (export LD_PRELOAD=$PWD/failing_disk.so FAILING_CALL=$1 ASAN_OPTIONS="${ASAN_OPTIONS:-}:verify_asan_link_order=0" &&
    refuses 1 "$2: cannot be written" render opaque.png "$2")
}
for output in late.png late.jpg late.exr late.ppm; do
  promise "an error in closing $output is reported, and no file left" late fclose $output
done
for output in late.png late.jpg late.tif late.exr late.ppm; do
  promise "an error in syncing $output is reported, and no file left" late fsync $output
done
keeps_pipe() { mkfifo pipe.json && refuses 2 pipe.json render opaque.png out.png --save-settings pipe.json && [ -p pipe.json ]; }
promise "what is no file is not replaced by one" keeps_pipe
mkdir -p alone/bin && cp "$nuvhost" alone/bin/nuvhost || exit 2
alone() { local nuvhost=$PWD/alone/bin/nuvhost && "$@"; }
promise "the picture module's absence beside nuvhost is named" \
  alone refuses 1 alone/bin/nuvhost_pictures.so render opaque.png out.png
damaged() { echo text >alone/bin/nuvhost_pictures.so && alone refuses 1 alone/bin/nuvhost_pictures.so "$@"; }
for command in "render opaque.png" "sheet opaque.png" chart; do
  # shellcheck disable=SC2086  # options, several in a string
  promise "a picture module that cannot be loaded is named by ${command%% *}" damaged $command out.png
done
# The module here cannot be loaded. A command that still works does not load it.
promise "--version loads no picture library" alone prints "nuvhost 2.0" --version
promise "--help loads no picture library" alone prints "--amount" render --help
promise "info loads no picture library" alone prints "nuv_chromaber" info "$parts/nuv_chromaber.so"
promise "validate loads no picture library" \
  alone prints "1 passed" validate "$parts/nuv_chromaber.so" --check loading.exports
promise "wrong usage loads no picture library" alone refuses 2 --amount render opaque.png out.png --amount 1000
promise "a missing input loads no picture library" alone refuses 1 nowhere.png render nowhere.png out.png
promise "an output that cannot be written loads no picture library" alone refuses 1 nowhere render opaque.png nowhere/out.png
stream_alone() { cp "$parts/nuv_chromaber.so" alone && head -c 1024 /dev/zero | "$PWD/alone/bin/nuvhost" render - - \
  --size 16x16 --pixel rgba8 -q | cmp - <(head -c 1024 /dev/zero) && rm alone/nuv_chromaber.so; }
promise "a stream loads no picture library" stream_alone
no_plugin() { cp "$parts/nuvhost_pictures.so" alone/bin && alone refuses 1 nuv_chromaber.so render opaque.png out.png; }
promise "the plug-in's absence beside nuvhost is named" no_plugin
keeps_old() {
  cp opaque.png old.png && "$nuvhost" render short.png old.png 2>/dev/null
  [ $? = 1 ] &&
    cmp opaque.png old.png
}
promise "a failure leaves an output that was there alone" keeps_old

summary
