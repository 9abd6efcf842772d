#!/usr/bin/env bash
# Checks the format of all C++ files, and the plug-in's own code with clang-tidy, file by file.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/lint

git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
cmake --preset native -B "$build" -DCMAKE_UNITY_BUILD=OFF >/dev/null
git ls-files 'blocks/*.cpp' 'indexer/*.cpp' 'reader/*.cpp' |
  xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "$build" 2> >(grep -v 'warnings generated' >&2)
echo "format and lint: clean"
