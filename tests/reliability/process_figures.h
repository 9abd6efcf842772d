#pragma once

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "support/figure.h"
#include "support/sanitized.h"
#include "support/temp_folder.h"

// What this process uses of the machine.
struct ProcessFigures {
  std::int64_t residentBytes = 0;
  std::size_t openHandles = 0;
};

inline ProcessFigures MeasureProcess() {
  // Memory that is free within the process must not look like memory in use.
  malloc_trim(0);
  std::int64_t allPages = 0;
  std::int64_t residentPages = 0;
  std::ifstream("/proc/self/statm") >> allPages >> residentPages;
  return {residentPages * sysconf(_SC_PAGESIZE), EntryNames("/proc/self/fd").size()};
}

// Compares the process with what it was after its first rounds of the same work. A sanitizer keeps
// memory of its own, so there the memory is only reported.
inline void ExpectNoGrowthSince(const ProcessFigures& before, const std::string& name) {
  constexpr std::int64_t kMebibyte = 1'048'576;
  const ProcessFigures now = MeasureProcess();
  const std::int64_t growth = now.residentBytes - before.residentBytes;
  ReportFigure(name + ".resident_growth_bytes", growth);
  ReportFigure(name + ".open_handles", now.openHandles);
  EXPECT_EQ(now.openHandles, before.openHandles);
  if (kIsSanitized) return;
  EXPECT_LE(growth, kMebibyte);
  EXPECT_GE(growth, -kMebibyte);
}
