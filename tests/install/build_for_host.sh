#!/usr/bin/env bash
# The reader is built with nothing of its host but headers and a library, and serves that host: here the installed one.
#   build_for_host.sh CMAKE SOURCES PREFIX LIBRARIES OPTION...
set -euo pipefail
cmake=$1 sources=$2 prefix=$3 libraries=$4
shift 4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Headers as other hosts have them: they do not say what a module shows.
mkdir sdk
for header in brick brick_config brick_loader critical_section ini_file mem_block; do
  sed 's/ BRICK_SDK_API//; /sdk_export.h/d' "$prefix/include/zel3-brick-sdk/sdk/$header.h" >"sdk/$header.h"
done
"$cmake" -S "$sources" -B build -DBRICK_SDK_DIR="$work/sdk" \
  -DBRICK_HOST_LIBRARY="$prefix/$libraries/libbrickhost.so" -DCMAKE_UNITY_BUILD=ON -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
  -DCMAKE_BUILD_TYPE=Debug "$@"
"$cmake" --build build

mkdir plugins
cp build/lib/zel3reader.so plugins
zel3() { env -i ZEL3_PLUGIN_FOLDER="$work/plugins" "$prefix/bin/zel3" "$@"; }
zel3 make archives --length 10m --files 1 >/dev/null
echo 'The reader makes the index of the archive, and finds a time in it:'
diff <(zel3 seek archives 2024-05-01T00:05:00Z --format json) - <<'ENTRY'
{"file":"cam01_2024-05-01_00-00-00.zel3","fileNumber":0,"entryNumber":30,"time":1714521900000}
ENTRY
