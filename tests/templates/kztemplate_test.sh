#!/usr/bin/env bash
# kztemplate from outside: what it prints, how it ends, and that a refused input leaves the output as it was.
#   kztemplate_test.sh SCHEMAS VERSION KZTEMPLATE             as it runs here
#   kztemplate_test.sh SCHEMAS VERSION EMULATOR KZTEMPLATE    as it runs on another system, with the rules of that one
set -u
schemas=$1 version=$2 program=("${@:3}")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
faults=0 wrong=0

kztemplate() { "${program[@]}" "$@"; }
runs_here() { [ ${#program[@]} = 1 ]; }

fault() {
  echo "FAILED: $*" >&2
  faults=$((faults + 1))
}

# ends STATUS COMMAND...: runs it, keeping its output in "out" and its messages in "err".
ends() {
  local wanted=$1 status=0
  shift
  "$@" >out 2>err || status=$?
  [ "$status" = "$wanted" ] || fault "$* ended with $status, not $wanted: $(cat err)"
}

# says FILE TEXT: the file holds exactly this.
says() {
  [ "$(cat "$1")" = "$2" ] || fault "$1 is: $(cat "$1")"$'\n'"expected: $2"
}

# refuses JSON MESSAGE: the text is refused in one line, and the file that was there stays.
refuses() {
  refuses_unlike_the_schema "$@"
  cp in.json "wrong.$((++wrong)).json"
}

# The same for what the schema cannot say.
refuses_unlike_the_schema() {
  echo kept >target
  printf '%s' "$1" >in.json
  ends 1 kztemplate build in.json target
  says err "kztemplate: in.json: $2"
  says target kept
}

block() { printf '{"header": 1, "blocks": [%s]}' "$1"; }

example='{"header": 1, "blocks": [
  {"name": "DOOR", "flag": 1, "attributes": [
    {"name": "NOTE", "flag": 0},
    {"name": "TAG", "flag": 1}]},
  {"name": "WIN", "flag": 0, "attributes": []}]}'
hex=010000000200ffff01000e004345617474426c6f636b496e666f
hex+=fffeff0444004f004f0052000100000002000000fffeff044e004f005400450000000000
hex+=fffeff03540041004700010000000180fffeff03570049004e000000000000000000

# The example, both ways, through files and through pipes.
echo "$example" >example.json
ends 0 kztemplate build example.json example.tpl
says <(od -An -v -tx1 example.tpl | tr -d ' \n') "$hex"
ends 0 kztemplate dump example.tpl
says out "$example"
ends 0 kztemplate names example.tpl
says out $'Blocks (1):\nDOOR\nAttributes (1):\nTAG'
ends 0 kztemplate names --json example.tpl
says out $'{"blocks": [\n  "DOOR"],\n "attributes": [\n  "TAG"]}'
mv out example.names.json
kztemplate dump - <example.tpl | kztemplate build - - | cmp - example.tpl || fault "pipes change the template"

# An unreadable template: nothing on standard output, one line that says what and where.
head -c 95 example.tpl >cut.tpl
for command in dump names; do
  ends 1 kztemplate $command cut.tpl
  says out ""
  says err "kztemplate: cut.tpl: entry 2, at byte 92: the file ends inside this field"
  ends 1 kztemplate $command missing.tpl
  says err "kztemplate: missing.tpl: No such file or directory"
  ends 1 kztemplate $command .
  says err "kztemplate: .: not a regular file"
done

# Names of any kind come through; half of a pair is replaced and told.
printf '%s' "$(block '{"name": "Tür \ud83d\udeaa\n\u0000\u0085", "flag": -2147483648, "attributes": []}')" >odd.json
ends 0 kztemplate build odd.json odd.tpl
ends 0 kztemplate dump odd.tpl
grep -qF '{"name": "Tür 🚪\n\u0000'$'\xc2\x85''", "flag": -2147483648' out || fault "dump gives: $(cat out)"
ends 0 kztemplate names odd.tpl
says out $'Blocks (1):\nTür 🚪\\u000A\\u0000\\u0085\nAttributes (0):'
printf '\1\0\0\0\1\0\377\377\1\0\16\0CEattBlockInfo\377\376\377\3A\0\0\330B\0\0\0\0\0\0\0\0\0' >half.tpl
ends 0 kztemplate dump half.tpl
grep -qF '"A'$'\xef\xbf\xbd''B"' out || fault "half a pair gives: $(cat out)"
says err "kztemplate: note: 1 unpaired surrogates are shown as U+FFFD"

# What is refused, and where.
number="must be an integer from -2147483648 to 2147483647"
refuses '[]' '$: must be an object'
refuses '{"header": 1}' '$.blocks: missing key'
refuses '{"header": 1, "blocks": [], "title": ""}' '$.title: unknown key'
refuses '{"header": 1, "blocks": {}}' '$.blocks: must be an array'
refuses_unlike_the_schema '{"header": 1, "header": 1, "blocks": []}' '$.header: duplicate key'
for bad in 2147483648 -2147483649 99999999999999999999 -99999999999999999999 1.5 true '"1"' null; do
  refuses "{\"header\": $bad, \"blocks\": []}" "\$.header: $number"
done
refuses_unlike_the_schema '{"header": 1.0, "blocks": []}' "\$.header: $number"
good='{"name": "A", "flag": 1, "attributes": []}'
refuses "$(block "$good, {\"name\": 5, \"flag\": 1, \"attributes\": []}")" '$.blocks[1].name: must be a string'
attribute='{"name": "x", "flag": 1}'
in_block() { block "{\"name\": \"A\", \"flag\": 1, \"attributes\": [$attribute, $1]}"; }
refuses_unlike_the_schema "$(in_block "$attribute")" '$.blocks[0].attributes[1].name: duplicate attribute name in the block'
refuses "$(in_block '{"name": "y", "flag": 1, "a b": 1}')" '$.blocks[0].attributes[1]["a b"]: unknown key'
refuses_unlike_the_schema "$(in_block '{"name": "y", "flag": 1, "flag": 1}')" '$.blocks[0].attributes[1].flag: duplicate key'
refuses "$(in_block '[{"p": {}}]')" '$.blocks[0].attributes[1]: must be an object'
printf '{"header": 1, "blocks": ["\xff"]}' >in.json
ends 1 kztemplate build in.json target
grep -qF 'in.json: $.blocks[0]: parse error at line 1' err || fault "wrong text gives: $(cat err)"
# However deep or long the text is, it is read once, and a message is a line.
printf '%0300000d' 0 | tr 0 '[' >deep.json
ends 1 kztemplate build deep.json target
says err 'kztemplate: deep.json: $: must be an object'
{ printf '{"header": 1, "blocks": [{"name": ' && cat deep.json; } >deeper.json
ends 1 kztemplate build deeper.json target
says err 'kztemplate: deeper.json: $.blocks[0].name: must be a string'
printf '{"%0300000d": 1}' 0 >long.json
ends 1 kztemplate build long.json target
[ "$(wc -c <err)" -lt 500 ] && grep -q 'unknown key' err || fault "a long key gives: $(head -c 500 err)"

# The schemas take what is printed and refuse what build refuses.
python3 - "$schemas" <<'END' || fault "the schemas and kztemplate differ"
import glob, json, pathlib, sys
from jsonschema import Draft202012Validator

def takes(schema, file):
    return Draft202012Validator(json.loads(pathlib.Path(sys.argv[1], schema).read_text())).is_valid(
        json.loads(pathlib.Path(file).read_text()))

taken = [file for file in glob.glob("wrong.*.json") if takes("template.schema.json", file)]
refused = [file for file in ("example.json", "odd.json") if not takes("template.schema.json", file)]
refused += [] if takes("names.schema.json", "example.names.json") else ["example.names.json"]
if taken or refused:
    sys.exit(f"taken: {taken}, refused: {refused}")
END

# The output is whole or untouched, nothing is left beside it, and links stay. Names need not be Latin, nor short.
made=門窗 name=$(printf '%0200d' 0)
long=$made/$name/$name
mkdir -p "$long"
for _ in new old; do ends 0 kztemplate build example.json "$long/x"; done
ends 0 kztemplate dump "$long/x"
says out "$example"
says <(ls "$long") x
rm -r "$made/$name"
echo kept >$made/real.tpl
chmod 640 $made/real.tpl
ln -s real.tpl $made/link.tpl
ends 0 kztemplate build example.json $made/link.tpl
cmp -s $made/real.tpl example.tpl || fault "the link's file was not written"
ends 0 kztemplate build example.json $made/new.tpl
ends 1 kztemplate build example.json $made
says err "kztemplate: $made: not a regular file"
ends 1 kztemplate build example.json none/new.tpl
says <(ls $made) $'link.tpl\nnew.tpl\nreal.tpl'

# What this system asks of the file: permissions, room on the disk.
files_follow_the_system() {
  says <(stat -c %a $made/real.tpl) 640
  umask 027
  rm $made/new.tpl
  ends 0 kztemplate build example.json $made/new.tpl
  says <(stat -c %a $made/new.tpl) 640
  (ulimit -f 0 && trap '' XFSZ && ! kztemplate build example.json $made/real.tpl 2>/dev/null) || fault "a full disk went unseen"
  cmp -s $made/real.tpl example.tpl || fault "a failed write harmed the file"
  says <(ls $made) $'link.tpl\nnew.tpl\nreal.tpl'
  # Written where a link leads to, though nothing is there yet; names as long as they get; a folder that is none.
  local longest=$made/$(printf '%0255d' 0)
  ln -s later.tpl $made/dangling.tpl
  for output in $made/dangling.tpl "$longest"; do ends 0 kztemplate build example.json "$output"; done
  cmp -s $made/later.tpl example.tpl && [ -L $made/dangling.tpl ] || fault "a dangling link was not followed"
  ln -s ring.tpl $made/ring.tpl
  ends 1 kztemplate build example.json $made/ring.tpl
  ends 1 kztemplate build example.json $made/none.tpl/
  says err "kztemplate: $made/none.tpl/: Not a directory"
  rm $made/{dangling,later,ring}.tpl "$longest"
  # What may not be written stays, and whatever stops the program leaves nothing beside the file.
  cp "${program[0]}" program
  chmod a-w $made/real.tpl
  local user=()
  [ "$(id -u)" -ne 0 ] || { chmod -R a+rX . && chmod a+w $made && user=(setpriv --reuid 65534 --clear-groups); }
  echo "$(block '')" >empty.json
  ends 1 "${user[@]}" ./program build empty.json $made/real.tpl
  says err "kztemplate: $made/real.tpl: Permission denied"
  cmp -s $made/real.tpl example.tpl || fault "a write-protected file was replaced"
  awk 'BEGIN { printf "{\"header\": 1, \"blocks\": ["
               for (i = 0; i < 100000; ++i) printf "%s{\"name\": \"%d\", \"flag\": 1, \"attributes\": []}", i ? "," : "", i
               print "]}" }' >many.json
  for delay in 0.0{1..9} 0.1{0..9}; do timeout --signal INT $delay ./program build many.json $made/new.tpl; done
  says <(ls -A $made) $'link.tpl\nnew.tpl\nreal.tpl'
  [ -w /dev/full ] || return 0
  for words in "dump example.tpl" "names example.tpl" "build example.json -"; do
    kztemplate $words >/dev/full 2>err && fault "$words: what was not written went unseen"
    says err "kztemplate: standard output: cannot be written"
  done
}

