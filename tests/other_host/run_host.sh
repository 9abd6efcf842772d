#!/usr/bin/env bash
# The built plug-ins serve another host, whatever the position of its stack, with their caches in a cache folder.
#   run_host.sh HOST PROGRAM PLUGINS [PLUGIN]    PLUGIN is bound to its own libraries first
set -euo pipefail
host=$1 zel3=$2 plugins=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

"$zel3" make archives --length 10m --files 1 >/dev/null
for bytes in 0 4 8 12; do
  echo "$bytes bytes further down the stack, it counts what the parser finds:"
  mkdir cache
  diff <(env -i ZEL3_PLUGIN_FOLDER="$plugins" "$host" archives/*.zel3 "$work/cache" $bytes "$@" || echo "ended with $?") - <<'COUNTS'
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
  [ "$(ls cache | sed 's/.*\.//' | sort | tr '\n' ' ')" = 'evt hdr id3 ' ]
  rm -r cache
done
