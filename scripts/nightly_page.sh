#!/usr/bin/env bash
# Prints the page about the last night, of what scripts/nightly.sh --report has left in FOLDER. Names no place of the
# machine.
#   scripts/nightly_page.sh FOLDER PART...
set -euo pipefail
export LC_ALL=C.UTF-8 TZ=UTC
folder=$1
shift

# Paths of the tree are told from its root, and all others not at all. What ends a block of text is left out.
without_places() {
  sed -E -e "s,$PWD/,,g" -e "s,(^|[^A-Za-z0-9_.~-])/[A-Za-z0-9_.~-][^][ '\"()<>,;:|]*,\\1...,g" -e '/^ *```/d' \
    -e 's/\x1b\[[0-9;]*[A-Za-z]//g'
}

# figures PART LINES: the last lines of a log.
figures() { grep -vxE "== $1|nightly: nothing found" "$folder/$1.log" | without_places | tail -n "$2"; }

state_of() {
  case $1 in
    0) echo sound ;;
    *) echo '**found something**' ;;
  esac
}

length() { printf '%d:%02d:%02d' $(($1 / 3600)) $(($1 / 60 % 60)) $(($1 % 60)); }

cat <<PAGE
# The last night

What [\`scripts/nightly.sh\`](../scripts/nightly.sh) has found, part by part, each when it last ran. The script writes this
page; [Reliability](reliability.md) says what the parts check, and [Performance](performance.md) what is measured.

The machine: $(sed -nE 's/^model name\s*: (.*)/\1/p' /proc/cpuinfo | head -1 | tr '|`' '  '), $(nproc) cores,
$(awk '$1 == "MemTotal:" { print int($2 / 1048576 + 0.5) }' /proc/meminfo) GiB of memory,
$(sed -nE 's/^PRETTY_NAME="(.*)"/\1/p' /etc/os-release), g++ $(g++ -dumpfullversion 2>/dev/null || echo none).

| part | when (UTC) | of | took | state |
|---|---|---|---|---|
PAGE
for part in "$@"; do
  if [ -e "$folder/$part.state" ]; then
    read -r started seconds status sources <"$folder/$part.state"
    echo "| $part | $(date -d "@$started" '+%F %H:%M') | \`$sources\` | $(length "$seconds") | $(state_of "$status") |"
  else
    echo "| $part | | | | not run |"
  fi
done

for part in "$@"; do
  [ -e "$folder/$part.state" ] || continue
  read -r _ _ status _ <"$folder/$part.state"
  # Of some parts the last lines say all.
  lines=40
  case $part in
    bench | peers) lines=150 ;;
    coverage) lines=3 ;;
    demo) lines=1 ;;
  esac
  [ "$status" = 0 ] || lines=60
  printf '\n## %s\n\n```\n%s\n```\n' "$part" "$(figures "$part" "$lines")"
done
