#!/usr/bin/env bash
# Measures this system against what the machine must do anyway and prints tables.
#   scripts/bench.sh [--smoke] [--row REGEX] [--repetitions N] [PRESET...]
#   scripts/bench.sh --peers [--smoke] [--row REGEX] [--repetitions N]
# --smoke measures small sizes once, to show that everything works, not how fast. --row measures only the rows whose
# names match. The builds are i386 and native, or the presets given. --peers only measures against other libraries, in
# the native build, if their packages are installed. Programs stay in build/PRESET/bin, results in build/bench.
set -euo pipefail
cd "$(dirname "$0")/.."

rows=.
repetitions=9
peers=no
presets=()
while [ $# -gt 0 ]; do
  case $1 in
    --smoke) export ZEL3_BENCH_SMOKE=1; repetitions=1 ;;
    --row) rows=$2; shift ;;
    --repetitions) repetitions=$2; shift ;;
    --peers) peers=yes ;;
    *) presets+=("$1") ;;
  esac
  shift
done
if [ "$peers" = yes ]; then
  [ "${#presets[@]}" = 0 ] || { echo "bench: --peers measures the native build" >&2; exit 2; }
  presets=(native)
  if ! pkg-config --exists libavformat libavcodec libavutil sqlite3; then
    echo "bench: nothing measured; --peers needs" \
         "apt-get install libavformat-dev libavcodec-dev libavutil-dev libsqlite3-dev" >&2
    exit 0
  fi
elif [ "${#presets[@]}" = 0 ]; then
  presets=(native)
  [ -e /usr/lib/i386-linux-gnu/libQt5Core.so.5 ] && presets=(i386 native)
fi

# Fetches the sources of the packaged benchmark library from the archive that this machine's packages come from.
fetch_library() {
  local fetched=$PWD/build/bench/fetched
  mkdir -p "$fetched/parts" "$fetched/lists/partial"
  { cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources 2>/dev/null || true; } |
    awk '/^URIs:/ { uri = $2 } /^Suites:/ && $2 == "bookworm" { print "deb-src", uri, "bookworm main" }
         /^deb / { for (i = 2; i < NF; ++i) if ($(i + 1) == "bookworm") print "deb-src", $i, "bookworm main" }' |
    head -1 >"$fetched/parts/sources.list"
  local options=(-o Dir::Etc::SourceList=/dev/null -o "Dir::Etc::SourceParts=$fetched/parts"
                 -o "Dir::State::Lists=$fetched/lists")
  (cd "$fetched" && apt-get "${options[@]}" update && apt-get "${options[@]}" source --download-only benchmark) \
    >build/bench/fetch.log 2>&1 || { cat build/bench/fetch.log; exit 1; }
  tar -x -f "$fetched"/benchmark_*.orig.tar.gz -C build
}

# Where the programs put their files: in memory, if there is room.
memory_folder() {
  local free_kibibytes
  free_kibibytes=$(df --output=avail /dev/shm 2>/dev/null | tail -1)
  if [ "${free_kibibytes:-0}" -gt 4000000 ]; then echo /dev/shm; else echo "${TMPDIR:-/tmp}"; fi
}

# One result in the format of the library: result ROW WHOSE MILLISECONDS, or figure ROW NAME VALUE.
result() { printf '{"run_name": "%s/%s", "cpu_time": %s, "time_unit": "ms"},\n' "$1" "$2" "$3"; }
figure() { printf '{"run_name": "%s/ours", "cpu_time": 0, "time_unit": "ms", "%s": %s},\n' "$1" "$2" "$3"; }

# median_milliseconds COUNT COMMAND...: the median time of COUNT runs of a command.
median_milliseconds() {
  local count=$1 start i
  shift
  for ((i = 0; i < count; ++i)); do
    start=${EPOCHREALTIME/./}
    "$@" >/dev/null
    echo $((${EPOCHREALTIME/./} - start))
  done | sort -n | awk '{ taken[NR] = $1 } END { print taken[int((NR + 1) / 2)] / 1000 }'
}

