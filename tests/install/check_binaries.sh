#!/usr/bin/env bash
# No program or library in the folders looks for others where archives may lie, and all are bound when they are loaded.
#   check_binaries.sh READELF FOLDER...
set -euo pipefail
read_elf=$1
shift

complain() {
  echo "$1"
  bad=yes
}

check() {
  local dynamic path
  dynamic=$("$read_elf" --wide --dynamic "$1")
  # An empty part of a run path is the current folder.
  path=$(sed -nE 's/.*\((RPATH|RUNPATH)\).*\[(.*)\]$/:\2:/p' <<<"$dynamic")
  [[ $path =~ ^(:\$ORIGIN(/[^:]+)*)*:?$ ]] || complain "$1: run path $path"
  grep -q BIND_NOW <<<"$dynamic" || complain "$1: bound late"
  "$read_elf" --wide --program-headers "$1" | grep -q GNU_RELRO || complain "$1: writable where it was bound"
}

bad=no
names=' '
while read -r -d '' file; do
  [ "$(head -c 4 "$file" | tail -c 3)" = ELF ] || continue
  check "$file"
  names+="$(basename "$file") "
done < <(find "$@" -type f \( -executable -o -name '*.so*' \) -print0)

[ "$bad" = no ]
echo "Checked:$names"
for name in zel3 zel3reader.so zel3parser.so libbrickhost.so; do [[ $names == *" $name"* ]]; done
