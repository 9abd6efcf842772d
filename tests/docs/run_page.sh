#!/usr/bin/env bash
# Runs the commands of a page in an empty folder: run_page.sh CRAM PAGE FOLDER_OF_THE_PROGRAM FOLDER_FOR_COPIES
set -euo pipefail

cram=$1
page=$2
export PATH=$3:$PATH
copies=$4

# Beside the page that it runs cram leaves what was different. It writes other characters than those of ASCII as escaped
# bytes; the page shows them as readers see them.
"$(dirname "$0")/escape_output.py" <"$page" >"$copies/$(basename "$page")"
settings=$(mktemp -d)
trap 'rm -rf "$settings"' EXIT
export XDG_CONFIG_HOME=$settings XDG_CACHE_HOME=$settings/cache
"$cram" --indent=4 --shell=/bin/bash "$copies/$(basename "$page")"
