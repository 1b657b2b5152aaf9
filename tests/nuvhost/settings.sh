#!/usr/bin/env bash
# Parameters over time, and in files.
source "$(dirname "$0")/tools.sh"
pictures opaque.png
oiiotool opaque.png -o opaque.ppm

one() { "$nuvhost" render -q opaque.ppm "$@" 2>stderr.txt || {
  cat stderr.txt
  return 1
}; } # OUT OPTIONS…
# shellcheck disable=SC2086  # options, several in a string
agree() { one a.ppm $1 && one b.ppm $2 && cmp a.ppm b.ppm && not cmp -s a.ppm opaque.ppm; }

# ---- Over time ----------------------------------------------------------------------------------------------

moving=(--amount "0:0,48:100")
promise "an amount between two keys is linear" agree "--frames 12 ${moving[*]}" "--amount 25"
promise "an amount is held after the last key" agree "--frames 99 ${moving[*]}" "--amount 100"
promise "an amount is held before the first key" agree "--frames -5 --amount 3:40,48:100" "--amount 40"
promise "a frame that is a key has its value" agree "--frames 10 --amount 0:5,10:-40,20:80" "--amount -40"
promise "keys may come in any order" agree "--frames 12 --amount 48:100,0:0" "--amount 25"
promise "key frames may be negative" agree "--frames -5 --amount -10:0,0:50" "--amount 25"
promise "one key is a constant" agree "--frames 7 --amount 3:40" "--amount 40"
promise "the centre moves" agree "--frames 5 --center 0:0,0,10:32,48 --amount 30" "--center 16,24 --amount 30"
promise "the centre moves between percent and pixels" \
  agree "--frames 5 --center 0:50%,0%,10:0,48 --amount 30" "--center 16,24 --amount 30"
sequence() {
  "$nuvhost" render -q opaque.ppm o.#.ppm --frames 0-48x12 "${moving[@]}" --threads 3 && for i in 12:25 24:50 48:100; do
    one a.ppm --amount "${i#*:}" && cmp a.ppm "$(printf 'o.%04d.ppm' "${i%:*}")" || return
  done && cmp opaque.ppm o.0000.ppm
}
promise "each frame of a sequence has its own value" sequence
for amount in 0:0,48 0:0,,4:5 0:0,48:101 x:1 0:x 0: :5 1.5:3 0:1,0:2 "0:1," ,0:1; do
  promise "amount '$amount' is refused" refuses 2 "--amount" render opaque.ppm o.ppm --frames 1 --amount "$amount"
done
for center in 0:1 0:1,2,3 0:1,2,3:4 0:a,b 0:1,2,0:3,4 0:40000,5; do
  promise "centre '$center' is refused" refuses 2 "--center" render opaque.ppm o.ppm --frames 1 --center "$center"
done
promise "settings that move need a frame number" refuses 2 "--frames" render opaque.ppm o.ppm "${moving[@]}"

# ---- Files --------------------------------------------------------------------------------------------------

full=(--amount 30 --mode blue-yellow --scaling cubic --center "25%,40" --show just-ca)
saved() { one a.ppm "${full[@]}" --save-settings look.json && one b.ppm --settings look.json && cmp a.ppm b.ppm &&
  not cmp -s a.ppm opaque.ppm; }
promise "--settings renders as what --save-settings wrote" saved
saved_moving() { one a.ppm --frames 12 "${moving[@]}" --save-settings moving.json && one b.ppm --frames 12 --settings moving.json &&
  cmp a.ppm b.ppm && one b.ppm --amount 25 && cmp a.ppm b.ppm; }
