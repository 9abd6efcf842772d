#!/usr/bin/env bash
# Sets up the machine, builds, and runs every test, in the builds i386 and native or in the presets given.
#   scripts/test.sh [--require-i386] [PRESET...]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh "$@" 2>&1 | { grep -E '^(setup|\*\*\*|The shipping|E:)' || true; }
[ "${PIPESTATUS[0]}" = 0 ] || exit 1
if [ "${1:-}" = --require-i386 ]; then
  # Makes the tests that need both ABIs run instead of being skipped.
  export ZEL3_REQUIRE_I386=yes
  shift
fi
presets=("$@")
if [ "${#presets[@]}" = 0 ]; then
  presets=(native)
  [ -e /usr/lib/i386-linux-gnu/libQt5Core.so.5 ] && presets=(i386 native)
fi

passed=0
failed=0
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for preset in "${presets[@]}"; do
  echo "== $preset"
  cmake --preset "$preset" >"$log" 2>&1 || { cat "$log"; exit 1; }
  cmake --build --preset "$preset" >"$log" 2>&1 || { cat "$log"; exit 1; }
  ctest --preset "$preset" --parallel "$(nproc)" --no-tests=error >"$log" 2>&1 || true
  # "98% tests passed, 1 tests failed out of 57"
  read -r bad all < <(sed -nE 's/.* ([0-9]+) tests? failed out of ([0-9]+)$/\1 \2/p' "$log") || { cat "$log"; exit 1; }
  [ "$bad" = 0 ] || cat "$log"
  skipped=$(grep -cE ' - .* \(Skipped\)' "$log") || true
  echo "$preset: $((all - bad - skipped)) of $all tests passed"
  sed -nE 's/.* - (.*) \(Skipped\).*/  skipped: \1/p' "$log"
  passed=$((passed + all - bad - skipped))
  failed=$((failed + bad))
done
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
