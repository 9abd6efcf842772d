#!/usr/bin/env bash
# What has to be so before a release, as far as a script can tell, and what a person still does.
#   scripts/release.sh --check [--quick]
# Writes only under build/, and installs the packages that building needs. All checks are made, the quick ones first; ends
# with 1 when one has failed.
# --quick: only those that build nothing and take seconds.
set -euo pipefail
cd "$(dirname "$0")/.."

quick=no
case "$*" in
  --check) ;;
  '--check --quick' | '--quick --check') quick=yes ;;
  *) sed -n '3,6s/^# *//p' "$0" >&2; exit 2 ;;
esac

failed=0
# check NAME COMMAND...: what the command prints is shown when it fails.
check() {
  local name=$1 output
  shift
  if output=$("$@" 2>&1); then
    echo "ok      $name"
  else
    echo "FAILED  $name"
    [ -z "$output" ] || sed 's/^/        /' <<<"$output"
    failed=$((failed + 1))
  fi
}

# first PATTERN FILE: what the brackets of the pattern hold at the first place in a file.
first() { sed -nE "s/$1/\\1/p" "$2" | head -1; }
version=$(first '^project\(zel3 VERSION ([0-9.]+) .*' CMakeLists.txt)
released=$(first '^## [0-9.]+ \(([0-9-]+)\)$' CHANGELOG.md)

