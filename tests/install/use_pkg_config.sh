#!/usr/bin/env bash
# What pkg-config answers is all that a compiler needs.
#   use_pkg_config.sh COMPILER LIBRARIES QT_LIBRARY
# The 32-bit run-time package of Qt has no link for the linker; one of its own lets both builds be tested.
set -euo pipefail
read -ra compiler <<<"$1"
libraries=$2 qt_library=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export PKG_CONFIG_PATH=$libraries/pkgconfig

ln -s "$qt_library" libQt5Core.so
cat >brick.cpp <<'SOURCE'
#include <sdk/brick.h>
#include <blocks/notifications.h>

class Brick : public CBrick {};

int main() { return Brick().HasNextBrick() ? 1 : EventListBlock::New().Record().events.size(); }
SOURCE
read -ra flags < <(pkg-config --cflags zel3-brick-sdk)
read -ra links < <(pkg-config --libs zel3-brick-sdk)
"${compiler[@]}" "${flags[@]}" brick.cpp -o brick -L. "${links[@]}"
LD_LIBRARY_PATH=$libraries ./brick
