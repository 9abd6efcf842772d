#!/usr/bin/env bash
# A host with nothing of the reference host loads the built plug-in, which lies alone in a folder, whatever the
# position of the host's stack.
#   run.sh HOST PLUGIN
set -euo pipefail
host=$1 plugin=$2
work=$(realpath "$(mktemp -d)")
trap 'rm -rf "$work"' EXIT

mkdir "$work/plugin"
cp "$plugin" "$work/plugin"
for bytes in 0 4 8 12; do
  echo "$bytes bytes further down the stack:"
  mkdir "$work/$bytes"
  env -i TMPDIR="$work/$bytes" "$host" "$work/plugin/$(basename "$plugin")" "$work/$bytes" $bytes
done
