#!/usr/bin/env bash
# The command line of the validator.
source "$(dirname "$0")/tools.sh"
plugin=$(dirname "$nuvhost")/nuv_chromaber.so

# validates CODE TEXT ARGUMENTS…: the validator ends with the code, and prints the text on standard output.
validates() {
  local actual
  "$nuvhost" validate "${@:3}" >stdout.txt 2>stderr.txt
  actual=$?
  { is "$actual" "$1" && grep -qF -- "$2" stdout.txt; } || {
    cat stdout.txt stderr.txt
    false
  }
}

promise "--check takes one value and leaves PLUGIN alone" \
  validates 0 "1 passed" --check loading.loads "$plugin"
promise "--check may be repeated" \
  validates 0 "2 passed" --check loading.loads --check 'loading.expor?s' "$plugin"
promise "--check may stand behind PLUGIN" validates 0 "1 passed" "$plugin" --check loading.loads
promise "a pattern that matches no check is refused" \
  refuses 2 "loading.lods" validate --check loading.lods "$plugin"

promise "the seed of a run is named" validates 0 "; seed 7 repeats it" --seed 7 --check loading.loads "$plugin"
for seed in -1 1x "" 18446744073709551616; do
  promise "the seed '$seed' is refused" refuses 2 "\"$seed\"" validate --seed "$seed" "$plugin"
done
mkdir folder.so folder.json
promise "a folder as PLUGIN is called one" refuses 2 "folder.so: is a folder" validate folder.so
promise "a missing PLUGIN is called so" refuses 2 "nowhere.so: no such file" validate nowhere.so

# ---- Deviations ---------------------------------------------------------------------------------------------

echo '{"loading.loads": {"reason": "on purpose", "compositing": ["*"]}}' >holds.json
echo '{"loading.loads": {"reason": "on purpose"}}' >wrong.json
promise "a deviation that does not come is a failure" \
  validates 1 "DOES NOT DEVIATE  loading.loads (compositing): is listed as a deviation, but holds: on purpose" \
  --deviations holds.json --check loading.loads "$plugin"
promise "a wrong list of deviations is refused" \
  refuses 2 'wrong.json: "loading.loads": names no host' validate --deviations wrong.json "$plugin"
promise "a list of deviations that is not there is refused" \
  refuses 2 "nowhere.json" validate --deviations nowhere.json "$plugin"

# ---- Reports ------------------------------------------------------------------------------------------------

for option in --json --junit; do
  promise "$option into a folder that is not there is refused before the run" \
    refuses 1 "nowhere/out.json: cannot be written" validate $option nowhere/out.json "$plugin"
  promise "$option onto a folder is refused before the run" \
    refuses 2 "folder.json: is a folder" validate $option folder.json "$plugin"
done
words() {
  validates 1 "1 passed, 1 failed" --deviations holds.json --json out.json --check loading.loads \
    --check loading.exports "$plugin" &&
    is "$(grep -o '"status": .*' out.json | tr -d '\n')" '"status": "does-not-deviate","status": "passed",'
}
promise "a program reads a status as one word" words

# ---- Files that are no effects ------------------------------------------------------------------------------

echo "no library" >text.so
one_line() {
  validates 1 "FAILED            loading.loads" --json out.json --junit out.xml text.so &&
    is "$(grep -c '^not run ' stdout.txt)" 1 && is "$(grep -vc '^    ' stdout.txt)" 3 &&
    [ "$(grep -c '"status": "not-run"' out.json)" -gt 100 ] && [ "$(grep -c '<failure' out.xml)" -gt 100 ]
}
promise "what a failed gate leaves out is one line, and whole in the reports" one_line

printf '#include <stdlib.h>\n__attribute__((constructor)) static void end() { exit(3); }\n' |
  g++ -shared -fPIC -x c++ -o exits.so -
exits() { validates 1 "the process ended with exit code 3" --check loading.loads exits.so; }
promise "a plug-in that ends the process is told from one that hangs" exits
promise "--in-process names the check in which the process ended" \
  refuses 1 "the effect ended the process in loading.loads (compositing)" \
  validate --in-process --check loading.loads exits.so

summary
