#include <cstdlib>

#include "bench.h"

int main(int argc, char** argv) {
  // The settings of whoever runs the benchmarks are neither read nor written.
  setenv("XDG_CONFIG_HOME", BenchFolder().c_str(), 1);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  AddRows();
  benchmark::RunSpecifiedBenchmarks();
  KeptFixtures().clear();
  benchmark::Shutdown();
  return 0;
}
