#!/usr/bin/env bash
# The recipe of docs/integrating.md for pkg-config: the example is built, and starts, from a prefix of its own.
#   use_pkg_config.sh SOURCES PREFIX TRIPLET COMPILER QT_LIBRARY
# The 32-bit run-time package of Qt has no link for the linker; one of its own lets both builds be tested.
set -euo pipefail
sources=$1 prefix=$2 triplet=$3 qt_library=$5
read -ra compiler <<<"$4"
tests=$(dirname "$(realpath "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/qt"
ln -s "$qt_library" "$work/qt/libQt5Core.so"
g++() { command "${compiler[@]}" -L"$work/qt" "$@"; }
commands=$("$tests/recipe.sh" "$sources/docs/integrating.md" 'Without CMake, in the same folder:' '- ' |
  sed "s,/opt/zel3,$prefix,g; s,x86_64-linux-gnu,$triplet,g")

cd "$work"
"$prefix/bin/zel3" make . --length 10m --files 1 >/dev/null
cp -r "$prefix/share/doc/zel3-brick-sdk/examples/counting_brick" .
cd counting_brick
unset LD_LIBRARY_PATH
eval "$commands" >counts
echo 'The example counts what the parser finds:'
grep -qx 'Idx3 121' counts
# Where the plug-ins lie, for hosts that are not told.
[ -e "$(pkg-config --variable=pluginsdir zel3-brick-sdk)/zel3reader.so" ]
