# shellcheck shell=bash
# The tests of the command line tool source this. They are called as TEST NUVHOST FOLDER. This script empties the folder
# and enters it.
set -u
source "$(dirname "${BASH_SOURCE[0]}")/../support/promise.sh"
nuvhost=$(realpath "$1")
parts=$(dirname "$nuvhost") # the folder of its picture module and of the effect
# shellcheck disable=SC2034  # refusals.sh uses it
tests=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
rm -rf "$2" && mkdir -p "$2" && cd "$2" || exit 2
command -v oiiotool >/dev/null || {
  echo "$0: oiiotool is not installed" >&2
  exit 2
}

# Prints every pixel of a file, one on a line, as it is stored: oiiotool does not multiply it by alpha.
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
# same_colors LETTERS A B: compares only these colours.
same_colors() {
  local letter fields=()
  for letter in $1; do
    case $letter in R) fields+=(5) ;; G) fields+=(6) ;; B) fields+=(7) ;; esac
  done
  pixels "$2" | tr -s ' ' | cut -d ' ' -f "$(IFS=, && echo "${fields[*]}")" >expected.txt
  pixels "$3" | tr -s ' ' | cut -d ' ' -f "$(IFS=, && echo "${fields[*]}")" >actual.txt
  [ -s expected.txt ] && cmp expected.txt actual.txt
}

# count FILE…: prints how many files a pattern matches.
count() { echo $#; }
# other_files NAME: prints all files here but this one.
other_files() { find . -mindepth 1 -maxdepth 1 ! -name "$1" ! -name stderr.txt | sort; }
# quietly ARGUMENTS… OUTPUT: nuvhost succeeds, prints nothing on standard error, and makes no file but its output.
quietly() {
  local output=${*: -1} before after
  before=$(other_files "$output")
  "$nuvhost" "$@" 2>stderr.txt || {
    cat stderr.txt
    return 1
  }
  after=$(other_files "$output")
  [ ! -s stderr.txt ] && [ -s "$output" ] && [ "$before" = "$after" ]
}
# render INPUT OUTPUT OPTIONS…
render() { quietly render "${@:3}" "$1" "$2"; }
keeps_kind() { render "$1" "$2" --amount 5 && is "$(kind "$2")" "$3"; }

# refuses CODE CULPRIT ARGUMENTS…: nuvhost ends with the code, prints one line that names the culprit, and makes no
# new file.
refuses() {
  local code=$1 culprit=$2 before actual
  touch stdout.txt stderr.txt
  before=$(ls -AR)
  "$nuvhost" "${@:3}" >stdout.txt 2>stderr.txt
  actual=$?
  {
    is "$actual" "$code" && is "$(wc -l <stderr.txt)" 1 && is "$(wc -c <stdout.txt)" 0 &&
      grep -q '^nuvhost: ' stderr.txt && grep -qF -- "$culprit" stderr.txt && is "$(ls -AR)" "$before"
  } || {
    cat stderr.txt
    false
  }
}

# bound COMMAND…: runs this in a copy of the folder, and not as root, because permissions do not stop root. $tool is
# nuvhost there.
bound() {
  local place code user=()
  place=$(mktemp -d) && cp -a . "$place" && cp "$nuvhost" "$parts"/{nuvhost_pictures,nuv_chromaber}.so "$place" || return
  chmod 755 "$place"
  if [ "$(id -u)" = 0 ]; then
    chown -Rh 65534:65534 "$place"
    user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
  fi
  (cd "$place" && tool=$place/nuvhost "${user[@]}" "$@")
  code=$?
  chmod -R u+rwx "$place" && rm -rf "$place"
  return $code
}

# ---- Pictures -----------------------------------------------------------------------------------------------

# How oiiotool makes each picture. No alpha is 0, because the effect turns the colour of such pixels into black.
noise=--noise:type=uniform
straight_alpha='--attrib oiio:UnassociatedAlpha 1'
declare -A recipes=(
  [opaque.png]="--create 64x48 3 $noise:min=0:max=1 -d uint8"
  [opaque.tif]="--create 64x48 3 $noise:min=0:max=1 -d uint8"
  [opaque.jpg]="--create 64x48 3 $noise:min=0:max=1 -d uint8 --quality 95"
  [opaque.exr]="--create 64x48 3 $noise:min=0:max=1 -d half"
  [deep.tif]="--create 64x48 3 $noise:min=0:max=1:seed=5 -d uint16"
  [deep.png]="--create 64x48 3 $noise:min=0:max=1:seed=6 -d uint16"
  [grey.png]="--create 64x48 1 $noise:min=0:max=1 -d uint8"
  [straight.png]="--create 64x48 4 $noise:min=0.01:max=1:seed=9 $straight_alpha -d uint8"
  [straight.tif]="--create 64x48 4 $noise:min=0.01:max=1:seed=9 $straight_alpha -d uint8"
  [associated.tif]="--create 64x48 4 $noise:min=0.01:max=0.5:seed=9 --ch R,G,B,A=1 --mulc 0.5 -d uint8"
  [associated.exr]="--create 64x48 4 $noise:min=0.01:max=0.5:seed=9 -d half"
  [grey_alpha.png]="--create 64x48 2 --chnames Y,A $noise:min=0.01:max=1:seed=3 $straight_alpha -d uint8"
  [others.exr]="--create 64x48 5 --chnames R,G,B,A,mask.id $noise:min=0.01:max=1 -d float"
  [plain_straight.png]="--create 2x2 4 --fill:color=0.4,0.2,0.1,0.5 2x2 $straight_alpha -d uint8"
  [plain_associated.exr]="--create 2x2 4 --fill:color=0.25,0.125,0.0625,0.5 2x2 -d half"
)
# pictures NAME…: makes these pictures.
pictures() {
  local name
  for name in "$@"; do
    # shellcheck disable=SC2086  # options, several in a string
    oiiotool ${recipes[$name]} -o "$name"
  done
}