promise "settings that move are saved as well" saved_moving
by_id() {
  one a.ppm "${full[@]}" --save-settings look.json && perl -MJSON::PP -e '
        local $/; my $look = decode_json(<STDIN>); my $p = $look->{parameters};
        my %want = (2 => ["Frame center", "25%,40"], 3 => ["Mode", "blue-yellow"], 4 => ["Scaling", "cubic"],
                    5 => ["Amount", "30"], 6 => ["Show", "just-ca"]);
        die unless $look->{effect} eq "nuv_chromaber" && $look->{sequence_data} eq "00000000" && keys %$p == 5;
        for (keys %want) { die $_ unless $p->{$_}{name} eq $want{$_}[0] && $p->{$_}{value} eq $want{$_}[1] }' <look.json
}
promise "the file holds the parameters by disk id, and the sequence data" by_id
overruled() { one a.ppm --amount 30 --save-settings look.json &&
  one b.ppm --amount 7 --settings look.json && one a.ppm --amount 7 && cmp a.ppm b.ppm; }
promise "options overrule the file wherever they stand" overruled
partial() { echo '{"parameters": {"5": {"value": 30}}}' >part.json && one a.ppm --settings part.json &&
  one b.ppm --amount 30 && cmp a.ppm b.ppm; }
promise "a file may hold some parameters only, and numbers" partial
resaved() { one a.ppm "${full[@]}" --save-settings one.json && one a.ppm --settings one.json --save-settings two.json &&
  cmp one.json two.json; }
promise "saving what was loaded gives the same file" resaved

bad() { # bad TEXT CULPRIT
  printf '%s' "$1" >bad.json && refuses 2 "$2" render opaque.ppm o.ppm --settings bad.json &&
    grep -q '^nuvhost: bad.json: ' stderr.txt
}
promise "settings that are no JSON are refused with the place" bad $'{"parameters": {\n  "5": {"value" 3}}}' "at line 2"
promise "settings that are no object are refused" bad '[1]' "object"
promise "empty settings are refused" bad '' "JSON"
promise "settings of another effect are refused" bad '{"effect": "blur"}' "effect"
promise "an unknown key is refused" bad '{"paramters": {}}' "paramters"
promise "an unknown id is refused" bad '{"parameters": {"7": {"value": 1}}}' "parameters.7"
promise "an unknown key of a parameter is refused" bad '{"parameters": {"5": {"value": 1, "unit": 2}}}' "parameters.5.unit"
promise "a parameter without value is refused" bad '{"parameters": {"5": {}}}' "parameters.5"
promise "a parameter that is no object is refused" bad '{"parameters": {"5": 3}}' "parameters.5"
promise "parameters that are no object are refused" bad '{"parameters": 3}' "parameters"
promise "a value of no meaning is refused" bad '{"parameters": {"5": {"value": [1]}}}' "parameters.5.value"
promise "a value out of range is refused" bad '{"parameters": {"5": {"value": 101}}}' 'parameters.5.value: "101"'
promise "a number beyond all numbers is refused" bad '{"parameters": {"5": {"value": 1e400}}}' "parameters.5.value: "
promise "a key that is there twice is refused" bad '{"parameters": {}, "effect": "nuv_chromaber", "parameters": {}}' \
  "parameters: is there twice"
promise "a parameter that is there twice is refused" \
  bad '{"parameters": {"5": {"value": 1}, "3": {"value": "red-cyan"}, "5": {"value": 2}}}' "parameters.5: is there twice"
promise "two values of a parameter are refused" bad '{"parameters": {"5": {"value": 1, "name": "Amount", "value": 2}}}' \
  "parameters.5.value: is there twice"
promise "a name that is another parameter's is refused" bad '{"parameters": {"5": {"name": "Mode", "value": 1}}}' \
  "parameters.5.name"
promise "a name that is no text is refused" bad '{"parameters": {"5": {"name": 5, "value": 1}}}' "parameters.5.name"
promise "sequence data that is no text is refused" bad '{"sequence_data": 12}' "sequence_data"
promise "a wrong word is refused" bad '{"parameters": {"3": {"value": "pink"}}}' 'parameters.3.value: "pink"'
promise "sequence data that is not hexadecimal is refused" bad '{"sequence_data": "0g"}' "sequence_data"
promise "settings that are not there are refused" \
  refuses 1 "none.json" render opaque.ppm o.ppm --settings none.json
