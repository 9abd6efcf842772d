#!/usr/bin/env bash
# Makes the Debian packages of the build in FOLDER, and unpacks them in FOLDER/root.
#   make_packages.sh BUILD SOURCES FOLDER ARCHITECTURE LIBRARIES VERSION
set -euo pipefail
build=$1 sources=$2 folder=$3 architecture=$4 libraries=$5 version=$6
export SOURCE_DATE_EPOCH=1700000000
packages=(libbrickhost1 zel3 zel3-brick-sdk zel3-plugins)

rm -rf "$folder"
mkdir "$folder"
"$sources/packaging/make_packages.sh" "$build" "$folder" >/dev/null

# In 64 bits the lines of the console can be edited.
editor=
if [ "$architecture" = amd64 ]; then editor=' libedit2,'; fi

echo 'They name their architecture and what they need:'
# Which versions of the libraries do depends on the machine.
diff <(for package in "${packages[@]}"; do
  dpkg-deb --field "$folder/${package}_${version}_$architecture.deb" \
    Package Version Architecture Multi-Arch Depends Recommends | sed 's/ (>= [^)]*)//g'
done) - <<FIELDS
Package: libbrickhost1
Version: $version
Architecture: $architecture
Multi-Arch: same
Depends: libc6, libgcc-s1, libstdc++6
Recommends: zel3-plugins (= $version)
Package: zel3
Version: $version
Architecture: $architecture
Multi-Arch: foreign
Depends: zel3-plugins (= $version), libbrickhost1 (= $version), libc6,$editor libgcc-s1, libqt5core5a, libstdc++6, libutf8proc2
Recommends: tzdata
Package: zel3-brick-sdk
Version: $version
Architecture: $architecture
Multi-Arch: same
Depends: libbrickhost1 (= $version), qtbase5-dev
Recommends: zel3-plugins (= $version)
Package: zel3-plugins
Version: $version
Architecture: $architecture
Multi-Arch: same
Depends: libbrickhost1 (= $version), libc6, libgcc-s1, libqt5core5a, libstdc++6
FIELDS

echo 'The library is made known when it is installed:'
diff <(dpkg-deb --info "$folder/libbrickhost1_${version}_$architecture.deb" triggers shlibs) - <<CONTROL
activate-noawait ldconfig
libbrickhost 1 libbrickhost1 (>= $version)
CONTROL

for package in "$folder"/*.deb; do dpkg-deb --extract "$package" "$folder/root"; done

echo 'Every package says who has which rights, and what has changed:'
for package in "${packages[@]}"; do
  documents=$folder/root/usr/share/doc/$package
  cmp "$documents/copyright" "$build/packaging/copyright"
  zgrep --quiet "^zel3 ($version) " "$documents/changelog.gz"
done

echo 'Programs and libraries are where they belong:'
diff <(cd "$folder/root/usr" && find bin "$libraries" share/man -type f ! -path '*/cmake/*' | LC_ALL=C sort) - <<FILES
bin/zel3
$libraries/libbrickhost.so.$version
$libraries/libzel3_blocks.a
$libraries/pkgconfig/zel3-brick-sdk.pc
$libraries/zel3/zel3parser.so
$libraries/zel3/zel3reader.so
$(find "$sources/docs/man" -name '*.scd' -printf 'share/man/man1/%f\n' | sed 's/scd$/gz/' | LC_ALL=C sort)
FILES

echo 'All files are of the time that was asked for, and belong to root:'
for package in "$folder"/*.deb; do
  TZ=UTC dpkg-deb --contents "$package" | awk '$2 != "root/root" || $4 " " $5 != "2023-11-14 22:13" { bad = 1; print }
                                               END { exit bad || NR == 0 }'
done

echo 'No file names a folder of the build, nor does what was taken off it:'
for path in "$sources" "$build"; do
  if grep -rlF "$path" "$folder/root" "$build"/bin/zel3 "$build"/lib/{libbrickhost,zel3reader,zel3parser}.so; then
    exit 1
  fi
done

echo 'Made again, they are the same:'
sleep 1.1
mkdir "$folder/again"
(umask 077 && TZ=Asia/Tokyo "$sources/packaging/make_packages.sh" "$build" "$folder/again" >/dev/null)
for package in "$folder"/*.deb; do cmp "$package" "$folder/again/$(basename "$package")"; done
