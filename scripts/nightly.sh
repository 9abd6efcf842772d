#!/usr/bin/env bash
# What takes too long to run with every change: the packages, the long search for crashes, hangs, leaks and wrong
# answers, the coverage of the tests, the measurements, and the mutations that no test notices.
#   scripts/nightly.sh [PART...]
#   scripts/nightly.sh --report [PART...]
# Parts, in this order: tests packages reproducible load faults threads memcheck sanitizers fuzz coverage demo bench peers
# mutants. Without a name all of them run. What they need is installed first. Fails at the first finding. The figures are
# printed as they come.
# --report: goes on after a finding, and writes docs/nightly.md: the state and the figures of every part when it last ran
# with --report, on whatever day. The logs stay in build/nightly.
set -euo pipefail
cd "$(dirname "$0")/.."

all=(tests packages reproducible load faults threads memcheck sanitizers fuzz coverage demo bench peers mutants)
# Of the changes to the plug-in, each night takes another of so many shares.
shares=30

reports=no
if [ "${1:-}" = --report ]; then
  reports=yes
  shift
fi
parts=("$@")
[ "${#parts[@]}" != 0 ] || parts=("${all[@]}")
for part in "${parts[@]}"; do
  [[ " ${all[*]} " == *" $part "* ]] || { echo "no part is called $part" >&2; exit 2; }
done

if [ "$reports" = yes ]; then
  logs=build/nightly
  mkdir -p "$logs"
  failed=no
  for part in "${parts[@]}"; do
    started=$(date +%s)
    sources=$(git describe --always --dirty 2>/dev/null || echo unknown)
    status=0
    # A part counts when it has ended.
    rm -f "$logs/$part.state"
    scripts/nightly.sh "$part" >"$logs/$part.log" 2>&1 || status=$?
    grep -vxF 'nightly: nothing found' "$logs/$part.log" || true
    [ "$status" = 0 ] || failed=yes
    printf '%s %s %s %s\n' "$started" "$(($(date +%s) - started))" "$status" "$sources" >"$logs/$part.state"
  done
  scripts/nightly_page.sh "$logs" "${all[@]}" >"$logs/page.md"
  mv "$logs/page.md" docs/nightly.md
  echo 'nightly: docs/nightly.md is written'
  [ "$failed" = no ]
  exit
fi

scripts/setup.sh --night >/dev/null
builds=(native)
[ -e /usr/lib/i386-linux-gnu/libQt5Core.so.5 ] && builds=(i386 native)

# build PRESET: quiet unless it fails.
build() {
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1" >build/nightly.log || { cat build/nightly.log; exit 1; }
}

# tests PRESET PROGRAM [ARGUMENT...]: prints the figures and the closing lines.
tests() {
  local program=build/$1/bin/$2
  echo "-- $1 $2 ${*:3}"
  "${runner[@]}" "$program" --gtest_brief=1 "${@:3}" >build/nightly.log 2>&1 || { cat build/nightly.log; exit 1; }
  grep -E '^figure:|PASSED|SKIPPED' build/nightly.log
}

mkdir -p build
runner=()
for part in "${parts[@]}"; do
  echo "== $part"
  case $part in
    tests)
      scripts/test.sh "${builds[@]}" ;;
    # What is installed, and the pages with their pictures, in every ABI: with a change each is tested in only one.
    packages)
      for preset in "${builds[@]}"; do
        cmake --preset "$preset" -DZEL3_TEST_EVERYTHING=ON >/dev/null
        build "$preset"
        ctest --preset "$preset" --tests-regex '^(install|docs|browser|unlucky)\.' >build/nightly.log 2>&1 ||
          { cat build/nightly.log; exit 1; }
        grep -E 'tests passed|Skipped\)' build/nightly.log
        cmake --preset "$preset" -DZEL3_TEST_EVERYTHING=OFF >/dev/null
      done ;;
    reproducible)
      for preset in "${builds[@]}"; do scripts/reproducible.sh "$preset"; done ;;
    # Folders of 10,000 archives, files of ten million entries, a million requests, a thousand runs, 200 kills.
    load)
      for preset in "${builds[@]}"; do
        build "$preset"
        ZEL3_LONG=1 tests "$preset" reliability_tests
      done ;;
    # Memory, files and disks that fail at every single step.
    faults)
      for preset in "${builds[@]}"; do
        build "$preset"
        tests "$preset" reader_tests \
          --gtest_filter='LittleMemory*:FailingFiles*:ChangedArchive*:EndedRun*:BadInput*'
      done ;;
    threads)
      build native-tsan
      for program in blocks_tests host_tests; do
        ZEL3_LONG=1 tests native-tsan "$program"
      done ;;
    memcheck)
      build native
      # valgrind cannot follow regular expressions that are compiled at run time.
      export QT_ENABLE_REGEXP_JIT=0
      runner=(valgrind --quiet --error-exitcode=9 --leak-check=full --errors-for-leak-kinds=definite
              --soname-synonyms=somalloc=NONE)
      # Without the tests that replace the allocator, limit the memory of the process or kill it.
      for program in blocks_tests host_tests indexer_tests parser_tests archive_tests samples_tests reader_tests; do
        tests native "$program" --gtest_filter='-*Memory*:*FindNoRoom*:*TooLarge*:*ProcessIsKilled*:BadInput.HugeCacheFiles'
      done
      runner=() ;;
    sanitizers)
      sanitized=(native-asan)
      [ "${builds[0]}" = i386 ] && sanitized=(i386-asan native-asan)
      scripts/test.sh "${sanitized[@]}" ;;
    fuzz)
      scripts/fuzz.sh ;;
    coverage)
      scripts/coverage.sh ;;
    demo)
      scripts/demo.sh ;;
    bench)
      scripts/bench.sh ;;
    peers)
      scripts/bench.sh --peers ;;
    mutants)
      share=$(($(date +%s) / 86400 % shares))
      echo "share $share of $shares"
      scripts/mutate.py --jobs "$(nproc)" --every "$shares" --from "$share" ;;
  esac
done
echo "nightly: nothing found"