# Attributes are written in the order of the user's locale, not in that of the code points.
names_follow_the_locale() {
  mkdir locales
  localedef --no-archive -i de_DE -f UTF-8 locales/de_DE.UTF-8
  printf '%s' "$(block '{"name": "A", "flag": 1, "attributes": [
    {"name": "zug", "flag": 1}, {"name": "Äpfel", "flag": 1}, {"name": "B", "flag": 1}, {"name": "a", "flag": 1}]}')" >order.json
  ends 0 env LOCPATH="$PWD/locales" LC_ALL=de_DE.UTF-8 "${program[@]}" build order.json order.tpl
  ends 0 kztemplate names order.tpl
  says out $'Blocks (1):\nA\nAttributes (4):\na\nÄpfel\nB\nzug'
}

if runs_here; then
  files_follow_the_system
  names_follow_the_locale
fi

# Usage.
for words in "" "dump" "build example.json" "frob x" "dump a b" "names --what x"; do
  ends 2 kztemplate $words
  says out ""
done
ends 0 kztemplate --version
says out "kztemplate $version"
for command in "" dump build names; do
  ends 0 kztemplate $command --help
  grep -q '^Example: kztemplate' out || fault "no example in the help of '$command'"
done

[ "$faults" = 0 ] && echo "kztemplate behaves"
