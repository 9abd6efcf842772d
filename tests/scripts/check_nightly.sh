#!/usr/bin/env bash
# The nightly script with parts that take no time: it goes on after a finding, and its page tells states and figures and
# no place of the machine.
#   check_nightly.sh SOURCES
set -euo pipefail
sources=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir -p scripts docs
cp "$sources"/scripts/nightly{,_page}.sh scripts

# stub NAME LINE...: a script that does so.
stub() {
  { echo '#!/bin/bash'; printf '%s\n' "${@:2}"; } >"scripts/$1"
  chmod +x "scripts/$1"
}
stub setup.sh 'echo "setup $*" >>asked'
stub fuzz.sh 'echo "cache: 500 executions in 3 s"'
stub demo.sh 'echo much; echo "nothing differs"'
stub coverage.sh 'echo "/usr/include/x.h:3: see $PWD/reader/a.cpp, \"/etc/passwd\" and 1/2"' 'echo "lines: 90 %"' 'exit 1'
stub bench.sh 'echo "measured $*"'
stub mutate.py 'echo "judged $*"'

echo 'A part alone:'
diff <(scripts/nightly.sh fuzz) - <<'END'
== fuzz
cache: 500 executions in 3 s
nightly: nothing found
END
[ ! -e docs/nightly.md ]
[ "$(cat asked)" = 'setup --night' ]

echo 'It ends at the first finding:'
if scripts/nightly.sh coverage fuzz >printed 2>&1; then exit 1; fi
if grep -q 'fuzz' printed; then exit 1; fi

echo 'A report goes on, and is one of all parts so far:'
if scripts/nightly.sh --report coverage demo >printed 2>&1; then exit 1; fi
scripts/nightly.sh --report peers >printed
diff <(sed -nE 's/^(\| [a-z]+ \|).*\| ([^|]*) \|$/\1 \2/p' docs/nightly.md | tail -n +2) - <<'END'
| tests | not run
| packages | not run
| reproducible | not run
| load | not run
| faults | not run
| threads | not run
| memcheck | not run
| sanitizers | not run
| fuzz | not run
| coverage | **found something**
| demo | sound
| bench | not run
| peers | sound
| mutants | not run
END
diff <(sed -n '/^## /,$p' docs/nightly.md) - <<'END'
## coverage

```
...:3: see reader/a.cpp, "..." and 1/2
lines: 90 %
```

## demo

```
nothing differs
```

## peers

```
measured --peers
```
END

echo 'Each night takes another share of the changes:'
share=$(($(date +%s) / 86400 % 30))
scripts/nightly.sh mutants >printed
# Midnight may have been in between.
grep -qxE "judged --jobs $(nproc) --every 30 --from ($share|$(((share + 1) % 30)))" printed

echo 'What is no part is refused before anything runs:'
status=0
scripts/nightly.sh fuzz nothing >printed 2>&1 || status=$?
[ "$status" = 2 ]
diff printed - <<<'no part is called nothing'