# conversation_calls PROGRAM ARCHIVE COUNT REQUEST: how many system calls a conversation of COUNT requests takes. An
# additional first request opens the stream of bytes.
conversation_calls() {
  local program=$1 archive=$2 count=$3 request=$4
  { echo "$first_request"; for ((i = 0; i < count; ++i)); do echo "$request"; done; } |
    strace -f -c -U calls,name -o "$work/calls" "$program" console "$archive" >/dev/null
  awk '$2 == "total" { calls += $1 } END { print calls }' "$work/calls"
}

# measure_program PRESET: the start of the program, and the system calls of requests, with an archive of a day.
measure_program() {
  local program=build/$1/bin/zel3 folder=$work/program archive calls request
  local time='"time":1714564800000' first_request='{"cmd":"CRq3","time":1714564800000,"type":1}'
  mkdir "$folder"
  "$program" make "$folder" --files 1 --length "$length" --start 2024-05-01 --interval 1s --payload 100 >/dev/null
  archive=$(echo "$folder"/*.zel3)
  "$program" index "$archive" >/dev/null 2>&1
  result program_start.seek/86400 baseline "$(median_milliseconds "$runs" stat "$archive")"
  result program_start.seek/86400 ours \
    "$(median_milliseconds "$runs" "$program" seek "$archive" 2024-05-01T12:00:00Z)"
  if command -v strace >/dev/null; then
    for request in "$first_request" "{\"cmd\":\"PCR3\",\"indexId\":3000,$time}"; do
      calls=$(($(conversation_calls "$program" "$archive" $((2 * requests)) "$request") -
               $(conversation_calls "$program" "$archive" "$requests" "$request")))
      figure "system_calls.${request:8:4}/1" calls "$(awk "BEGIN { print $calls / $requests }")"
    done
  fi
  rm -r "$folder"
}

# timed ROW WHOSE COMMAND...: how long a command takes.
timed() {
  local row=$1 whose=$2 start
  shift 2
  start=${EPOCHREALTIME/./}
  "$@" >/dev/null
  result "$row" "$whose" "$(awk "BEGIN { print $((${EPOCHREALTIME/./} - start)) / 1000 }")"
}

# index_anew PRESET ROW ARCHIVES CACHES OPTION...: the time to index a folder that has no indexes. CACHES is where they
# go: the cache folder or ARCHIVES itself.
index_anew() {
  local program=build/$1/bin/zel3 row=$2 archives=$3 caches=$4
  shift 4
  find "$caches" -type f ! -name '*.zel3' -delete
  timed "$row" ours "$program" index "$archives" "$@"
}

# make_archives PRESET FOLDER COUNT: makes small archives of ten entries.
make_archives() {
  "build/$1/bin/zel3" make "$2" --files "$3" --length "${3}0s" --interval 1s --payload 300 >/dev/null
}

# measure_indexing PRESET: indexing many small archives, with the indexes beside them on a disk and in one cache folder.
measure_indexing() {
  local folder disk size round row time_taken
  disk=$(mktemp -d "$PWD/build/bench/disk-XXXXXX")
  folder=$disk/archives
  make_archives "$1" "$folder" "$indexed_files"
  "build/$1/bin/zel3" index "$folder" >/dev/null
  cp -r "$folder" "$disk/indexed"
  for ((round = 0; round < indexing_rounds; ++round)); do
    mkdir "$disk/saved"
    time_taken=$("build/$1/bin/save_files" "$disk/indexed" "$disk/saved")
    rm -r "$disk/saved"
    for row in one_process two_processes; do result "index_files.$row/$indexed_files" baseline "$time_taken"; done
    index_anew "$1" "index_files.one_process/$indexed_files" "$folder" "$folder"
    index_anew "$1" "index_files.two_processes/$indexed_files" "$folder" "$folder" -j 2
  done
  rm -r "$disk"
  for size in $((indexed_files / 10)) "$indexed_files"; do
    make_archives "$1" "$work/$size" "$size"
    mkdir "$work/caches"
    for ((round = 0; round < indexing_rounds; ++round)); do
      index_anew "$1" "index_cache_folder/$size" "$work/$size" "$work/caches" --cache-folder "$work/caches"
    done
    rm -r "${work:?}/$size" "$work/caches"
  done
}

# measure_cut PRESET: all of a day as one archive, after copies of its files.
measure_cut() {
  local program=build/$1/bin/zel3 day=$work/day round
  "$program" make "$day" --files 8 --length 1d --payload "$cut_payload" >/dev/null
  "$program" index "$day" >/dev/null 2>&1
  mkdir "$work/copy"
  for ((round = 0; round < cut_rounds; ++round)); do
    timed cut/8 baseline cp "$day"/*.zel3 "$work/copy"
    rm "$work/copy"/*
    timed cut/8 ours "$program" cut "$day" 0 2100-01-01 -o "$work/copy/cut.zel3"
    rm "$work/copy"/*
  done
  rm -r "$day" "$work/copy"
}

mkdir -p build/bench
library=build/benchmark-1.7.1
[ -d "$library" ] || fetch_library
[ -d "$library" ] || { echo "bench: the packaged library is not version 1.7.1" >&2; exit 1; }

work=$(mktemp -d "$(memory_folder)/bench-XXXXXX")
trap 'rm -rf "$work" build/bench/disk-*' EXIT
export TMPDIR=$work XDG_CONFIG_HOME=$work

export XDG_CACHE_HOME=$work
runs=15
requests=1000
length=24h
indexed_files=5000
indexing_rounds=$((repetitions < 5 ? repetitions : 5))
cut_payload=100000
cut_rounds=$repetitions
if [ -n "${ZEL3_BENCH_SMOKE:-}" ]; then
  runs=1
  requests=10
  length=13h
  indexed_files=100
  cut_payload=1000
fi
failed=no
for preset in "${presets[@]}"; do
  results=build/bench/$preset
  rm -rf "$results"
  mkdir -p "$results"
  log=$results/build.log
  options=(-DZEL3_BENCHMARK_DIR="$PWD/$library" -DZEL3_BENCH_PEERS="$peers")
  cmake --preset "$preset" "${options[@]}" >"$log" 2>&1 || { cat "$log"; exit 1; }
  targets=(benchmarks zel3 zel3reader zel3parser)
  sources=(bench/*_bench.cpp)
  if [ "$peers" = yes ]; then
    targets=(peers_bench zel3parser)
    sources=(bench/peers_bench.cpp)
  fi
  cmake --build --preset "$preset" --target "${targets[@]}" >"$log" 2>&1 || { cat "$log"; exit 1; }
  for source in "${sources[@]}"; do
    name=$(basename "$source" .cpp)
    if [ "$name" = peers_bench ] && [ "$peers" = no ]; then continue; fi
    build/$preset/bin/$name --benchmark_filter="$rows" --benchmark_list_tests 2>/dev/null | grep -q / || continue
    echo "bench: $preset $name" >&2
    "build/$preset/bin/$name" --benchmark_filter="$rows" --benchmark_repetitions="$repetitions" \
      --benchmark_enable_random_interleaving=true --benchmark_min_time=0.05 \
      --benchmark_out="$results/$name.json" --benchmark_out_format=json >"$results/$name.log" 2>&1 ||
      { cat "$results/$name.log"; failed=yes; }
  done
  if [ "$peers" = no ] && [[ program_start.seek/86400 =~ $rows || system_calls =~ $rows ]]; then
    echo "bench: $preset program" >&2
    { echo '{"benchmarks": ['; measure_program "$preset" | sed '$ s/,$//'; echo ']}'; } >"$results/program.json"
  fi
  if [ "$peers" = no ] && [[ index_files.one_process/5000 =~ $rows || index_files.two_processes/5000 =~ $rows ||
                             index_cache_folder/5000 =~ $rows ]]; then
    echo "bench: $preset indexing" >&2
    { echo '{"benchmarks": ['; measure_indexing "$preset" | sed '$ s/,$//'; echo ']}'; } >"$results/indexing.json"
  fi
  if [ "$peers" = no ] && [[ cut/8 =~ $rows ]]; then
    echo "bench: $preset cut" >&2
    { echo '{"benchmarks": ['; measure_cut "$preset" | sed '$ s/,$//'; echo ']}'; } >"$results/cut.json"
  fi
done
scripts/bench_table.py "${presets[@]/#/build/bench/}"
[ "$failed" = no ]
