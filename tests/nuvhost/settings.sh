#!/bin/bash
# Parameters over time, and in files.
source "$(dirname "$0")/tools.sh"
pictures opaque.png
oiiotool opaque.png -o opaque.ppm

one() { "$nuvhost" render -q opaque.ppm "$@" 2>stderr.txt || { cat stderr.txt; return 1; }; } # OUT OPTIONS…
agree() { one a.ppm $1 && one b.ppm $2 && cmp a.ppm b.ppm && not cmp -s a.ppm opaque.ppm; }

# ---- Over time ----------------------------------------------------------------------------------------------

moving="--amount 0:0,48:100"
promise "an amount between two keys is linear" agree "--frames 12 $moving" "--amount 25"
promise "an amount is held after the last key" agree "--frames 99 $moving" "--amount 100"
promise "an amount is held before the first key" agree "--frames -5 --amount 3:40,48:100" "--amount 40"
promise "a frame that is a key has its value" agree "--frames 10 --amount 0:5,10:-40,20:80" "--amount -40"
promise "keys may come in any order" agree "--frames 12 --amount 48:100,0:0" "--amount 25"
promise "key frames may be negative" agree "--frames -5 --amount -10:0,0:50" "--amount 25"
promise "one key is a constant" agree "--frames 7 --amount 3:40" "--amount 40"
promise "the centre moves" agree "--frames 5 --center 0:0,0,10:32,48 --amount 30" "--center 16,24 --amount 30"
promise "the centre moves between percent and pixels" \
    agree "--frames 5 --center 0:50%,0%,10:0,48 --amount 30" "--center 16,24 --amount 30"
sequence() {
    "$nuvhost" render -q opaque.ppm o.#.ppm --frames 0-48x12 $moving --threads 3 && for i in 12:25 24:50 48:100; do
        one a.ppm --amount "${i#*:}" && cmp a.ppm "$(printf 'o.%04d.ppm' "${i%:*}")" || return
    done && cmp opaque.ppm o.0000.ppm
}
promise "each frame of a sequence has its own value" sequence
for amount in 0:0,48 0:0,,4:5 0:0,48:101 x:1 0:x 0: :5 1.5:3 0:1,0:2 0:1, ,0:1; do
    promise "amount '$amount' is refused" refuses 2 "--amount" render opaque.ppm o.ppm --frames 1 --amount "$amount"
done
for center in 0:1 0:1,2,3 0:1,2,3:4 0:a,b 0:1,2,0:3,4 0:40000,5; do
    promise "centre '$center' is refused" refuses 2 "--center" render opaque.ppm o.ppm --frames 1 --center "$center"
done
promise "settings that move need a frame number" refuses 2 "--frames" render opaque.ppm o.ppm $moving

# ---- Files --------------------------------------------------------------------------------------------------

full="--amount 30 --mode blue-yellow --scaling cubic --center 25%,40 --show just-ca"
saved() { one a.ppm $full --save-settings look.json && one b.ppm --settings look.json && cmp a.ppm b.ppm &&
    not cmp -s a.ppm opaque.ppm; }
promise "--settings renders as what --save-settings wrote" saved
saved_moving() { one a.ppm --frames 12 $moving --save-settings moving.json && one b.ppm --frames 12 --settings moving.json &&
    cmp a.ppm b.ppm && one b.ppm --amount 25 && cmp a.ppm b.ppm; }
promise "settings that move are saved as well" saved_moving
by_id() {
    one a.ppm $full --save-settings look.json && perl -MJSON::PP -e '
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
resaved() { one a.ppm $full --save-settings one.json && one a.ppm --settings one.json --save-settings two.json &&
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
promise "a wrong word is refused" bad '{"parameters": {"3": {"value": "pink"}}}' 'parameters.3.value: "pink"'
promise "sequence data that is not hexadecimal is refused" bad '{"sequence_data": "0g"}' "sequence_data"
promise "settings that are not there are refused" \
    refuses 1 "none.json" render opaque.ppm o.ppm --settings none.json
promise "a folder as settings is refused" refuses 1 "/" render opaque.ppm o.ppm --settings /
promise "settings that cannot be saved are told" \
    refuses 1 "nowhere/look.json" render opaque.ppm o.ppm --save-settings nowhere/look.json

summary
