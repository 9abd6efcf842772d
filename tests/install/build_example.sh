#!/usr/bin/env bash
# The installed examples are built with the installed SDK, and run with the installed plug-ins.
#   build_example.sh CMAKE PREFIX OPTION...
set -euo pipefail
cmake=$1 prefix=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp -r "$prefix/share/doc/zel3-brick-sdk/examples" "$work"
for example in counting_brick active_filter; do
  cd "$work/examples/$example"
  "$cmake" -B build -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" "$@"
  "$cmake" --build build
done

cd "$work/examples/counting_brick"
filter=../active_filter/build/active_filter.so
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

echo 'The filter shows its factory and nothing else, and can be unloaded:'
diff <(nm --dynamic --defined-only --extern-only "$filter" | cut -d ' ' -f 3) - <<<CreateBrick

echo 'It passes on what is active enough:'
counts() { env -i build/count_blocks archives/*.zel3 "$filter" "$1"; }
diff <(env -i build/count_blocks archives/*.zel3) <(counts 0)
diff <(counts 0 | grep -vE '^(snd3|txt3|vid3) ') <(counts 32)
