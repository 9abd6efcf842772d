#!/usr/bin/env bash
# PLUGIN takes from Qt exactly what LIST names, and Qt 4.8 has all of it.
#   check_qt_functions.sh READELF LIST PLUGIN
set -euo pipefail
read_elf=$1 list=$2 plugin=$3
export LC_ALL=C

lines() { grep -v '^#' "$list"; }
taken() { "$read_elf" --wide --dyn-syms --demangle "$plugin" | sed -nE 's/.* UND (.*)@Qt_.*/\1/p' | sort; }
size_type='unsigned long'
if "$read_elf" --file-header "$plugin" | grep -q ELF32; then size_type='unsigned int'; fi

echo 'No line names a newer version than 4.8:'
if lines | grep -vE '^[^|]+ \| 4\.[0-8]( \| [^|]+)?$'; then exit 1; fi
echo 'The lines are sorted, and name what is taken (<) and nothing else (>):'
lines | sort --check
diff <(taken) <(lines | sed "s/ | .*//; s/size_t/$size_type/g" | sort)
