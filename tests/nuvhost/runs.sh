#!/usr/bin/env bash
# What a run reports, how it goes on after a failure, and how it ends.
source "$(dirname "$0")/tools.sh"

ppm() { printf 'P6\n4 4\n255\n' && perl -e 'print chr(shift) x 48' "$1"; }
for i in 1 2 3 4 5; do ppm $i >in.000$i.ppm; done
{ printf 'P6\n64 64\n255\n' && head -c 12288 /dev/zero; } >big.ppm
{ printf 'P6\n500 500\n255\n' && head -c 750000 /dev/urandom; } >large.ppm
run() {
  rm -f out.*
  "$nuvhost" render in.#.ppm out.#.ppm "$@" >stdout.txt 2>stderr.txt
}
silent() { [ ! -s "$1" ] || {
  cat "$1"
  false
}; }
no_temporaries() { is "$(find . -name '.nuvhost*' | wc -l)" 0; }

# ---- Progress -----------------------------------------------------------------------------------------------

lines() {
  run --threads 1 && silent stderr.txt && is "$(cat stdout.txt)" "frame 1 -> out.0001.ppm (1/5, 20%)
frame 2 -> out.0002.ppm (2/5, 40%)
frame 3 -> out.0003.ppm (3/5, 60%)
frame 4 -> out.0004.ppm (4/5, 80%)
frame 5 -> out.0005.ppm (5/5, 100%)"
}
promise "without a terminal each frame is one line on standard output" lines
json() {
  run --progress json --threads 1 && silent stderr.txt && perl -MJSON::PP -e '
        my @events = map { decode_json($_) } <STDIN>;
        die unless @events == 7 && $events[0]{event} eq "start" && $events[0]{total} == 5;
        for my $i (1 .. 5) {
            my $e = $events[$i];
            die unless $e->{event} eq "frame" && $e->{frame} == $i && $e->{status} eq "done" &&
                $e->{output} eq "out.000$i.ppm" && $e->{percent} == 20 * $i;
        }
        die unless $events[6]{event} eq "end" && $events[6]{rendered} == 5 && !@{$events[6]{failed}}' <stdout.txt
}
promise "--progress json is an object a line" json
nothing() { run "$@" && silent stdout.txt && silent stderr.txt && [ -s out.0005.ppm ]; }
promise "--progress none says nothing" nothing --progress none
promise "-q says nothing" nothing -q
single() { "$nuvhost" render in.0001.ppm one.ppm >stdout.txt 2>stderr.txt && silent stdout.txt && silent stderr.txt; }
promise "one picture says nothing" single
verbose() { run -v && grep -q '^nuvhost: frame 3: read [0-9]* ms, rendered [0-9]* ms, wrote [0-9]* ms$' stderr.txt; }
promise "-v says how each frame went, on standard error" verbose
bar() {
  rm -f out.* && script -qec "$nuvhost render in.#.ppm out.#.ppm" /dev/null >terminal.txt </dev/null &&
    tr '\r' '\n' <terminal.txt | grep -q '\[#*\.*\] 3/5, 60%  [0-9.]* frames/s  0:00 left' &&
    not grep -q 'frame 1 ->' terminal.txt && tail -n 1 terminal.txt | grep -q '5 frames in .* frames/s'
}
promise "a terminal gets a bar with the rate and the time left" bar
bar_skips() { # 400 of 402 frames exist already, and must not count in the rate
  mkdir -p skips && for ((i = 3; i <= 402; i++)); do ln -f in.0001.ppm "skips/out.$(printf %04d "$i").ppm"; done &&
    script -qec "$nuvhost render big.ppm skips/out.#.ppm --frames 1-402 --skip-existing --threads 1" /dev/null \
      >terminal.txt </dev/null && perl -0777 -e '$_ = <STDIN>;
        /(\d+\/402, \d+%[^\r\n]*)/ && $1 eq "1/402, 0%" or die "     told before anything was rendered: $1\n";
        /402\/402, 100%  ([\d.]+) frames/ && (my $bar = $1) && /2 frames in .* s, ([\d.]+) frames/ or die "     no rate\n";
        $bar < 50 * $1 or die "     $bar frames/s in the bar, $1 in the end\n"' <terminal.txt
}
promise "the rate is that of the frames that were rendered" bar_skips
narrow() {
  rm -f out.* && script -qec "stty cols 24 && $nuvhost render in.#.ppm out.#.ppm" /dev/null >terminal.txt </dev/null &&
    tr '\r' '\n' <terminal.txt | grep -q '5/5, 100%' && is "$(tr '\r' '\n' <terminal.txt |
      grep -v 'frames in' | sed 's/^\x1b\[K//' | awk 'length > 24' | wc -l)" 0
}
promise "the bar is no wider than the terminal" narrow
bar_dies() { # bar_dies SIGNAL
  local i
  rm -rf dies && mkdir dies || return
  (
    for ((i = 0; i < 400; i++)); do
      [ -s dies/out.0002.ppm ] && break
      sleep 0.05
    done
    kill -"$1" "$(cat dies/pid)"
  ) &
  script -qec "echo \$\$ >dies/pid; exec $nuvhost render in.0001.ppm dies/out.#.ppm --frames 1-3000" /dev/null \
    >terminal.txt </dev/null
  wait
  grep -q ' left' terminal.txt && is "$(tail -c 4 terminal.txt | od -An -c | tr -d ' ')" '\r033[K'
}
for signal in INT TERM HUP; do
  promise "$signal leaves no bar on the terminal" bar_dies $signal
