#!/usr/bin/env bash
# Plays what strangers, other processes and bad disks do to archives and their caches, and checks that no byte of
# theirs changes and that every archive is answered correctly afterwards.
#   play.sh PROGRAM TROUBLE_LIBRARY SCENE...
# Scenes: links, temporary_folder, two_processes, killed_second, many_programs, bad_sector, program. Ends with 1 at the first difference.
set -euo pipefail

zel3=$(realpath "$1")
trouble=$(realpath "$2")
shift 2

work=$(cd "$(mktemp -d)" && pwd -P)
trap 'rm -rf "$work"' EXIT
export TZ=UTC LC_ALL=C.UTF-8 HOME=$work/home TMPDIR=$work/tmp
export XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache
# The trouble library must come before that of the sanitizer.
export ASAN_OPTIONS=verify_asan_link_order=0${ASAN_OPTIONS:+:$ASAN_OPTIONS}
shared='Vorn auxillary files'

archives=$work/archives
archive=$archives/cam.zel3
start=1714521600000

fail() {
  printf 'strangers: %s: %s\n' "$scene" "$1" >&2
  exit 1
}

# A fresh place with a single archive of two hours in it.
set_up() {
  rm -rf "${work:?}"/*
  mkdir -p "$HOME" "$TMPDIR" "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$work/foreign"
  "$zel3" make "$archives" --start $start --length 20m --files 1 --interval 2s --payload 600 --events 60 >"$work/made"
  mv "$archives"/*.zel3 "$archive"
  ask >"$work/right"
  grep -q '"RDat"' "$work/right" || fail "the undisturbed reader gives no bytes"
  clear_caches
  foreign "$archive"
}

# From now on these files belong to somebody else: none of their bytes may change.
foreign() {
  sha256sum "$@" >>"$work/foreign.sums"
}
expect_foreign_untouched() {
  sha256sum --quiet --check "$work/foreign.sums" >&2 || fail "$1: a foreign file has changed"
}

clear_caches() {
  find "$archives" -mindepth 1 ! -name '*.zel3' -delete
  rm -rf "${TMPDIR:?}"/* "${XDG_CACHE_HOME:?}"
}

# What the plug-in says about the archive, except progress: its events, and entries with their
# bytes.
ask() {
  local number
  {
    echo '{"cmd":"Pla3","forward":1}'
    echo "{\"cmd\":\"CRq3\",\"time\":$((start + 600000)),\"type\":1}"
    for number in 0 1 150 300 598; do
      echo "{\"cmd\":\"PCR3\",\"indexId\":$number,\"time\":$((start + number * 2000))}"
    done
  } | "$zel3" console "${1:-$archive}" | { grep -vE '"(NMsg|idle)"|"idle"' || true; }
}
expect_right_answers() {
  ask >"$work/now"
  cmp -s "$work/right" "$work/now" || {
    diff "$work/right" "$work/now" | cut -c1-200 >&2
    fail "$1: another answer"
  }
}

# Links with the names of cache files lead to other people's files.
play_links() {
  local kind how
  set_up
  for how in symbolic hard; do
    for kind in hdr id3 evt; do
      clear_caches
      echo "the $how letter of somebody else, $kind" >"$work/foreign/$how.$kind"
      foreign "$work/foreign/$how.$kind"
      if [ $how = symbolic ]; then
        ln -s "$work/foreign/$how.$kind" "$archives/cam.$kind"
      else
        ln "$work/foreign/$how.$kind" "$archives/cam.$kind"
      fi
      expect_right_answers "a $how link as $kind"
      [ -f "$archives/cam.$kind" ] && [ ! -L "$archives/cam.$kind" ] || fail "the link $kind has not been replaced"
      expect_right_answers "after a $how link as $kind"
      expect_foreign_untouched "a $how link as $kind"
    done
  done
}

# Somebody else has been in the temporary folder before, and left an index with other events.
play_temporary_folder() {
  local trap forged
  for trap in link world_writable stranger; do
    if [ $trap = stranger ] && [ "$(id -u)" != 0 ]; then continue; fi
    set_up
    # The index cannot be beside the archive.
    mkdir "$archives/cam.evt"
    forged=$work/foreign/forged
    mkdir "$forged"
    cp "$archive" "$forged/cam.zel3"
    ask "$forged/cam.zel3" >"$work/now"
    sed -i 's/Motion/Forged/' "$forged/cam.evt"
    grep -q Forged "$forged/cam.evt" || fail "there is nothing to forge"
    local stamp
    stamp=$(date -r "$archive" '+%y.%m.%d %H-%M-%S')
    for kind in hdr id3 evt; do mv "$forged/cam.$kind" "$forged/$stamp cam.$kind"; done
    rm "$forged/cam.zel3"
    foreign "$forged"/*
    case $trap in
      link) ln -s "$forged" "$TMPDIR/$shared" ;;
      world_writable) cp -a "$forged" "$TMPDIR/$shared" && chmod 0777 "$TMPDIR/$shared" && foreign "$TMPDIR/$shared"/* ;;
      stranger) cp -a "$forged" "$TMPDIR/$shared" && chown -R 12345 "$TMPDIR/$shared" && foreign "$TMPDIR/$shared"/* ;;
    esac
    expect_right_answers "$trap"
    expect_right_answers "$trap, again"
    [ "$(find "$TMPDIR/$shared $(id -u)" -type f | wc -l)" = 3 ] || fail "$trap: the index is not in a folder of ours"
    expect_foreign_untouched "$trap"
  done
}

# Becomes a process that runs the verb on the archive, with the trouble that the other arguments
# name.
in_trouble() {
  local verb=$1
  shift
  exec env LD_PRELOAD="$trouble" "$@" "$zel3" "$verb" "$archive" </dev/null >/dev/null 2>&1
}

# Starts a run that stops before its change number $2, in the background; $stopped says whether it got that far.
start_and_stop() {
  in_trouble "$1" TROUBLE_STOP_BEFORE="$2" &
  other=$!
  stopped=maybe
  local state
  while [ $stopped = maybe ]; do
    state=$(sed 's/.*) //; s/ .*//' "/proc/$other/stat" 2>/dev/null || echo gone)
    case $state in
      T) stopped=yes ;;
      Z | X | gone) stopped=no ;;
    esac
  done
}

