#!/usr/bin/env bash
# Runs the tests in an instrumented build, and prints how much of the plug-in's code they reach: line and branch
# coverage of each file, the lines not reached, and the totals. Fails below 97 % of the lines or 90 % of the branches.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset coverage >/dev/null
cmake --build --preset coverage >/dev/null
find build/coverage -name '*.gcda' -delete
# The test left out limits the size of the files that the program may write. That would cut short the counts written as
# the program ends, and spoil those of all other tests.
ctest --preset coverage --parallel "$(nproc)" --no-tests=error --exclude-regex AHalfWrittenOutputIsRemoved \
  --quiet --output-log build/coverage/tests.log || { cat build/coverage/tests.log; exit 1; }

# Not counted, because the compiler makes them: branches taken only by an exception, and the clean-up after a record
# whose construction fails half-way.
count() {
  gcovr --root . --object-directory build/coverage --filter '^(blocks|indexer|reader)/' \
    --exclude-throw-branches --exclude-unreachable-branches --exclude-branches-by-pattern '.*new \(place\) T.*' "$@"
}
count
count --branches
count --print-summary --fail-under-line 97 --fail-under-branch 90 --output /dev/null
