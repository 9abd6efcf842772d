#!/usr/bin/env bash
# Runs the tests of this folder: run_tests.sh NODE FOLDER_OF_MODULES CHROMIUM ZEL3
set -euo pipefail
cd "$(dirname "$0")"

node=$1
folder=$2
export CHROMIUM=$3
export ZEL3=$4
# Node looks for modules beside the tests.
cp ./*.mjs package.json "$folder"
exec "$node" --test "$folder"/*.test.mjs
