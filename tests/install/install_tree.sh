#!/usr/bin/env bash
# Installs the build and moves what was installed to PREFIX: it must not matter where that is.
#   install_tree.sh CMAKE BUILD SOURCES PREFIX LIBRARIES VERSION
set -euo pipefail
cmake=$1 build=$2 sources=$3 prefix=$4 libraries=$5 version=$6

# One page for the program, one for each verb.
pages_of() { find "$1/docs/man" -name '*.scd' -printf 'share/man/man1/%f\n' | sed 's/\.scd$//' | LC_ALL=C sort; }

rm -rf "$prefix" "$prefix.first"
"$cmake" --install "$build" --strip --prefix "$prefix.first" >/dev/null
mv "$prefix.first" "$prefix"

echo 'Programs and libraries are where they belong:'
diff <(cd "$prefix" && find bin "$libraries" share ! -type d ! -path '*/cmake/*' ! -path '*/doc/*' | LC_ALL=C sort) - <<FILES
bin/zel3
$libraries/libbrickhost.so
$libraries/libbrickhost.so.1
$libraries/libbrickhost.so.$version
$libraries/libzel3_blocks.a
$libraries/pkgconfig/zel3-brick-sdk.pc
$libraries/zel3/zel3parser.so
$libraries/zel3/zel3reader.so
share/bash-completion/completions/zel3
share/fish/vendor_completions.d/zel3.fish
$(pages_of "$sources")
share/zsh/vendor-completions/_zel3
FILES

echo 'So is what checks the headers of other hosts:'
ls "$prefix/include/zel3-brick-sdk/sdk/check_host.cpp"

echo 'No file names a folder of the build:'
for folder in "$sources" "$build" "$prefix.first"; do
  if grep -rlF "$folder" "$prefix"; then exit 1; fi
done
