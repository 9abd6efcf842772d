#!/usr/bin/env bash
# The quick part of the release checks passes on a copy of the tree, and tells what is wrong with one.
#   check_release.sh SOURCES
set -euo pipefail
sources=$1
git -C "$sources" rev-parse --git-dir >/dev/null 2>&1 || { echo 'skipped: not a repository'; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/tree
mkdir "$tree"
(cd "$sources" && git ls-files -z --cached --others --exclude-standard | while IFS= read -r -d '' file; do
  [ ! -e "$file" ] || printf '%s\0' "$file"
done | xargs -0 cp --parents --target-directory="$tree")
cd "$tree"
export HOME=$work GIT_CONFIG_NOSYSTEM=1
git init --quiet
git config user.name tester
git config user.email tester@example.org
git add --all
git commit --quiet --message state

# failures: how the quick checks end, and what fails.
failures() {
  local status=0
  scripts/release.sh --check --quick >"$work/printed" || status=$?
  echo "$status"
  sed -n 's/^FAILED  //p' "$work/printed"
}

echo 'A tree that is committed passes:'
diff <(failures) <(echo 0) || { cat "$work/printed"; exit 1; }
grep -qx 'release: nothing failed' "$work/printed"
[ -z "$(git status --porcelain)" ]

echo 'What is not so is named:'
# break_it SED_COMMAND FILE
break_it() {
  sed -i -E "$1" "$2"
  ! git diff --quiet "$2" || { echo "$1 changes nothing in $2"; exit 1; }
}
git tag "v$(sed -nE 's/^project\(zel3 VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt)"
break_it 's/(Zel3BrickSdk) [0-9.]+/\1 0.9/' examples/counting_brick/CMakeLists.txt
break_it 's/libbrickhost\.so\.[0-9]/libbrickhost.so.77/' docs/integrating.md
break_it '0,/^## /s/^## [0-9.]+/## 0.0.1/; 1a [nowhere](nowhere.md)' CHANGELOG.md
break_it 's/[0-9]{4} 12:00/1999 12:00/' packaging/changelog.in
break_it '1a // TO''DO' host/pipeline.cpp
break_it '1a // /ho''me/me/tree' host/brick.cpp
break_it 's/from the package libfmt-dev/from somewhere/' packaging/copyright.in
break_it 's/zel3-seek\*\(1\)/zel3-sought*(1)/' docs/man/zel3.1.scd
break_it '$a reader/lifecycle.cpp: no such code; =>' scripts/mutants_accepted.txt
diff <(failures) - <<END || { cat "$work/printed"; exit 1; }
1
the tree is clean
the version is above that of the last tag
the version is the same everywhere
CHANGELOG.md begins with it and its date
the packages have that date
links between pages lead somewhere
nothing is marked as to be done
no file names a place of one machine
parts of others are named with their licences
each verb has its pages
the accepted mutants are those of the code
END
for what in ' examples/counting_brick/CMakeLists.txt:' ' docs/integrating.md:' ' host/pipeline.cpp:2:' ' host/brick.cpp:2:' \
            ' zel3.1.scd lacks seek' ' packaging/copyright.in lacks libfmt-dev' ; do
  grep -qF "$what" "$work/printed" || { echo "not told: $what"; exit 1; }
done
grep -qx 'release: 11 failed' "$work/printed"

echo 'Anything else is not asked for:'
status=0
scripts/release.sh 2>"$work/printed" || status=$?
[ "$status" = 2 ]
grep -q 'release.sh --check' "$work/printed"
