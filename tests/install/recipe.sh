#!/usr/bin/env bash
# Prints the commands that a page shows after the line START, up to the next line that begins with END.
#   recipe.sh PAGE START END
set -euo pipefail
awk -v start="$2" -v end="$3" '
  found && index($0, end) == 1 { exit }
  $0 == start { found = 1 }
  found && /^    / { print substr($0, 5) }' "$1" | grep .