done
bar_and_log() {
  rm -f out.* && script -qec "$nuvhost render in.#.ppm out.#.ppm >log.txt" /dev/null >terminal.txt </dev/null &&
    is "$(grep -c '^frame [0-9] -> ' log.txt)" 5 && grep -q '5/5, 100%' terminal.txt
}
promise "a log beside a terminal gets the lines" bar_and_log
no_reader() {
  rm -f out.* && "$nuvhost" render in.#.ppm out.#.ppm | true
  is "${PIPESTATUS[0]} $(count out.*)" "0 5"
}
promise "a reader of the lines that goes away stops nothing" no_reader
help_full() {
  "$nuvhost" "$@" >/dev/full 2>stderr.txt
  is "$? $(wc -l <stderr.txt)" "1 1"
}
promise "--help onto a full disk fails" help_full --help
promise "render --help onto a full disk fails" help_full render --help
promise "--dry-run onto a full disk fails" help_full render in.#.ppm out.#.ppm --dry-run
promise "a wrong --progress is refused" refuses 2 "loud" render in.#.ppm out.#.ppm --progress loud
for threads in 0 257 1.5 two; do
  promise "--threads $threads is refused" refuses 2 "\"$threads\"" render in.#.ppm out.#.ppm --threads $threads
done
same_threads() {
  run --amount 20 --threads 1 && cat out.* >one.bin && run --amount 20 --threads 7 && cat out.* | cmp - one.bin
}
promise "any number of threads gives the same pictures" same_threads

# ---- Memory -------------------------------------------------------------------------------------------------

peak() { # peak FRAMES: prints the most memory that was in use, in kilobytes
  ASAN_OPTIONS="${ASAN_OPTIONS:-}:quarantine_size_mb=1" command time -f %M -o peak.txt "$nuvhost" render large.ppm \
    memory.#.ppm --frames "1-$1" --depth 32 --amount 5 --threads 2 -q && cat peak.txt
}
bounded() { # 40 more frames of 4 megabytes each take at most the memory of 5
  local short long
  { short=$(peak 10) && long=$(peak 50) && rm memory.* && [ "$long" -lt $((short + 5 * 4000)) ]; } || {
    echo "     10 frames: $short kB, 50 frames: $long kB"
    false
  }
}
promise "a long sequence takes no more memory than a short one" bounded

# few_threads NUMBER: how many processes and threads the system allows. The search for leaks would start one.
few_threads() {
  # shellcheck disable=SC2016  # the inner shell knows $tool
  ASAN_OPTIONS="${ASAN_OPTIONS:-}:detect_leaks=0" bound bash -c "ulimit -u $1"' && exec "$tool" render in.#.ppm out.#.ppm --threads 4' >stdout.txt 2>stderr.txt
  { is "$? $(wc -l <stderr.txt)" "1 1" && grep -q "^nuvhost: .*Resource temporarily unavailable$" stderr.txt; } || {
    cat stderr.txt
    false
  }
}
promise "without leave to start a thread it ends with one line" few_threads 1
promise "also when there are some" few_threads 5

# ---- Failures -----------------------------------------------------------------------------------------------

