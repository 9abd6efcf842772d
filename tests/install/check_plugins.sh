#!/usr/bin/env bash
# The plug-ins in the folders run on older systems, export no more than they declare, and ask their host for no types.
#   check_plugins.sh READELF SOURCES FOLDER...
set -euo pipefail
read_elf=$1 sources=$2
shift 2

# The newest version of each library that a plug-in may ask for. A name without a number is the only version.
declare -A newest=([GLIBC]=2.28 [GLIBCXX]=3.4.21 [CXXABI]=1.3.9 [GCC]=3.0 [Qt]=5)

complain() {
  echo "$1"
  bad=yes
}

check_needs() {
  local needs version name
  needs=$("$read_elf" --wide --version-info "$1" | sed -nE '/^Version needs/,$s/.* Name: ([^ ]+) .*/\1/p')
  [ -n "$needs" ] || complain "$1: no versions found"
  for version in $needs; do
    name=${version%%_*}
    [ -n "${newest[$name]:-}" ] &&
      printf '%s\n' "${version#*_}" "${newest[$name]}" | sort --version-sort --check=quiet ||
      complain "$1: needs $version"
  done
}

# Lines of binding, visibility, section and name, of everything that is imported or exported.
symbols() { "$read_elf" --wide --dyn-syms "$1" | awk '$1 ~ /^[0-9]+:$/ { print $5, $6, $7, $8 }'; }

check_types() {
  local types
  # What is thrown and caught may be a type of the C++ library.
  types=$(symbols "$1" | awk '$3 == "UND" && $4 ~ /^_ZTI/ && $4 !~ /@(CXXABI|GLIBCXX)_/ { print $4 }')
  [ -z "$types" ] || complain "$1: asks its host for types: $types"
}

# Only the reference host has these: its parser may call them.
check_calls() {
  if [[ $1 != *parser.so ]] && symbols "$1" | grep -E ' _ZNK?6CBrick(8CameFrom|6SendUp|12OwnerContext)E'; then
    complain "$1: calls what other hosts do not have"
  fi
}

check_exports() {
  local map exports
  map=$sources/$(basename "$1" .so | sed 's/zel3//')/exports.map
  exports=$(symbols "$1" | awk '$3 != "UND" { print $4 }' | sort)
  diff <(sed '/global:/,/local:/!d; s/local:.*//' "$map" | grep -oE '\w+;' | tr -d ';' | sort) - <<<"$exports" ||
    complain "$1: shows other names than $map says"
}

bad=no
names=' '
while read -r -d '' file; do
  check_needs "$file"
  check_types "$file"
  check_calls "$file"
  check_exports "$file"
  names+="$(basename "$file") "
done < <(find "$@" -type f -name 'zel3*.so' -print0)

[ "$bad" = no ]
echo "Checked:$names"
for name in zel3reader.so zel3parser.so; do [[ $names == *" $name"* ]]; done
