#!/bin/bash
# The main job on real files: writes a day of sample archives, opens the folder, asks for times, reads bytes, and
# compares the answers with what was written. Fails when anything differs.
set -euo pipefail
cd "$(dirname "$0")/.."

heading() { printf '\n== %s\n\n' "$1"; }

fail() {
  printf 'demo: %s\n' "$1" >&2
  exit 1
}

# Shows a command of the program and runs it.
show() {
  printf '$ zel3 %s\n' "$*"
  "$program" "$@"
}

# The same for a command that shows progress. Without a terminal, the command gets a pseudo-terminal, and four steps of
# its progress bar are shown.
show_progress() {
  if [ -t 2 ]; then
    show "$@"
    return
  fi
  printf '$ zel3 %s\n' "$*"
  local command
  printf -v command '%q ' "$program" "$@"
  script -qec "$command" /dev/null </dev/null | tr -d '\033' | tr '\r' '\n' | sed 's/^\[K//' |
    grep -E '^[^[]+$| (1|25|50|75)%$'
}

# expect_seek TIME ANSWER: fails unless the JSON answer of a seek is ANSWER.
expect_seek() {
  local answer
  answer=$("$program" seek "$archives" "$1" --format json)
  [ "$answer" = "$2" ] || fail "a seek to $1 gives $answer instead of $2"
}

# The position of the index entry of a time in its file, according to the ground truth.
position_of() {
  local position
  position=$(sed -nE "s/.*\"indexTime\": ?$(date -u -d "$1" +%s), ?\"position\": ?([0-9]+).*/\1/p" "$truth")
  [ -n "$position" ] || fail "the ground truth has no entry at $1"
  echo "$position"
}

heading 'Setting up the machine'
scripts/setup.sh

preset=i386
if [ ! -e /usr/lib/i386-linux-gnu/libQt5Core.so.5 ]; then
  preset=native
  printf '\n*** The 32-bit packages are not available on this machine; continuing in 64 bits. ***\n'
fi

heading "Building ($preset)"
cmake --preset "$preset"
cmake --build --preset "$preset" --target zel3 zel3reader zel3parser
program=$PWD/build/$preset/bin/zel3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
archives=$work/archives
truth=$work/truth.json
export XDG_CONFIG_HOME=$work XDG_CACHE_HOME=$work/cache

heading 'Writing a day of archives, and a list of what they hold at which time'
show make "$archives" --truth "$truth"

heading 'What the reader finds in the folder, from the first and last index records'
show info "$archives"

heading 'Asking for a time: the file that holds it is indexed'
show_progress seek "$archives" 2024-05-01T06:00:00Z
expect_seek 2024-05-01T06:00:00Z '{"file":"cam01_2024-05-01_05-30-00.zel3","fileNumber":2,"entryNumber":180,"time":1714543200000}'

heading 'Asking for a time at which nothing was recorded: the next entry answers'
show_progress seek "$archives" 2024-05-01T08:30:00Z
expect_seek 2024-05-01T08:30:00Z '{"file":"cam01_2024-05-01_08-45-00.zel3","fileNumber":3,"entryNumber":0,"time":1714553100000}'

heading 'Indexing the other files'
show_progress index "$archives"

heading 'A second start: every index comes from its cache'
show index "$archives"
cached=$("$program" index "$archives" --format json | grep -o '"state":"cached"' | wc -l)
files=("$archives"/*.zel3)
[ "$cached" -eq "${#files[@]}" ] || fail "$cached of ${#files[@]} files are cached"
request='{"cmd":"CRq3","time":1714543200000,"type":1}'
printf '$ echo '\''%s'\'' | zel3 console %s\n' "$request" "$archives"
answer=$(echo "$request" | "$program" console "$archives")
printf '%s\n' "$answer"
case $answer in
  *W008* | *Cewg*) fail 'the second start runs an indexing run' ;;
  *'"indexId":8589934772,'*) ;;
  *) fail 'the second start does not find the entry' ;;
esac

heading 'Reading ten minutes across two files'
show read "$archives" 2024-05-01T02:40:00Z 2024-05-01T02:50:00Z -o "$work/range"
first=${files[0]}
second=${files[1]}
{
  # The stream header, which comes before the first entry, and the entries.
  head -c "$(position_of 2024-05-01T00:00:00Z)" "$first"
  tail -c "+$(($(position_of 2024-05-01T02:40:00Z) + 1))" "$first"
  head -c "$(position_of 2024-05-01T02:50:00Z)" "$second"
} >"$work/range.expected"
cmp "$work/range" "$work/range.expected"
echo 'The bytes are those that were written.'

heading 'Reading the whole day'
show read "$archives" 2024-05-01 2024-05-02 -o "$work/day"
cat "${files[@]}" >"$work/day.expected"
cmp "$work/day" "$work/day.expected"
echo 'The bytes are those that were written.'

heading 'What happened between five and seven'
show events "$archives" 2024-05-01T05:00:00Z 2024-05-01T07:00:00Z
"$program" events "$archives" --format jsonl | sed -E 's/"type":"[^"]*",//' >"$work/events"
sed -nE 's/.*\{"indexTime":([0-9]+),"type":[0-9]+,("text":.*\}),?$/{"time":\1000,\2/p' "$truth" >"$work/events.expected"
cmp "$work/events" "$work/events.expected"
echo "All $(wc -l <"$work/events") events of the day are those that were written."

heading 'How active the gate was: quiet nights, and two gaps'
show activity "$archives" --stream 1 --bins 96 2024-05-01 2024-05-02

heading 'Done: all that was read is what was written'
