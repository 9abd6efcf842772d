#!/usr/bin/env bash
# The packages of both ABIs are installed together below FOLDER by dpkg, as on a machine of both architectures. The
# 64-bit program runs there, and hosts of both ABIs are built and served there.
#   side_by_side.sh CMAKE SOURCES FOLDER PACKAGES PACKAGES_32 COMPILER GENERATOR VERSION
# Skipped (77) where the 32-bit packages are missing or older than what both have in common; with ZEL3_REQUIRE_I386
# the test then fails.
set -euo pipefail
cmake=$1 sources=$2 folder=$3 packages=$4 packages_32=$5 compiler=$6 generator=$7 version=$8
tests=$(dirname "$(realpath "$0")")

skip() {
  echo "$1: $packages_32"
  [ -z "${ZEL3_REQUIRE_I386:-}" ] || exit 1
  exit 77
}
stamp=$packages_32/zel3_${version}_i386.deb
[ -e "$stamp" ] || skip 'There are no 32-bit packages'
newer=$(cd "$sources" && find sdk blocks host examples cmake page/package.json packaging -newer "$stamp" -print -quit)
[ -z "$newer" ] || skip "$newer is newer than the 32-bit packages"

rm -rf "$folder"
mkdir -p "$folder"
folder=$(realpath "$folder")
# dpkg as root, with its own root folder; it wants the programs that maintainers' scripts use.
in_root() {
  PATH=$PATH:/usr/sbin:/sbin fakeroot dpkg --root="$folder/root" --log=/dev/null --force-not-root "$@"
}
mkdir -p "$folder/root/var/lib/dpkg"/{info,updates,triggers}
touch "$folder/root/var/lib/dpkg"/{status,available}
in_root --add-architecture i386

echo 'The program is the 64-bit one, and all else is there twice:'
# The Debian packages that they need are those of this machine.
in_root --force-depends --install "$packages"/*.deb "$packages_32"/{libbrickhost1,zel3-plugins,zel3-brick-sdk}_*.deb \
  >"$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
diff <(dpkg-query --admindir="$folder/root/var/lib/dpkg" --show \
  --showformat='${db:Status-Status} ${Package} ${Architecture}\n') - <<LIST
installed libbrickhost1 amd64
installed libbrickhost1 i386
installed zel3 amd64
installed zel3-brick-sdk amd64
installed zel3-brick-sdk i386
installed zel3-plugins amd64
installed zel3-plugins i386
LIST

prefix=$folder/root/usr
kind() { file --brief "$prefix/$1" | cut -d, -f1; }
[ "$(kind bin/zel3)" = 'ELF 64-bit LSB pie executable' ]
for file in "libbrickhost.so.$version" zel3/zel3reader.so zel3/zel3parser.so; do
  [ "$(kind "lib/x86_64-linux-gnu/$file")" = 'ELF 64-bit LSB shared object' ]
  [ "$(kind "lib/i386-linux-gnu/$file")" = 'ELF 32-bit LSB shared object' ]
done

"$tests/run_program.sh" "$prefix"
"$tests/build_example.sh" "$sources" "$cmake" "$prefix" -G "$generator" -DCMAKE_CXX_COMPILER="$compiler"
"$tests/build_example.sh" "$sources" "$cmake" "$prefix" -G "$generator" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_TOOLCHAIN_FILE="$prefix/lib/i386-linux-gnu/cmake/Zel3BrickSdk/i386_toolchain.cmake"
