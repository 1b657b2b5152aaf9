#!/usr/bin/env bash
# What each option does to the pixels.
source "$(dirname "$0")/tools.sh"
pictures opaque.png opaque.exr straight.png deep.tif grey.png plain_straight.png

# shellcheck disable=SC2086  # options, several in a string
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

doubled() { # amount 50 enlarges twice: the red of (40, 30) comes from (36, 27), half way to the centre
  render opaque.png doubled.png --amount 50 &&
    is "$(pixel doubled.png 40 30 | cut -d' ' -f1)" "$(pixel opaque.png 36 27 | cut -d' ' -f1)" &&
    is "$(pixel doubled.png 40 30 | cut -d' ' -f2-)" "$(pixel opaque.png 40 30 | cut -d' ' -f2-)"
}
promise "amount 50 enlarges twice about the centre" doubled

# shellcheck disable=SC2086  # options, several in a string
differ() { # differ OPTIONS OPTIONS
  render opaque.png one.png $1 && render opaque.png other.png $2 && not same_pixels one.png other.png >/dev/null
}
# shellcheck disable=SC2086  # options, several in a string
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
    render plain_straight.png show.png --show without-ca && is "$(pixel show.png 0 0)" "203 104 52 64"
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
named_plugin() {
  local plugin
  plugin=$(dirname "$nuvhost")/nuv_chromaber.so
  [ -e "$plugin" ] || plugin=$(dirname "$nuvhost")/../nuv_chromaber.so
  cp "$plugin" other_name.so && render opaque.png one.png --amount 4 --plugin other_name.so
}
promise "--plugin loads the named binary" named_plugin

summary
