#include "bench.h"

#include <cstdlib>
#include <utility>

#include "support/temp_folder.h"

namespace {

void Add(const std::string& name, Work work) {
  benchmark::RegisterBenchmark(name.c_str(), std::move(work))->Unit(benchmark::kMicrosecond);
}

}  // namespace

void AddPair(const std::string& row, const std::string& size, Work baseline, Work ours) {
  Add(row + "/" + size + "/baseline", std::move(baseline));
  AddAlone(row, size, std::move(ours));
}

void AddAlone(const std::string& row, const std::string& size, Work ours) {
  Add(row + "/" + size + "/ours", std::move(ours));
}

int Sized(int full, int small) {
  static const bool isSmoke = std::getenv("ZEL3_BENCH_SMOKE") != nullptr;
  return isSmoke ? small : full;
}

void Expect(benchmark::State& state, bool right, const char* what) {
  if (!right) state.SkipWithError(what);
}

const std::string& BenchFolder() {
  static const TempFolder folder;
  return folder.Path();
}

std::vector<std::shared_ptr<void>>& KeptFixtures() {
  static std::vector<std::shared_ptr<void>> fixtures;
  return fixtures;
}
