#!/usr/bin/env bash
# Retakes the pictures in docs/pictures, of the page that zel3 report makes of the sample day.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset native >/dev/null
cmake --build --preset native --target zel3 browser_driver

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work
build/native/bin/zel3 make "$work/archives" >/dev/null
build/native/bin/zel3 report "$work/archives" -o "$work/page.html"
cp tests/browser/*.mjs tests/browser/package.json build/native/tests/browser
CHROMIUM=$(command -v chromium) node build/native/tests/browser/take_pictures.mjs "$work/page.html" docs/pictures
