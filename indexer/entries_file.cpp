#include "indexer/entries_file.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>

#include "indexer/entry_scan.h"
#include "indexer/file_cuts.h"

namespace {

constexpr IndexTime kIntervalWithoutSteps = 3000;
constexpr int kStepsForInterval = 5;

// Has the system provide pages for memory that is about to be filled: all at once costs far less
// than one by one as each is touched. A system that does not know the call still provides them one
// by one.
void ProvidePages(void* memory, std::size_t size) {
  constexpr int kPopulateWrite = 23;  // MADV_POPULATE_WRITE, which older headers lack
  constexpr std::uintptr_t kPage = 4096;
  const auto begin = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t inPage = begin & (kPage - 1);
  madvise(reinterpret_cast<void*>(begin - inPage), size + inPage, kPopulateWrite);
}

// Reads one more portion of entries, or as many as make `most` in all. Returns how many it added.
// REQUIRES: there is room for `most`.
int ReadPortion(PlainFile& file, int most, QVector<ZEL_ID3_REC>* entries) {
  const int before = entries->size();
  const int wanted = std::min(kEntriesPerRead, most - before);
  if (wanted < 1) return 0;
  const std::size_t size = static_cast<std::size_t>(wanted) * sizeof(ZEL_ID3_REC);
  // Memory for few entries is mostly reused, and its pages are there already.
  if (most > kEntriesPerRead) ProvidePages(entries->data() + before, size);
  entries->resize(before + wanted);
  const std::size_t got = file.Read(entries->data() + before, size);
  const int added = static_cast<int>(got / sizeof(ZEL_ID3_REC));
  entries->resize(before + added);
  return added;
}

// The upper median of the first steps between entries; they may wrap where times run backwards.
IndexTime TypicalInterval(const QVector<ZEL_ID3_REC>& entries) {
  IndexTime steps[kStepsForInterval];
  const int count = std::min(entries.size() - 1, kStepsForInterval);
  if (count < 1) return kIntervalWithoutSteps;
  for (int i = 0; i < count; ++i) steps[i] = entries.at(i + 1).time - entries.at(i).time;
  std::sort(steps, steps + count);
  return steps[count / 2];
}

// Throws std::bad_alloc.
bool ReadEntries(PlainFile& file, sFile_Index_Store* store, EntryOrder* order) {
  const std::uint64_t count = file.Size() / sizeof(ZEL_ID3_REC);
  if (count < 1 || count > std::numeric_limits<int>::max() / sizeof(ZEL_ID3_REC)) return false;
  QVector<ZEL_ID3_REC>& entries = store->id3Records;
  entries.reserve(static_cast<int>(count));
  EntryScan scan;
  int added = 0;
  do {
    added = ReadPortion(file, static_cast<int>(count), &entries);
    scan.Add(entries.constData() + entries.size() - added, added);
    // After a read that comes up short a record might begin anywhere.
  } while (added == kEntriesPerRead);
  if (entries.isEmpty()) return false;

  CutAtEntries(store, scan.Order().positionsAscend);
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
  store->impliedCuts = ImpliedCuts();
  store->blockPositions = QVector<FilePosition>();
  return false;
}

bool WriteEntries(PlainFile& file, const QVector<ZEL_ID3_REC>& entries) {
  return file.Write(entries.constData(),
                    static_cast<std::size_t>(entries.size()) * sizeof(ZEL_ID3_REC));
}
