#!/usr/bin/env bash
# The mutation script finds what it would change, and its list of accepted changes is that of the code. Runs no mutant.
#   check_mutate.sh PYTHON SOURCES
set -euo pipefail
python=$1 sources=$2
list=$(mktemp)
trap 'rm -f "$list"' EXIT
check() { "$python" "$sources/scripts/mutate.py" --check-accepted "$@"; }

echo 'Every accepted change is one of the code:'
check

echo 'One that is not is named with its line:'
echo '# a reason' >"$list"
echo 'reader/lifecycle.cpp: no such code; =>' >>"$list"
if check --accepted "$list" >"$list.out"; then exit 1; fi
diff <(tail -n +2 "$list.out") <(echo "$list:2: reader/lifecycle.cpp: no such code; =>")
rm "$list.out"
