#!/usr/bin/env bash
# The program under PREFIX finds its library and both plug-ins with nothing set.
#   run_program.sh PREFIX
set -euo pipefail
prefix=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
zel3() { env -i TMPDIR="$work" "$prefix/bin/zel3" "$@"; }

zel3 make "$work/archives" >/dev/null

echo 'The program lists the archives:'
diff <(zel3 info "$work/archives" | sed -n 2,3p) - <<'LIST'
file                            number  start                     end                       entries  streams
cam01_2024-05-01_00-00-00.zel3  0       2024-05-01T00:00:00.000Z  2024-05-01T02:44:50.000Z  ...      1 2 3 ...
LIST

echo 'The reader makes with the parser the index that a time needs:'
diff <(zel3 seek "$work/archives" 2024-05-01T12:00:00Z --format json) - <<'ENTRY'
{"file":"cam01_2024-05-01_11-30-00.zel3","fileNumber":4,"entryNumber":180,"time":1714564800000}
ENTRY