is_a_version() { [[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || { echo "CMakeLists.txt has no version"; return 1; }; }

is_clean() {
  local changes
  changes=$(git status --porcelain) || return 1
  [ -z "$changes" ] || { head -20 <<<"$changes"; return 1; }
}

is_above_the_last_tag() {
  local tags last
  tags=$(git tag --list 'v[0-9]*' --sort=-version:refname) || return 1
  [ -n "$tags" ] || return 0
  last=${tags%%$'\n'*}
  [ "v$version" != "$last" ] && [ "$(printf '%s\n' "$last" "v$version" | sort -V | tail -1)" = "v$version" ] ||
    { echo "$version is not above $last"; return 1; }
}

# Prints the lines that ask for an SDK that this version is not, or a library of another MAJOR. An example may ask for less
# than there is.
is_the_same_everywhere() {
  local places wrong=0 part major minor
  IFS=. read -r major minor _ <<<"$version"
  places=$(git grep -nE 'find_package\(Zel3BrickSdk [0-9]' -- docs examples) || true
  [ -n "$places" ] || { echo "no page or example names the SDK"; return 1; }
  awk -v major="$major" -v minor="$minor" '
    { asked = $0; sub(/.*Zel3BrickSdk /, "", asked); split(asked, part, /[^0-9]/) }
    part[1] != major || part[2] + 0 > minor + 0 { wrong = 1; print }
    END { exit wrong }' <<<"$places" || wrong=1
  places=$(git grep -noE 'libbrickhost(\.so\.)?[0-9]+' -- docs tests/install) || true
  ! grep -vE "libbrickhost(\\.so\\.)?$major\$" <<<"$places" || wrong=1
  for part in "COMPATIBILITY SameMajorVersion" "libbrickhost\${PROJECT_VERSION_MAJOR}"; do
    grep -qF "$part" cmake/install.cmake || { echo "cmake/install.cmake lacks $part"; wrong=1; }
  done
  return "$wrong"
}

is_in_the_changes() {
  local newest
  newest=$(first '^## ([0-9.]+).*' CHANGELOG.md)
  [ "$newest" = "$version" ] || { echo "CHANGELOG.md begins with '$newest', not $version"; return 1; }
  [ -n "$released" ] && [ "$(date -u -d "$released" +%F)" = "$released" ] ||
    { echo "$version has no date in CHANGELOG.md"; return 1; }
  awk '/^## / { ++number } number == 1 && /^- / { found = 1 } END { exit !found }' CHANGELOG.md ||
    { echo "CHANGELOG.md says nothing of $version"; return 1; }
}

# The packages are dated as the release.
packages_have_the_date() {
  local dated
  dated=$(date -u -d "$(first '^ -- .*>?@?  (.*)$' packaging/changelog.in)" +%F)
  [ "$dated" = "$released" ] || { echo "packaging/changelog.in has $dated, CHANGELOG.md $released"; return 1; }
}

# finds_nothing ARGUMENT...: of git grep, which ends with 1 then, and with another status when it cannot look.
finds_nothing() {
  local status=0
  git grep -nI "$@" || status=$?
  [ "$status" = 1 ]
}

has_no_mark() {
  # In two parts, so that this line is not one of them.
  local marks='\b(TO''DO|FIX''ME|HA''CK|X''XX)\b|^(<<<<<<<|>>>>>>>) '
  finds_nothing -P "$marks"
}

names_no_place_of_a_machine() {
  local found=0
  finds_nothing -F "$PWD/" || found=1
  finds_nothing -P '(?<![\w.}/$])/(home/(?!someone)|Users/|work/)\w' || found=1
  return "$found"
}

names_all_licences() {
  local library missing=0
  while read -r library; do
    grep -qE "^Comment: \S+ @\S+@, https://\S+, from the package $library\$" packaging/copyright.in ||
      { echo "packaging/copyright.in lacks $library"; missing=1; }
  done < <(sed -nE 's/^foreach\(package (.*)\)$/\1/p' cmake/packages.cmake | tr ' ' '\n')
  grep -q 'uPlot @version_of_uplot@' packaging/copyright.in || { echo "packaging/copyright.in lacks uPlot"; missing=1; }
  return "$missing"
}

# A page for each verb, and all of them in the page of the program.
has_all_manual_pages() {
  local verb missing=0
  for page in docs/man/zel3-*.1.scd; do
    verb=$(basename "$page" .1.scd)
    verb=${verb#zel3-}
    grep -q "^\\*zel3-$verb\\*(1)" docs/man/zel3.1.scd || { echo "zel3.1.scd lacks $verb"; missing=1; }
    grep -q "| \`${verb}[ \`]" README.md || { echo "README.md lacks $verb"; missing=1; }
  done
  return "$missing"
}

last_night_was_sound() {
  [ -e docs/nightly.md ] || { echo 'there is no docs/nightly.md'; return 1; }
  ! grep -E '^\| .*(not run|found something)' docs/nightly.md
}

echo "== zel3 $version: what takes seconds"
check 'the version is one'                             is_a_version
check 'the tree is clean'                              is_clean
check 'the version is above that of the last tag'      is_above_the_last_tag
check 'the version is the same everywhere'             is_the_same_everywhere
check 'CHANGELOG.md begins with it and its date'       is_in_the_changes
check 'the packages have that date'                    packages_have_the_date
check 'links between pages lead somewhere'             tests/docs/check_links.py . build
check 'nothing is marked as to be done'                has_no_mark
check 'no file names a place of one machine'           names_no_place_of_a_machine
check 'parts of others are named with their licences'  names_all_licences
check 'each verb has its pages'                        has_all_manual_pages
check 'the accepted mutants are those of the code'     scripts/mutate.py --check-accepted

if [ "$quick" = no ]; then
  echo '== what builds'
  mkdir -p build/release
  export TMPDIR=$PWD/build/release
  check 'every part of the last night was sound'       last_night_was_sound
  # The setup, the format, the linter, all tests of both ABIs, and those under the sanitizers.
  check 'all that a change must pass'                  .ci/run
  # What is installed and packed, the pages and their pictures, in both ABIs.
  check 'packages, installation and pages'             scripts/nightly.sh packages
  check 'packages are the same wherever they are built' scripts/nightly.sh reproducible
  rmdir --ignore-fail-on-non-empty build/release
fi

cat <<LIST
== what a person does
- read docs/nightly.md: the figures, and that they are of this version (scripts/nightly.sh --report)
- choose the licence: README.md and packaging/copyright.in say that this has not been done
- say who answers for the packages: -DZEL3_PACKAGE_MAINTAINER="Name <address>"
- read CHANGELOG.md and docs/compatibility.md as somebody who upgrades
- look at a report in the browsers of the day, and at docs/pictures (scripts/pictures.sh takes them anew)
- sign the tag: git tag --sign v$version; then build the packages from it, and sign them
- after the release: the next version in CMakeLists.txt and CHANGELOG.md
LIST
if [ "$failed" != 0 ]; then
  echo "release: $failed failed"
  exit 1
fi
echo 'release: nothing failed'
