#!/usr/bin/env bash
# Nothing in the packages of FOLDER breaks Debian's rules. Skipped (77) where there is no lintian.
#   lint_packages.sh FOLDER
set -euo pipefail
command -v lintian >/dev/null || { echo 'lintian is not installed'; exit 77; }
# It runs many small programs, some of which complain about the locale.
export LC_ALL=C.UTF-8
lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$1"/*.deb
