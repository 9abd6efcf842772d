#!/usr/bin/env bash
# The installed example is built with the installed SDK, and runs with the installed plug-ins.
#   build_example.sh CMAKE PREFIX OPTION...
set -euo pipefail
cmake=$1 prefix=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp -r "$prefix/share/doc/zel3-brick-sdk/examples/counting_brick" "$work"
cd "$work/counting_brick"
"$cmake" -B build -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" "$@"
"$cmake" --build build

env -i "$prefix/bin/zel3" make archives --length 10m --files 1 >/dev/null
echo 'It counts what the parser finds:'
diff <(env -i build/count_blocks archives/*.zel3) - <<'COUNTS'
ArcA 1
Dat3 1
Hdr3 1
IRN3 61
Idx3 121
NMsg 60
Tag  61
TagP 122
snd3 109
txt3 60
vid3 108
COUNTS