# A second process indexes the archive while the first is stopped before each of its changes to the
# disk; then the first goes on, or is killed.
play_two_processes() {
  local end step
  set_up
  for end in CONT KILL; do
    step=0
    while :; do
      step=$((step + 1))
      clear_caches
      start_and_stop console $step
      if [ $stopped = no ]; then break; fi
      expect_right_answers "while the other stands before step $step"
      kill -$end $other
      wait $other 2>/dev/null || true
      expect_right_after "the other had stood before step $step and got $end"
    done
    wait $other || true
    [ $step -gt 15 ] || fail "only $step steps"
    echo "$scene: $((step - 1)) steps, then $end"
  done
}

# The second process is killed in the middle of its work, and the first goes on.
play_killed_second() {
  local step killed
  set_up
  for killed in 5 10 15; do
    step=0
    while :; do
      step=$((step + 1))
      clear_caches
      start_and_stop console $step
      if [ $stopped = no ]; then break; fi
      in_trouble console TROUBLE_KILL_BEFORE=$killed &
      wait $! 2>/dev/null || true
      kill -CONT $other
      wait $other 2>/dev/null || true
      expect_right_after "the first had stood before step $step and the second was killed before step $killed"
    done
    wait $other || true
  done
}

# Many programs index the archive at once; half of them are killed.
play_many_programs() {
  local round program programs
  set_up
  for round in 1 2 3 4; do
    clear_caches
    programs=()
    for program in 1 2 3 4 5 6 7 8; do
      "$zel3" index "$archive" >"$work/said.$program" 2>&1 &
      programs+=($!)
    done
    if [ $round -gt 2 ]; then
      kill -KILL "${programs[@]:0:4}" 2>/dev/null || true
      wait "${programs[@]:0:4}" 2>/dev/null || true
      programs=("${programs[@]:4}")
    fi
    for program in "${programs[@]}"; do
      wait "$program" || fail "one of many ends with $?: $(cat "$work"/said.*)"
    done
    "$zel3" doctor "$archive" >"$work/said" || fail "round $round: $(cat "$work/said")"
    expect_right_after "round $round"
  done
}

expect_right_after() {
  expect_right_answers "after $1"
  expect_right_answers "once more after $1"
  expect_foreign_untouched "$1"
  if compgen -G "$archives/*unfinished*" >/dev/null; then fail "something is left over after $1"; fi
}

# Bytes of the archive cannot be read.
play_bad_sector() {
  local status=0
  set_up
  # The program shows what is before and after the bad bytes, and says how many there are.
  LD_PRELOAD=$trouble TROUBLE_BAD_FILE=$archive TROUBLE_BAD_FROM=204800 TROUBLE_BAD_TO=208896 \
    "$zel3" dump "$archives" >"$work/dumped" 2>"$work/said" || status=$?
  [ $status = 3 ] || fail "dump ends with $status"
  grep -q '4096 bytes of cam.zel3 cannot be read' "$work/said" || fail "dump says: $(cat "$work/said")"
  [ "$(grep -c ' index ' "$work/dumped")" -ge 590 ] || fail "dump stops at a bad sector"
  # For good: all entries but those of the sector are answered.
  (in_trouble console TROUBLE_BAD_FILE="$archive" TROUBLE_BAD_FROM=204800 TROUBLE_BAD_TO=208896)
  local id3
  id3=$(stat -c %s "$archives/cam.id3")
  [ "$((id3 / 24))" -ge 590 ] && [ "$((id3 / 24))" -lt 600 ] || fail "$((id3 / 24)) entries of 600 beside a bad sector"
  expect_foreign_untouched "a bad sector"
  # For a moment: the index is whole.
  clear_caches
  (in_trouble console TROUBLE_BAD_FILE="$archive" TROUBLE_BAD_FROM=204800 TROUBLE_BAD_TO=208896 TROUBLE_BAD_TIMES=1)
  [ "$(stat -c %s "$archives/cam.id3")" = $((600 * 24)) ] || fail "entries are missing after a moment of trouble"
  expect_right_answers "after a moment of trouble"
}

