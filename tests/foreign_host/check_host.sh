#!/usr/bin/env bash
# The check of a host's headers agrees with ours and with those of the foreign host, and reports what is changed in
# them.
#   check_host.sh SOURCES POINTER_SIZE COMPILER OPTION...
set -euo pipefail
sources=$1 pointer=$2
shift 2
foreign=$sources/tests/foreign_host/headers
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

check() { "${compile[@]}" -I "$1" "$sources/sdk/check_host.cpp" -o check_host && ./check_host; }
compile=("$@" -std=c++17 -D_GLIBCXX_USE_CXX11_ABI=0)

# The output of the check for headers in which one file is changed: tell FILE SED_EXPRESSION EXPECTED_LINE...
tell() {
  local file=$1 change=$2 status=0
  shift 2
  rm -rf changed
  cp -r "$foreign" changed
  sed -i -E "$change" "changed/$file"
  if cmp -s "changed/$file" "$foreign/$file"; then
    echo "nothing to change in $file: $change"
    return 1
  fi
  check changed >told || status=$?
  diff told <(printf '%s\n' "$@")
  [ "$status" = 1 ]
  sed 's/^/told: /' told
}

# The check does not compile with headers in which one file is changed: refuse FILE SED_EXPRESSION.
refuse() {
  rm -rf changed
  cp -r "$foreign" changed
  sed -i -E "$2" "changed/$1"
  if "${compile[@]}" -fsyntax-only -I changed "$sources/sdk/check_host.cpp" 2>errors; then
    echo "not refused: $1: $2"
    return 1
  fi
  grep -q 'check_host.cpp:.*error' errors
}

for headers in "$sources" "$foreign"; do
  [ "$(check "$headers")" = 'The headers agree with the plug-in.' ]
done
echo 'Both agree.'

tell brick_config.h 's/signature/spare/; s/ownerContext/signature/; s/spare/ownerContext/' \
  'TBrickConfig::ownerContext: offset 4, in the plug-in 0' \
  'TBrickConfig::signature: offset 0, in the plug-in 4'
tell brick_config.h 's/cacheFolder\[261]/cacheFolder[260]/' \
  'TBrickConfig: size 810, in the plug-in 811' \
  'TBrickConfig::cacheFolder: size 260, in the plug-in 261'
tell brick.h 's/onData/spare/; s/onNotify/onData/; s/spare/onNotify/' \
  'CBrick::onData: slot 20, in the plug-in 19' \
  'CBrick::onNotify: slot 19, in the plug-in 20'
tell brick.h 's/^( *)(BrickLinks\* mLinks;)/\1\2 int mMore;/' \
  "CBrick: size $((3 * pointer)), in the plug-in $((2 * pointer))"
tell brick.h 's/virtual (.*SendCmd.*)/virtual void SendUp(); virtual \1/' \
  'CBrick::SendCmd: slot 24, in the plug-in 23'
tell mem_block.h 's/unsigned refCount;/unsigned type;/; t; s/unsigned type;/unsigned refCount;/' \
  "cMemBlock::node::refCount: offset $((pointer + 4)), in the plug-in $pointer" \
  "cMemBlock::node::type: offset $pointer, in the plug-in $((pointer + 4))"
tell mem_block.h 's/(virtual ~node.*)/virtual void ends(); \1/' \
  'cMemBlock::node, destructor: slot 1, in the plug-in 0' \
  'cMemBlock::node, deleting destructor: slot 2, in the plug-in 1' \
  'cMemBlock::node::ref: slot 3, in the plug-in 2' \
  'cMemBlock::node::unref: slot 4, in the plug-in 3'
tell ini_file.h 's/mSelf\[14]/mSelf[15]/' \
  "CIniFile: size $((17 * pointer)), in the plug-in $((16 * pointer))"
tell critical_section.h 's/CCriticalSection\* mTaken;/& long mSince;/' \
  "CSingleLock: size $((2 * pointer)), in the plug-in $pointer"
if [ "$pointer" = 8 ]; then
  # The same size, but a smaller alignment.
  tell critical_section.h 's/unsigned long mWords.*/unsigned mWords[10];/' \
    'cMemBlock::node::lock: offset 20, in the plug-in 24'
else
  tell critical_section.h 's/4 \? 6/4 ? 7/' \
    'CCriticalSection: size 28, in the plug-in 24' \
    'cMemBlock::node: size 44, in the plug-in 40' \
    'cMemBlock::node::lock: size 28, in the plug-in 24'
fi

refuse brick_loader.h 's/unsigned long signature/unsigned signature/'
refuse ini_file.h 's/GetInt\(const std::string& key/GetInt(const char* key/'
refuse ini_file.h 's/EnableDefValsCreation/EnableDefaults/'
refuse critical_section.h 's/void Lock\(\)/bool Lock()/'
echo 'Other functions are refused.'

compile=("$@" -std=c++17 -D_GLIBCXX_USE_CXX11_ABI=1)
(check "$sources" || true) | grep "std::string: size .*, in the plug-in $pointer"
