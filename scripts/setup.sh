#!/usr/bin/env bash
# Installs what building and testing need on a Debian 12 machine (amd64). Safe to run again: does nothing when
# everything is there. If the 32-bit packages cannot be installed the project still builds in 64 bits; with
# --require-i386 that is a failure. --night: also what only scripts/nightly.sh needs, to measure against other libraries.
#   scripts/setup.sh [--require-i386] [--night]
set -euo pipefail

require_i386=no
night=no
for argument in "$@"; do
  case $argument in
    --require-i386) require_i386=yes ;;
    --night) night=yes ;;
  esac
done

packages=(
  g++ g++-multilib clang libclang-rt-dev clang-format clang-tidy cmake ninja-build valgrind binutils git ca-certificates
  qtbase5-dev googletest gcovr libcli11-dev nlohmann-json3-dev libfmt-dev libedit-dev libutf8proc-dev
  zsh fish scdoc groff-base pkgconf dpkg-dev fakeroot lintian file tzdata
  chromium fonts-dejavu-core jq python3-cram python3-jsonschema
)
night_packages=()
[ "$night" = no ] || night_packages=(strace libavformat-dev libavcodec-dev libavutil-dev libsqlite3-dev)
# Any recent Node.js will do.
command -v npm >/dev/null || packages+=(nodejs npm)
i386_packages=(libqt5core5a:i386 libutf8proc2:i386)

installed() {
  local package
  for package in "$@"; do
    dpkg-query --show --showformat='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || return 1
  done
}

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# One release for both architectures: otherwise no version of Qt would fit both while the list of security updates for
# i386 is missing.
install() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends -t bookworm "$@"
}

if installed "${packages[@]}" "${i386_packages[@]}" "${night_packages[@]}"; then exit 0; fi

as_root dpkg --add-architecture i386
as_root apt-get update || echo "setup: some package lists could not be fetched; continuing with the others" >&2
install "${packages[@]}"
[ "$night" = no ] || install "${night_packages[@]}" ||
  echo "setup: other libraries could not be installed; nothing is measured against them" >&2
if ! install "${i386_packages[@]}"; then
  cat >&2 <<'MESSAGE'
*******************************************************************************
setup: the 32-bit packages could not be installed.
The shipping 32-bit build is left out; only the 64-bit build can be made here.
*******************************************************************************
MESSAGE
  [ "$require_i386" = no ] || exit 1
fi
