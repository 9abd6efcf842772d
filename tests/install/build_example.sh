#!/usr/bin/env bash
# The recipes of docs/integrating.md for CMake: the installed examples are built with the installed SDK, and run with the
# installed plug-ins.
#   build_example.sh SOURCES CMAKE PREFIX OPTION...
set -euo pipefail
sources=$1 cmake=$2 prefix=$3
shift 3
options=("$@")
tests=$(dirname "$(realpath "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# What the page says in its place, with the options that this ABI and this machine need.
commands() { "$tests/recipe.sh" "$sources/docs/integrating.md" "$1" "$2" | sed "s,/opt/zel3,$prefix,g"; }
cmake() {
  if [ "$1" = -B ]; then set -- "$@" "${options[@]}"; fi
  command "$cmake" "$@" >&2
}
cat >counted <<'COUNTS'
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

counting=$(commands 'library. With the preset `native` installed, too:' 'On an amd64')
eval "$counting" >"$work/counts"
echo 'The counter counts what the parser finds:'
diff <(grep "^.... [0-9]*$" "$work/counts") "$work/counted"

filtering=$(commands 'example:' 'A host registers')
eval "$filtering"
echo 'The filter shows its factory and nothing else, and can be unloaded:'
diff <(nm --dynamic --defined-only --extern-only build/active_filter.so | cut -d ' ' -f 3) - <<<CreateBrick

echo 'It passes on what is active enough:'
running=$(commands 'with `CBrickLoader::CreateBrick`. The program of the other example does:' '## ')
counts() { eval "${running/% 4/ $1}"; }
# There is an index by now, so no run reports progress.
diff <(grep -v '^NMsg ' "$work/counted") <(counts 0)
diff <(grep -vE '^(NMsg|snd3|txt3|vid3) ' "$work/counted") <(counts 32)
diff <(grep -vE '^(NMsg|snd3|txt3|vid3) ' "$work/counted"; echo snd3 1) <(counts 4)
