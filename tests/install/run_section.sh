#!/usr/bin/env bash
# Runs all commands of a section of docs/integrating.md as they are written, in a folder where this build stands in
# for the one that they make, and a folder of the test for /opt.
#   run_section.sh SOURCES BUILD SECTION
set -euo pipefail
sources=$1 build=$2 section=$3
tests=$(dirname "$(realpath "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

mkdir build
ln -s "$build" build/i386
ln -s "$build" build/native
ln -s "$sources/packaging" .
commands=$("$tests/recipe.sh" "$sources/docs/integrating.md" "$section" '## ' | sed "s,/opt/,$work/opt/,g")

# Configuring and building has been done already.
cmake() {
  case "$*" in
    '--preset '* | '--build --preset '*) ;;
    *) command cmake "$@" ;;
  esac
}
# Only says what would be done: the Debian packages that are needed are there.
apt-get() { command apt-get --simulate --option APT::Get::Show-User-Simulation-Note=no "$@"; }
set -x
eval "$commands"
