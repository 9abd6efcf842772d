#!/usr/bin/env bash
# The plug-in, loaded as usual by a host that has a Qt 4, calls that one.
#   meet_qt4.sh HOST PLUGINS
set -euo pipefail
host=$1 plugins=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

diff <(env -i ZEL3_PLUGIN_FOLDER="$plugins" "$host" archives caches 0 2>&1 || echo "ended with $?") - <<'CALLED'
Qt 4 has been called
ended with 44
CALLED
