#!/usr/bin/env bash
# Makes the Debian packages of the build in FOLDER, and unpacks them in FOLDER/root.
#   make_packages.sh CPACK BUILD FOLDER ARCHITECTURE VERSION
set -euo pipefail
cpack=$1 build=$2 folder=$3 architecture=$4 version=$5

rm -rf "$folder"
"$cpack" --config "$build/CPackConfig.cmake" -B "$folder"

echo 'They name their architecture and what they need:'
fields() { dpkg-deb --field "$folder/$1_${version}_$architecture.deb" Package Version Architecture Depends; }
# Which versions of the libraries do depends on the machine.
diff <(fields zel3 | sed 's/ (>= [^)]*)//g') - <<FIELDS
Package: zel3
Version: $version
Architecture: $architecture
Depends: libc6, libgcc-s1, libqt5core5a, libstdc++6
FIELDS
diff <(fields zel3-brick-sdk) - <<FIELDS
Package: zel3-brick-sdk
Version: $version
Architecture: $architecture
Depends: zel3 (= $version), qtbase5-dev
FIELDS

for package in "$folder"/*.deb; do dpkg-deb --extract "$package" "$folder/root"; done
