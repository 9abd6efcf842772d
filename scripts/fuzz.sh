#!/usr/bin/env bash
# Runs the fuzzers, all of them or those named, each for N executions or until it finds a fault. Prints how many
# executions took how long, how many edges of the program are reached, and by how many inputs.
#   scripts/fuzz.sh [--runs N] [--keep] [--plain] [NAME...]
# New inputs are kept in build/fuzz/found; --keep adds those that reach new code to fuzz/corpus, and removes those that
# reach nothing of their own, unless they have names. An input that shows a fault is saved as crash-... in build/fuzz;
# replay it with build/native/bin/NAME_fuzzer FILE. --plain builds without sanitizers, in build/fuzz-plain: the programs
# run several times as fast, and such inputs are saved there.
set -euo pipefail
cd "$(dirname "$0")/.."

runs=2000000
keep=false
build=build/fuzz
names=()
while [ $# -gt 0 ]; do
  case $1 in
    --runs) runs=$2; shift ;;
    --keep) keep=true ;;
    --plain) build=build/fuzz-plain ;;
    *) names+=("$1") ;;
  esac
  shift
done
if [ "${#names[@]}" = 0 ]; then
  for folder in fuzz/corpus/*/; do names+=("$(basename "$folder")"); done
fi

sanitize=()
[ "$build" = build/fuzz ] || sanitize=(-DZEL3_SANITIZE=)
cmake --preset fuzz -B "$build" "${sanitize[@]}" >/dev/null
cmake --build "$build" --target "${names[@]/%/_fuzzer}" zel3parser >/dev/null

# Plug-ins that a host unloads are not leaks; the targets count blocks themselves. Recording long stacks of allocations
# and keeping a large quarantine would halve the speed.
ASAN_OPTIONS=detect_leaks=0:malloc_context_size=1:quarantine_size_mb=16:max_malloc_fill_size=0
# When the positions in a cache are false, an answer may be as large as 2 GiB; such allocations must fail, not abort.
ASAN_OPTIONS+=:max_allocation_size_mb=64:allocator_may_return_null=1
export ASAN_OPTIONS

# The corpus is replayed with every change, so it stays small.
keep_what_is_new() {
  local name=$1 corpus=fuzz/corpus/$1 fresh=build/fuzz/fresh/$1
  rm -rf "$fresh"
  mkdir -p "$fresh"
  find "$corpus" -type f -regextype egrep -not -regex '.*/[0-9a-f]{40}' -exec cp -t "$fresh" {} +
  # By what they reach, not by how often; and what is long enough is cut.
  "$build/bin/${name}_fuzzer" -merge=1 -set_cover_merge=1 -use_counters=0 -max_len=8192 "$fresh" "$corpus" \
    "build/fuzz/found/$name" >>"$build/$name.log" 2>&1
  local count bytes
  count=$(find "$fresh" -type f | wc -l)
  bytes=$(find "$fresh" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum + 0 }')
  if [ "$count" -gt 300 ] || [ "$bytes" -gt 1000000 ]; then
    echo "$name: $count inputs of $bytes bytes are too many to keep; they are in $fresh" >&2
    return 1
  fi
  rm -rf "$corpus"
  cp -r "$fresh" "$corpus"
  echo "$name: $count inputs of $bytes bytes kept"
}

for name in "${names[@]}"; do
  found=build/fuzz/found/$name
  mkdir -p "$found"
  longest=1024
  dictionary=fuzz/dictionary/$name.dict
  # These take an archive.
  case $name in
    cut | doctor | dump | events | mend | parser)
      longest=65536
      dictionary=fuzz/dictionary/archive.dict ;;
  esac
  log=$build/$name.log
  "$build/bin/${name}_fuzzer" -runs="$runs" -timeout=10 -rss_limit_mb=4096 -max_len="$longest" -entropic=0 \
    -dict="$dictionary" -print_final_stats=1 -artifact_prefix="$build/" "$found" "fuzz/corpus/$name" >"$log" 2>&1 ||
    { echo "$name:"; tail -40 "$log"; exit 1; }
  # Done 20000 runs in 12 second(s), and #20000 DONE cov: 345 ft: 678 corp: 90/12Kb ...
  awk -v name="$name" '
    /^Done/ { runs = $2; seconds = $5 }
    / cov: / { for (i = 1; i < NF; ++i) { if ($i == "cov:") edges = $(i + 1); if ($i == "corp:") corpus = $(i + 1) } }
    END {
      split(corpus, of, "/")
      printf "%s: %s executions in %s s, %s edges, %s inputs of %s\n", name, runs, seconds, edges, of[1], of[2]
    }' "$log"
  if $keep; then keep_what_is_new "$name"; fi
done
