#!/usr/bin/env bash
# Runs the fuzzers, all of them or those named, each for N executions or until it finds a fault.
#   scripts/fuzz.sh [--runs N] [--keep] [--plain] [NAME...]
# New inputs are kept in build/fuzz/found; --keep adds those that reach new code to fuzz/corpus. An input that shows a
# fault is saved as crash-... in build/fuzz; replay it with build/native/bin/NAME_fuzzer FILE. --plain builds without
# sanitizers, in build/fuzz-plain: the programs run several times as fast, and such inputs are saved there.
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
for name in "${names[@]}"; do
  found=build/fuzz/found/$name
  mkdir -p "$found"
  printf '%s: ' "$name"
  log=$build/$name.log
  "$build/bin/${name}_fuzzer" -runs="$runs" -timeout=10 -rss_limit_mb=4096 -max_len=1024 -entropic=0 \
    -dict="fuzz/dictionary/$name.dict" -print_final_stats=1 -artifact_prefix="$build/" \
    "$found" "fuzz/corpus/$name" >"$log" 2>&1 || { tail -40 "$log"; exit 1; }
  sed -nE 's/^Done ([0-9]+) runs in ([0-9]+) second.*/\1 executions in \2 s/p' "$log"
  if $keep; then "$build/bin/${name}_fuzzer" -merge=1 "fuzz/corpus/$name" "$found" >>"$log" 2>&1; fi
done