promise "a folder as settings is refused" refuses 1 "/" render opaque.ppm o.ppm --settings /

# ---- Where settings cannot be saved ---------------------------------------------------------------------------

# unsaved FILE OPTIONS…: to save settings there is refused before anything is done, also in a dry run.
unsaved() {
  refuses 2 "--save-settings: \"$1\"" render opaque.ppm new/o.ppm --create-dir --save-settings "$1" "${@:2}" &&
    refuses 2 "--save-settings: \"$1\"" render opaque.ppm new/o.ppm --create-dir --save-settings "$1" --dry-run "${@:2}"
}
cp "$(dirname "$nuvhost")/nuv_chromaber.so" own.so
ln opaque.ppm hard.ppm
ln -s opaque.ppm soft.ppm
ln -s new/o.ppm leads_to_output
ln -s loop loop
mkfifo pipe
mkdir folder shut
chmod a-w shut
: >folder/protected.json
chmod a-w folder/protected.json
promise "settings over the input are refused" unsaved ./opaque.ppm
promise "also by another name of the file" unsaved hard.ppm
promise "also by a link" unsaved soft.ppm
promise "settings over the output that will be are refused" unsaved ./new/../new/o.ppm
promise "also by a link" unsaved leads_to_output
promise "settings over the plug-in are refused" unsaved own.so --plugin ./own.so
promise "settings over any frame are refused" refuses 2 "o.0002.ppm" \
  render opaque.ppm o.#.ppm --frames 1-3 --save-settings o.0002.ppm
skipped() { cp opaque.ppm s.0001.ppm && refuses 2 "s.0001.ppm" \
  render opaque.ppm s.#.ppm --frames 1-3 --skip-existing --save-settings s.0001.ppm; }
promise "also one that is skipped" skipped
promise "settings into a pipe are refused" unsaved pipe
promise "settings over a folder are refused" unsaved folder
promise "settings without a file's name are refused" unsaved folder/
promise "settings with an empty name are refused" unsaved ""
promise "settings to standard output are refused" unsaved -
promise "settings over a circle of links are refused" unsaved loop
promise "settings under a name that is too long are refused" unsaved "$(printf '%300s' '' | tr ' ' a)"
promise "settings in a folder that is not there are refused" unsaved nowhere/look.json
protected() { # protected FILE REASON
  # shellcheck disable=SC2016  # the inner shell knows $tool
  bound bash -c '"$tool" render opaque.ppm o.ppm --dry-run --save-settings '"$1" >stdout.txt 2>stderr.txt
  { is "$? $(wc -l <stderr.txt)" "2 1" && grep -qF -- "--save-settings: \"$1\" $2" stderr.txt; } || {
    cat stderr.txt
    false
  }
}
promise "settings in a folder without permission are refused" protected shut/look.json "cannot be written"
promise "settings over a protected file are refused" protected folder/protected.json "is write-protected"
stream_onto() {
  head -c 16 opaque.ppm >in.raw && "$nuvhost" render - - --size 2x2 --pixel rgba8 --save-settings "$1" \
    <in.raw >out.raw 2>stderr.txt
  is "$? $(stat -c %s in.raw out.raw | tr '\n' ' ')" "2 16 0 "
}
promise "settings over the file that a stream comes from are refused" stream_onto in.raw
promise "settings over the file that a stream goes to are refused" stream_onto out.raw
beside() { one made/o.ppm --create-dir --save-settings made/look.json && [ -s made/look.json ]; }
promise "settings go into a folder that is made for the output" beside
again() { one a.ppm --amount 7 --save-settings mine.json && one a.ppm --mode blue-yellow --settings mine.json \
  --save-settings mine.json && grep -q '"7"' mine.json && grep -q blue-yellow mine.json; }
promise "settings may be saved over those that were loaded" again

summary