spoiled() {
  head -c 30 in.0002.ppm >spoiled && cp spoiled in.0002.ppm && "$@"
  local code=$?
  ppm 2 >in.0002.ppm
  return $code
}
stops() {
  run --threads 1
  is "$?" 1 && is "$(wc -l <stderr.txt)" 1 && grep -q 'frame 2: in.0002.ppm' stderr.txt &&
    is "$(ls out.*)" out.0001.ppm && no_temporaries
}
promise "the first frame that fails ends the run and is named" spoiled stops
goes_on() {
  run --keep-going
  is "$?" 1 && is "$(count out.*)" 4 && [ ! -e out.0002.ppm ] && no_temporaries &&
    is "$(tail -n 1 stderr.txt)" "nuvhost: 1 of 5 frames failed: 2" && grep -q '^nuvhost: frame 2: in.0002.ppm' stderr.txt &&
    grep -q '^frame 2 failed: out.0002.ppm (' stdout.txt
}
promise "--keep-going renders the others and lists what failed" spoiled goes_on
json_failure() {
  run --progress json --keep-going
  is "$?" 1 && grep -q '"frame":2,"status":"failed".*"error":"in.0002.ppm' stdout.txt &&
    grep -q '"event":"end".*"failed":\[2\]' stdout.txt
}
promise "json names what failed" spoiled json_failure
full_disk() {
  (trap '' XFSZ && ulimit -f 1 && rm -f out.* && "$nuvhost" render big.ppm out.#.ppm --frames 1-3 >stdout.txt 2>stderr.txt)
  is "$?" 1 && is "$(wc -l <stderr.txt)" 1 && grep -q 'out.000[12].ppm: cannot be written' stderr.txt &&
    not grep -q '.nuvhost' stderr.txt && not ls out.* 2>/dev/null && no_temporaries
}
promise "a full disk is told of the file as it was named" full_disk

# ---- Signals ------------------------------------------------------------------------------------------------

ended() { # ended SIGNAL CODE: the run ends with this code, and no frame is left half written
  local pid code i
  mkdir -p "$1"
  # The shell lets background jobs ignore interrupts. perl undoes that.
  perl -e '$SIG{INT} = "DEFAULT"; exec @ARGV' "$nuvhost" render large.ppm "$1/out.#.png" --frames 1-500 >stdout.txt 2>stderr.txt &
  pid=$!
  for ((i = 0; i < 400; i++)); do
    [ -s "$1/out.0002.png" ] && break
    sleep 0.05
  done
  kill -"$1" "$pid"
  wait "$pid"
  code=$?
  is "$code" "$2" && silent stderr.txt && no_temporaries && not test -e "$1/out.0500.png" || return
  for i in "$1"/out.*; do tail -c 12 "$i" | grep -q IEND || {
    echo "     $i is not whole"
    return 1
  }; done
}
promise "an interrupt ends with 130 and leaves no temporary file" ended INT 130
promise "a request to end ends with 143 and leaves no temporary file" ended TERM 143
promise "a hang-up ends with 129 and leaves no temporary file" ended HUP 129
hung_up() { # as under nohup, which ignores the signal
  local pid i
  mkdir -p nohup
  (trap '' HUP && exec "$nuvhost" render large.ppm nohup/out.#.ppm --frames 1-40 >stdout.txt 2>stderr.txt) &
  pid=$!
  for ((i = 0; i < 400; i++)); do
    [ -s nohup/out.0002.ppm ] && break
    sleep 0.05
  done
  kill -HUP "$pid"
  wait "$pid" && silent stderr.txt && is "$(count nohup/*)" 40
}
promise "a hang-up that is ignored stops nothing" hung_up
killed() { # what a kill leaves is a temporary file, never half of a frame
  local pid i
  mkdir -p kill
  "$nuvhost" render large.ppm kill/out.#.png --frames 1-500 >stdout.txt 2>stderr.txt &
  pid=$!
  for ((i = 0; i < 400; i++)); do
    [ -s kill/out.0002.png ] && break
    sleep 0.05
  done
  kill -KILL "$pid"
  wait "$pid" 2>/dev/null
  for i in kill/out.*; do tail -c 12 "$i" | grep -q IEND || {
    echo "     $i is not whole"
    return 1
  }; done
}
promise "a kill leaves no half frame under a final name" killed
at_the_same_time() { # two runs write the same frames
  mkdir -p both
  "$nuvhost" render in.#.ppm both/out.#.ppm --amount 0 >/dev/null &
  "$nuvhost" render in.#.ppm both/out.#.ppm --amount 0 >/dev/null && wait %% && is "$(find both -mindepth 1 | wc -l)" 5 &&
    cmp in.0004.ppm both/out.0004.ppm
}
promise "two runs of the same frames do not harm each other" at_the_same_time

# Largest resident set of a render in bytes.
most_memory() { /usr/bin/time -f %M -o memory.txt "$nuvhost" render "$1" out.tif && echo $(($(tail -n 1 memory.txt) * 1024)); }
# In float the effect needs 32 bytes for each pixel, and one picture each way 32 more. A third picture would take 16.
frugal() {
  oiiotool --create 1x1 3 -d float -o tiny.tif && oiiotool --create 3000x3000 3 --compression none -d float -o large.tif &&
    local small large && small=$(most_memory tiny.tif) && large=$(most_memory large.tif) &&
    rm large.tif out.tif && is "$(((large - small) / 9000000 < 72))" 1
}
# The sanitizers keep freed memory for a while.
if ! grep -qE '__[at]san_init' "$nuvhost"; then
  promise "while the effect renders, memory holds no third picture" frugal
fi

summary
