#!/usr/bin/env bash
# What the built plug-in looks for in its host is what the page for hosts says.
#   compare_imports.sh NM PLUGIN PAGE
set -euo pipefail
nm=$1 plugin=$2 page=$3

# Rows "| `Class` | `Function()`, ... |" as lines "Class::Function()".
told() {
  sed -n '/^| class | functions that the file looks for |$/,/^$/p' "$page" | grep '^| `' |
    while IFS='|' read -r _ class functions _; do
      grep -o '`[^`]*`' <<<"$functions" | sed "s/^\`/$(tr -d ' \`' <<<"$class")::/; s/\`$//"
    done | LC_ALL=C sort
}
# The symbols of other libraries have versions.
needed() {
  "$nm" --dynamic --demangle --undefined-only "$plugin" | grep -v @ | sed -n 's/^ *U //p' | LC_ALL=C sort -u
}

[ "$(told | wc -l)" -gt 30 ]
diff <(told) <(needed)
echo "The page names all $(needed | wc -l) functions."
