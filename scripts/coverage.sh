#!/usr/bin/env bash
# Runs the tests in a build that counts, and prints how much of the plug-in's code they reach: line and branch coverage
# of each file, the lines not reached, and the totals. Ends with 1 below 97 % of the lines or 90 % of the branches.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset coverage >/dev/null
cmake --build --preset coverage >/dev/null
find build/coverage -name '*.gcda' -delete
# A program that may write small files only would spoil the counts of all others when it ends.
ctest --preset coverage --parallel "$(nproc)" --no-tests=error --exclude-regex AHalfWrittenOutputIsRemoved \
  --quiet --output-log build/coverage/tests.log || { cat build/coverage/tests.log; exit 1; }

# Branches that only an exception takes are the compiler's, not ours; so is the cleaning up after a record whose
# construction has failed half-way, which the counter takes for branches of the program.
count() {
  gcovr --root . --object-directory build/coverage --filter '^(blocks|indexer|reader)/' \
    --exclude-throw-branches --exclude-unreachable-branches --exclude-branches-by-pattern '.*new \(place\) T.*' "$@"
}
count
count --branches
count --print-summary --fail-under-line 97 --fail-under-branch 90 --output /dev/null
