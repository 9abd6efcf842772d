#!/usr/bin/env bash
# Replays the recorded conversations of tests/transcripts, all of them or those named, and shows what differs.
#   scripts/transcripts.sh [--record] [--program PATH] [NAME...]
# With --record the answers of now become the recording. Without a PATH the program is that of the build native or, if
# there is none, of i386. Ends with 1 when anything differs, unless it records.
# A recording holds prose (#), commands ($) and inputs (>); all other lines are answers. For a new one, write these
# three and record it.
set -euo pipefail

folder_of_this_script=$(cd "$(dirname "$0")" && pwd)
conversations=$folder_of_this_script/../tests/transcripts

fail() {
  printf 'transcripts: %s\n' "$1" >&2
  exit 2
}

record=false
program=
names=()
while [ $# -gt 0 ]; do
  case $1 in
    --record) record=true ;;
    --program)
      [ $# -gt 1 ] || fail '--program needs a path'
      program=$2
      shift
      ;;
    -*) fail "unknown option $1" ;;
    *) names+=("$1") ;;
  esac
  shift
done

if [ -z "$program" ]; then
  for preset in native i386; do
    program=$folder_of_this_script/../build/$preset/bin/zel3
    [ -x "$program" ] && break
  done
fi
[ -x "$program" ] || fail "there is no program $program"
program=$(realpath "$program")

if [ "${#names[@]}" = 0 ]; then
  for file in "$conversations"/*.transcript; do names+=("$(basename "$file" .transcript)"); done
fi

# The reader names the folder by its real path.
work=$(cd "$(mktemp -d)" && pwd -P)
trap 'rm -rf "$work"' EXIT
export TZ=UTC LC_ALL=C.UTF-8 HOME=$work/run TMPDIR=$work/run/tmp XDG_CONFIG_HOME=$work/run/settings
folder=$work/run/archives

# Runs the command of a step with the step's inputs, and prints the step: after the command and after each input the
# answers that come next, up to "idle".
play_step() {
  local words status=0 line
  if [[ $1 != '$ '* ]]; then
    printf '%s\n' "$@"
    return
  fi
  read -ra words <<<"${1#'$ '}"
  words=("${words[@]//FOLDER/"$folder"}")
  [ "${words[0]}" != zel3 ] || words[0]=$program
  printf '%s\n' "${@:2}" | sed -n 's/^> //p' >"$work/inputs"
  "${words[@]}" <"$work/inputs" >"$work/printed" 2>&1 || status=$?
  [ "$status" = 0 ] || echo "exit status $status" >>"$work/printed"
  while IFS= read -r line || [ -n "$line" ]; do
    printf '%s\n' "${line//"$folder"/FOLDER}"
  done <"$work/printed" >"$work/answers"
  printf '%s\n' "$@" | awk -v answers="$work/answers" '
    function answer(line) {
      while ((getline line < answers) > 0) {
        print line
        if (line == "{\"idle\":true}") return
      }
    }
    { print }
    /^[$>] / { answer() }
    END { while ((getline line < answers) > 0) print line }'
}

# Prints the conversation of a recording as it goes now: with its prose, commands and inputs, and new answers.
play() {
  local step=() line
  rm -rf "$work/run"
  mkdir -p "$TMPDIR" "$XDG_CONFIG_HOME"
  while IFS= read -r line; do
    if [[ $line == '$ '* && ${#step[@]} -gt 0 ]]; then
      play_step "${step[@]}"
      step=()
    fi
    step+=("$line")
  done < <(grep -E '^(#|[$>] |$)' "$1")
  [ "${#step[@]}" = 0 ] || play_step "${step[@]}"
}

differing=0
for name in "${names[@]}"; do
  recording=$conversations/$name.transcript
  [ -f "$recording" ] || fail "there is no conversation $name"
  play "$recording" >"$work/now"
  diff -u --label "$name, recorded" --label "$name, now" "$recording" "$work/now" && continue
  differing=$((differing + 1))
  ! "$record" || cp "$work/now" "$recording"
done

if "$record"; then
  echo "${#names[@]} conversations, $differing recorded anew"
  exit 0
fi
echo "${#names[@]} conversations, $differing differ"
[ "$differing" = 0 ]
