#include "indexer/entries_file.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

#include "indexer/entry_scan.h"
#include "indexer/header_cuts.h"

namespace {

constexpr IndexTime kIntervalWithoutSteps = 3000;
constexpr int kStepsForInterval = 5;

// Reads on until there is a portion of entries more, or `most` in all. The number of entries added.
// Throws std::bad_alloc.
int ReadPortion(PlainFile& file, int most, QVector<ZEL_ID3_REC>* entries) {
  const int before = entries->size();
  const int wanted = std::min(kEntriesPerRead, most - before);
  if (wanted < 1) return 0;
  entries->resize(before + wanted);
  const std::size_t got =
      file.Read(entries->data() + before, static_cast<std::size_t>(wanted) * sizeof(ZEL_ID3_REC));
  const int added = static_cast<int>(got / sizeof(ZEL_ID3_REC));
  entries->resize(before + added);
  return added;
}

// Memory used for the first time costs more than reading a file into it; by large pages, far less.
template <class Item>
void ReserveLargePages(QVector<Item>* items, int count) {
  items->reserve(count);
  constexpr std::uintptr_t kLargePage = 2 << 20;
  const auto begin = reinterpret_cast<std::uintptr_t>(items->data());
  const std::uintptr_t end = begin + static_cast<std::size_t>(count) * sizeof(Item);
  const std::uintptr_t first = (begin + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t last = end & ~(kLargePage - 1);
  // It is no more than advice: where it is not taken the pages are small ones.
  if (first < last) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

// The upper median of the first steps between entries; they may wrap where times run backwards.
IndexTime TypicalInterval(const QVector<ZEL_ID3_REC>& entries) {
  std::vector<IndexTime> steps;
  for (int i = 1; i < entries.size() && i <= kStepsForInterval; ++i) {
    steps.push_back(entries.at(i).time - entries.at(i - 1).time);
  }
  if (steps.empty()) return kIntervalWithoutSteps;
  std::sort(steps.begin(), steps.end());
  return steps[steps.size() / 2];
}

// Throws std::bad_alloc.
bool ReadEntries(PlainFile& file, sFile_Index_Store* store, EntryOrder* order) {
  const std::uint64_t count = file.Size() / sizeof(ZEL_ID3_REC);
  if (count < 1 || count > std::numeric_limits<int>::max() / sizeof(ZEL_ID3_REC)) return false;
  QVector<ZEL_ID3_REC>& entries = store->id3Records;
  QVector<FilePosition>& cuts = store->blockPositions;
  ReserveLargePages(&entries, static_cast<int>(count));
  // One more for the end position.
  ReserveLargePages(&cuts, static_cast<int>(count) + store->headerPositions.size() + 1);

  HeaderCuts headers(store->headerPositions);
  EntryScan scan;
  FilePosition positions[kEntriesPerRead];
  int added = 0;
  do {
    added = ReadPortion(file, static_cast<int>(count), &entries);
    // Positions from 4 GiB on wrap: the high bits are kept in the entry only.
    scan.Add(entries.constData() + entries.size() - added, added, positions);
    headers.AddCuts(positions, added, &cuts);
    // After a read that comes up short a record might begin anywhere.
  } while (added == kEntriesPerRead);
  if (entries.isEmpty()) return false;

  store->startTime = scan.Range().startTime;
  store->lastIndexTime = scan.Range().lastIndexTime;
  store->endTime = scan.Range().EndTime();
  store->indexInterval = TypicalInterval(entries);
  *order = scan.Order();
  return true;
}

}  // namespace

bool LoadEntries(PlainFile& file, sFile_Index_Store* store, EntryOrder* order) {
  try {
    if (ReadEntries(file, store, order)) return true;
  } catch (const std::bad_alloc&) {
    // Treated as absent.
  }
  store->id3Records = QVector<ZEL_ID3_REC>();
  store->blockPositions = QVector<FilePosition>();
  return false;
}

bool WriteEntries(PlainFile& file, const QVector<ZEL_ID3_REC>& entries) {
  return file.Write(entries.constData(),
                    static_cast<std::size_t>(entries.size()) * sizeof(ZEL_ID3_REC));
}
