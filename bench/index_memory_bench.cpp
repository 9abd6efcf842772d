#include <malloc.h>

#include <fstream>
#include <memory>
#include <string>

#include "bench.h"
#include "cache_files.h"
#include "indexer/zel3_indexer.h"

namespace {

// The memory of this process in bytes: "VmRSS:" what it holds, "VmHWM:" the most it has held.
double ProcessBytes(const std::string& figure) {
  std::ifstream status("/proc/self/status");
  std::string word;
  double kibibytes = 0;
  while (status >> word && word != figure) continue;
  status >> kibibytes;
  return kibibytes * 1024;
}

// Resets "VmHWM:".
void ForgetPeak() {
  std::ofstream("/proc/self/clear_refs") << 5;
}

Work LoadIndex(int entryCount) {
  return [=](benchmark::State& state) {
    const std::string stem = BenchFolder() + "/cam.";
    WriteCacheFiles(stem, EntriesFrom(kFirstTime, entryCount));
    const QString path = QString::fromStdString(stem + "zel3");
    for (auto _ : state) {
      cZel3Indexer index;
      malloc_trim(0);
      ForgetPeak();
      const double before = ProcessBytes("VmRSS:");
      const bool opened = index.Open_file(path, 1);
      const double held = ProcessBytes("VmRSS:") - before;
      const double peak = ProcessBytes("VmHWM:") - before;
      Expect(state, opened && index.Files()[0].id3Records.size() == entryCount,
             "nothing was loaded");
      state.counters["bytes_per_entry"] = held / entryCount;
      state.counters["peak_to_final"] = peak / held;
    }
  };
}

}  // namespace

void AddRows() {
  const int entryCount = Sized(10'000'000, 100'000);
  AddAlone("index_memory", std::to_string(entryCount), LoadIndex(entryCount));
}
