#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/lookup_answer.h"

struct PlainStore {
  std::string name;
  std::uint32_t start;
  std::uint32_t end;
  bool partial;
  std::vector<std::uint32_t> times;
};

// Filing and lookups, written as plainly as possible, to compare the indexer with. Times are index
// times except where a lookup is asked or answers.
class PlainTimeIndex {
 public:
  void File(const PlainStore& file);
  Answer Find(std::uint64_t time, Ask ask) const;

  const std::vector<PlainStore>& Files() const { return mFiles; }

 private:
  bool IsEmpty(int file) const { return mFiles[static_cast<std::size_t>(file)].times.empty(); }
  int LastEntry(int file) const;
  std::uint64_t Start(int file) const;
  std::uint64_t End(int file) const;
  std::uint64_t Time(int file, int entry) const;

  Answer FindInFile(int file, std::uint64_t time, Ask ask) const;
  Answer FindInGap(std::uint64_t time, Ask ask) const;
  Answer LastEntryBefore(int file) const;
  Answer FirstEntryAfter(int file) const;

  std::vector<PlainStore> mFiles;
  std::uint32_t mFirst = 0;
  std::uint32_t mLast = 0;
};