# What the program says about the archive: its events and the bytes of some of its entries.
ask_program() {
  "$zel3" events "$archive" --format jsonl
  "$zel3" read "$archive" $((start + 300000)) $((start + 900000)) -o - | sha256sum
}
expect_right_program() {
  ask_program >"$work/now" 2>"$work/said" || fail "$1: the program has failed: $(cat "$work/said")"
  cmp -s "$work/right" "$work/now" || fail "$1: another answer of the program"
  expect_foreign_untouched "$1"
  [ ! -e "$TMPDIR/$shared" ] || fail "$1: the program has used the folder that all users share"
}

# Every verb that reads a source, with what it needs.
verbs=(info index events 'seek * 2024-05-01T00:10:00Z' 'activity * --stream 1' 'read * 0 1 -o /dev/null'
  'preview * 0 1' "report * -o $work/page.html")

# The program checks first, and touches nothing that is not its own.
play_program() {
  local verb how kind words status before photos=$work/foreign/photos
  set_up
  ask_program >"$work/right" 2>/dev/null

  # Pictures, beside them files with the names of an index, and a file without a suffix.
  mkdir "$photos"
  seq 1 20000 | tee "$photos/photo.jpg" >"$photos/notes"
  for kind in photo.hdr photo.id3 photo.evt hdr id3 evt; do echo "a letter, $kind" >"$photos/$kind"; done
  foreign "$photos"/*
  before=$(ls -A "$photos")
  for verb in "${verbs[@]}"; do
    [[ $verb = *'*'* ]] || verb="$verb *"
    for file in photo.jpg notes; do
      status=0
      read -ra words <<<"${verb/\*/$file}"
      (cd "$photos" && "$zel3" "${words[@]}" >/dev/null 2>"$work/said") || status=$?
      [ $status = 1 ] || fail "$verb of $file ends with $status"
      grep -q 'is not an archive' "$work/said" || fail "$verb of $file says: $(cat "$work/said")"
    done
  done
  [ "$(ls -A "$photos")" = "$before" ] || fail "files have been made among the pictures"

  # A folder of pictures is not a folder for indexes.
  status=0
  "$zel3" events --cache-folder "$photos" "$archive" >/dev/null 2>&1 || status=$?
  [ $status = 2 ] || fail "pictures as a cache folder end with $status"
  expect_foreign_untouched "pictures"

  # Letters with the names of a sound archive's index, and links that lead to letters.
  for how in plain symbolic hard; do
    for kind in hdr id3 evt; do
      clear_caches
      echo "a letter, $kind" >"$work/foreign/letter.$kind"
      case $how in
        plain) cp "$work/foreign/letter.$kind" "$archives/cam.$kind" ;;
        symbolic) ln -s "$work/foreign/letter.$kind" "$archives/cam.$kind" ;;
        hard) ln "$work/foreign/letter.$kind" "$archives/cam.$kind" ;;
      esac
      before=$(cat "$archives/cam.$kind")
      expect_right_program "a $how letter as $kind"
      [ "$(cat "$archives/cam.$kind")" = "$before" ] || fail "a $how letter as $kind has changed"
      [ "$(ls -A "$archives" | wc -l)" = 2 ] || fail "a $how letter as $kind: something has been made beside it"
    done
  done

  # Nothing is created where nothing may be created.
  clear_caches
  "$zel3" events --no-index "$archive" >/dev/null 2>&1 || true
  [ "$(ls -A "$archives")" = cam.zel3 ] || fail "--no-index has made files"

  # Links to the archive as outputs.
  ln -s "$archive" "$work/symbolic.bin"
  ln "$archive" "$work/hard.bin"
  for how in symbolic hard; do
    status=0
    "$zel3" read "$archive" $start $((start + 60000)) -o "$work/$how.bin" >/dev/null 2>&1 || status=$?
    [ $status = 2 ] || fail "the archive as output through a $how link ends with $status"
    expect_foreign_untouched "a $how link as output"
  done

  # The program waits for another process that is working on the index.
  clear_caches
  start_and_stop index 10
  [ $stopped = yes ] || fail "the first does not come to step 10"
  ask_program >"$work/now" 2>"$work/said" &
  local second=$!
  until grep -q 'waiting for another process' "$work/said"; do kill -0 $second || fail "nobody waits"; done
  kill -CONT $other
  wait $second || fail "waiting has failed: $(cat "$work/said")"
  wait $other || true
  cmp -s "$work/right" "$work/now" || fail "another answer after waiting"
  expect_right_program "after waiting"
}

for scene in "$@"; do "play_$scene"; done
