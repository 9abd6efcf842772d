#!/usr/bin/env bash
# The reader is built with nothing of its host but headers, and serves it: a host whose functions are in its program,
# and one whose functions are in a library without a soname.
#   build_for_host.sh CMAKE SOURCES READELF HOST LIBRARY OPTION...
set -euo pipefail
cmake=$1 sources=$2 read_elf=$3 host=$4 library=$5
shift 5
foreign=$sources/tests/foreign_host
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cp -r "$foreign/headers" .

configure() {
  "$cmake" -S "$sources" -B build -DBRICK_SDK_DIR="$work/headers" -DCMAKE_UNITY_BUILD=ON \
    -DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O0 "$@" >log 2>&1 || { cat log; return 1; }
}
build() { "$cmake" --build build >log 2>&1 || { cat log; return 1; }; }
# Expects the command to fail and to print WORD: refuse WORD COMMAND...
refuse() {
  local word=$1
  shift
  if "$@" >refused; then
    echo "'$*' is not refused"
    return 1
  fi
  grep -F "$word" refused
}
serve() {
  build
  rm -rf installed
  "$cmake" --install build --prefix installed >/dev/null
  local plugin
  plugin=$(find installed -name zel3reader.so)
  "$foreign/run.sh" "$host" "$plugin" >log || { cat log; return 1; }
  # No library is looked for in a folder of this machine.
  if "$read_elf" --wide --dynamic "$plugin" | grep 'NEEDED.*/'; then return 1; fi
}

echo 'Where the functions of the host are has to be said:'
refuse BRICK_HOST_IN_PROGRAM configure "$@"
echo 'They are in the program:'
configure -DBRICK_HOST_IN_PROGRAM=ON "$@"
serve
grep CMAKE_BUILD_TYPE:STRING=RelWithDebInfo build/CMakeCache.txt
echo 'What no host has is refused:'
echo 'extern "C" void OfNoHost(); __attribute__((used)) static void (*kept)() = OfNoHost;' >>headers/brick_loader.h
refuse OfNoHost build
cp "$foreign/headers/brick_loader.h" headers
echo 'They are in a library:'
configure -DBRICK_HOST_IN_PROGRAM=OFF -DBRICK_HOST_LIBRARY="$library" "$@"
serve
echo 'A library that lacks them is refused:'
cp build/lib/zel3reader.so other.so
configure -DBRICK_HOST_LIBRARY="$work/other.so" "$@"
refuse _ZN6CBrickC2Ev build
