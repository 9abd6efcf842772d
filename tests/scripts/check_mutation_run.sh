#!/usr/bin/env bash
# A mutation run over a project of a few lines: its report, and that it goes on where it was.
#   check_mutation_run.sh PYTHON SOURCES
set -euo pipefail
python=$1 sources=$2
# Not in /tmp, which the tests of a change have for themselves.
folder=$(mktemp -d -p "$PWD")
trap 'rm -rf "$folder"' EXIT
cd "$folder"

mkdir -p scripts indexer reader tests/{indexer,reader,support}
cp "$sources/scripts/mutate.py" scripts
cat >scripts/mutants_accepted.txt <<'END'
# Nobody sees it.
reader/age.cpp: int unused() { return 3; } => int unused() { return 4; }
END
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(few_lines LANGUAGES CXX)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
add_library(zel3reader SHARED reader/age.cpp)
add_custom_target(zel3parser)
add_executable(indexer_tests tests/indexer/tests.cpp)
target_link_libraries(indexer_tests zel3reader)
add_executable(reader_tests tests/reader/tests.cpp)
target_link_libraries(reader_tests zel3reader)
END
cat >indexer/limits.h <<'END'
inline int limit() { return 18; }
END
cat >reader/age.cpp <<'END'
#include "../indexer/limits.h"
bool grown(int age) { return age >= limit(); }
int twice(int age) { return age * 2; }
int* none() { return 0; }
int unused() { return 3; }
END
cat >tests/reader/tests.cpp <<'END'
#include <cstdio>
bool grown(int age);
int main() {
  std::puts("[ RUN      ] Age.Grown");
  std::fflush(stdout);
  return grown(18) && !grown(17) ? 0 : 1;
}
END
echo 'int main() {}' >tests/indexer/tests.cpp

# mutate STATUS [OPTION...]: runs it, and checks how it ends.
mutate() {
  local status=0
  "$python" scripts/mutate.py "${@:2}" >printed || status=$?
  [ "$status" = "$1" ] || { echo "ended with $status"; cat printed; exit 1; }
}
# Blanks in a row are one, and the time that was taken is left out.
plain() { sed -E '/^[0-9]+ s$/d; s/ +/ /g; s/ $//' printed; }
# expect: holds what was printed against the standard input; expect_begin only the first line.
expect() { diff - <(plain); }
expect_begin() { diff - <(plain | head -1); }

echo 'Nothing is known before the first run:'
mutate 0 --report reader/age.cpp
expect <<'END'
 killed survived accepted does not compile not judged share killed
reader/age.cpp 0 0 0 0 5
all 0 0 0 0 5
END

echo 'A run judges all, and reports:'
mutate 1 --jobs 1
expect <<'END'
6 mutants, 6 of them to judge
reader/age.cpp:3
reader/age.cpp: int twice(int age) { return age * 2; } => int twice(int age) { return age * 3; }
reader/age.cpp:3
reader/age.cpp: int twice(int age) { return age * 2; } => int twice(int age) { return age + 2; }
 killed survived accepted does not compile not judged share killed
reader/age.cpp 1 2 1 1 0 33.3 %
indexer/limits.h 1 0 0 0 0 100.0 %
all 2 2 1 1 0 50.0 %
END
plain >first

echo 'The next one has nothing left to do, and says the same:'
mutate 1
expect_begin <<<'6 mutants, 0 of them to judge'
diff <(plain | tail -n +2) <(tail -n +2 first)

echo 'One that was killed while it wrote goes on with the change it was at:'
head -c -9 build/mutants/judged.jsonl >cut
mv cut build/mutants/judged.jsonl
mutate 1
expect_begin <<<'6 mutants, 1 of them to judge'

echo 'One that is killed at any time keeps what it had:'
rm build/mutants/judged.jsonl
"$python" scripts/mutate.py --jobs 1 >printed &
run=$!
until [ -s build/mutants/judged.jsonl ]; do sleep 0.01; done
kill -KILL "$run"
wait "$run" 2>/dev/null || true
kept=$(grep -c verdict build/mutants/judged.jsonl)
mutate 1
expect_begin <<<"6 mutants, $((6 - kept)) of them to judge"

echo 'When the tests change, survivors are judged anew:'
sed -i 's/grown(17)/grown(17) \&\& twice(3) == 6/; s/^bool grown/int twice(int age);\n&/' tests/reader/tests.cpp
mutate 0
expect <<'END'
6 mutants, 3 of them to judge
 killed survived accepted does not compile not judged share killed
reader/age.cpp 3 0 1 1 0 100.0 %
indexer/limits.h 1 0 0 0 0 100.0 %
all 4 0 1 1 0 100.0 %
END

echo 'When only comments change, none is:'
echo '// A remark.' | tee -a tests/reader/tests.cpp >>reader/age.cpp
mutate 0
expect_begin <<<'6 mutants, 0 of them to judge'

echo 'When the code of a file changes, all of its changes are, and only these:'
echo 'int more();' >>reader/age.cpp
mutate 0 --report
expect <<'END'
 killed survived accepted does not compile not judged share killed
reader/age.cpp 0 0 0 0 5
indexer/limits.h 1 0 0 0 0 100.0 %
all 1 0 0 0 5 100.0 %
END
mutate 0
expect_begin <<<'6 mutants, 5 of them to judge'
