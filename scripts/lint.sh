#!/usr/bin/env bash
# Checks the format of the whole tree, and the plug-in's own code with clang-tidy (needs a configured build folder,
# by default that of the preset native).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/native}

git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
git ls-files 'blocks/*.cpp' 'indexer/*.cpp' 'reader/*.cpp' |
  xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "$build" 2> >(grep -v 'warnings generated' >&2)
echo "format and lint: clean"
