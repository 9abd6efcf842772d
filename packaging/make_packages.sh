#!/usr/bin/env bash
# Makes the Debian packages of a build in FOLDER. The same sources always give the same bytes, wherever they are built.
#   packaging/make_packages.sh BUILD FOLDER
set -euo pipefail
umask 022
export LC_ALL=C
build=$(realpath "$1")
mkdir -p "$2"
folder=$(realpath "$2")
# Sets what the build says about itself: architecture, triplet, version, sources.
. "$build/packaging/variables"

# Warnings of Debian's tools are shown only when something has failed.
work=$(mktemp -d)
finish() {
  [ "$?" = 0 ] || cat "$work/warnings" >&2
  rm -rf "$work"
}
trap finish EXIT
touch "$work/warnings"
mkdir "$work/debian"
cp "$build"/packaging/{control,changelog} "$work/debian"
cd "$work"
export DEB_HOST_ARCH=$architecture

# All files in the packages get this time: that of the last commit or, without a repository, of the changelog.
if [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
  SOURCE_DATE_EPOCH=$(git -C "$sources" log -1 --format=%ct 2>/dev/null) ||
    SOURCE_DATE_EPOCH=$(dpkg-parsechangelog --show-field Timestamp)
fi
export SOURCE_DATE_EPOCH

# Removes the symbols that only debuggers need, and the notes about the compiler.
strip_file() {
  case $1 in
    *.a) strip --strip-debug --remove-section=.comment --enable-deterministic-archives "$1" ;;
    *.so*) strip --strip-unneeded --remove-section=.comment --remove-section=.note "$1" ;;
    usr/bin/*) strip --remove-section=.comment --remove-section=.note "$1" ;;
  esac
}

# Puts the files of a package in the places that they have in it.
stage() {
  local package=$1 root=$work/$1 documents=$work/$1/usr/share/doc/$1
  cmake --install "$build" --component "$package" --prefix "$root/usr" >/dev/null
  mkdir -p "$documents" "$root/DEBIAN"
  cp "$build/packaging/copyright" "$documents"
  gzip -9n <debian/changelog >"$documents/changelog.gz"
  if [ -e "$sources/packaging/$package.lintian-overrides" ]; then
    install -D --mode=644 "$sources/packaging/$package.lintian-overrides" "$root/usr/share/lintian/overrides/$package"
  fi
  if [ -d "$root/usr/share/man" ]; then find "$root/usr/share/man" -type f -exec gzip -9n {} +; fi
  (cd "$root" && find usr -type f | while read -r file; do strip_file "$file"; done)
  find "$root" -name '*.so*' -type f -exec chmod 644 {} +
}

# Tells other packages which package has the library, and updates the cache of the linker when it is installed.
describe_library() {
  local package=$1
  echo "libbrickhost ${package#libbrickhost} $package (>= $version)" >"$package/DEBIAN/shlibs"
  echo 'activate-noawait ldconfig' >"$package/DEBIAN/triggers"
}

needed_libraries() {
  local binaries
  mapfile -t binaries < <(find "$1/usr" -type f \( -name '*.so*' -o -path '*/bin/*' \))
  [ "${#binaries[@]}" = 0 ] || dpkg-shlibdeps -O -S"$library" -l"$library/usr/lib/$triplet" "${binaries[@]}" 2>>warnings
}

pack() {
  local package=$1
  needed_libraries "$package" >substvars
  dpkg-gencontrol -p"$package" -P"$package" -Tsubstvars -fdebian/files 2>>warnings
  (cd "$package" && find usr -type f -print0 | sort -z | xargs -0 md5sum >DEBIAN/md5sums)
  find "$package" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +
  # One thread: more would compress large packages in pieces, and so to other bytes.
  dpkg-deb --root-owner-group --threads-max=1 --build "$package" "$folder" >/dev/null
}

mapfile -t packages < <(sed -n 's/^Package: //p' debian/control)
library=$(printf '%s\n' "${packages[@]}" | grep '^libbrickhost')
for package in "${packages[@]}"; do stage "$package"; done
describe_library "$library"
for package in "${packages[@]}"; do
  pack "$package"
  echo "${package}_${version}_$architecture.deb"
done
