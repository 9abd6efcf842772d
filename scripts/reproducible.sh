#!/usr/bin/env bash
# Builds the packages of this tree twice, in folders with different names, and compares them byte for byte. Takes as
# long as two whole builds of the program.
#   scripts/reproducible.sh [PRESET]
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-native}
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# build FOLDER: copies the tree as it is now to FOLDER, and builds and packs it there.
build() {
  local tree=$work/$1
  mkdir -p "$tree"
  git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents --target-directory="$tree"
  (
    cd "$tree" &&
      cmake --preset "$preset" &&
      cmake --build --preset "$preset" --target packaged &&
      packaging/make_packages.sh "build/$preset" packages
  ) >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
}

build one
build a/longer/name/for/two
different=0
for package in "$work"/one/packages/*.deb; do
  name=$(basename "$package")
  if cmp "$package" "$work/a/longer/name/for/two/packages/$name"; then
    sha256sum "$package" | sed "s,  .*/,  ,"
  else
    different=1
  fi
done
[ "$different" = 0 ]
echo "reproducible ($preset): both builds are the same"
