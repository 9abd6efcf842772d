#include "archive/entry_copy.h"

#include <algorithm>
#include <utility>

#include "archive/record_steps.h"
#include "system/interruption.h"

namespace {

constexpr std::uint64_t kCopiedAtOnce = 256 << 10;
// Between two cuts there is more than this only where a hole is many empty blocks.
constexpr std::uint64_t kLongStretch = 2 * kCopiedAtOnce;
static_assert(kCopiedAtOnce % sizeof(DATA_T) == 0);

}  // namespace

EntryCopy::EntryCopy(const PlainFile& file, const KeptIndex& index, CopyCounts* counts,
                     OnBytes onBytes)
    : mFile(file),
      mIndex(index),
      mCounts(counts),
      mOnBytes(std::move(onBytes)),
      mWindow(file),
      mIsDamaged(index.Count()) {}

void EntryCopy::Copy(std::size_t first, std::size_t end) {
  if (first >= end) return;
  if (first == 0) {
    CopyFront();
  } else {
    CopyHeaderFor(first);
  }
  for (std::size_t entry = first; entry < end; ++entry) {
    interruption::Check();
    if (entry > first && mIndex.HeaderFor(entry) != mHeader) CopyHeaderAfterDamage(entry);
    CopyEntry(entry);
  }
  Flush();
}

// What stands before the first entry, from the first header there on.
void EntryCopy::CopyFront() {
  const FilePosition end = mIndex.PositionOf(0);
  const bool beginsWithHeader = mIndex.HeaderFor(0) && HeaderAt(mFile, mIndex.Headers().front());
  if (!beginsWithHeader) {
    mCounts->lostBytes += end;
    CopyHeaderAfterDamage(0);
    return;
  }
  const FilePosition first = mIndex.Headers().front();
  mCounts->lostBytes += first;
  bool isUndeclared = false;
  const bool isWhole = CopyStretch(first, end, &isUndeclared);
  if (isWhole && isUndeclared) ++mCounts->undeclaredEntries;
  if (!isWhole && mIndex.HeaderFor(0) != mHeader) CopyHeaderAfterDamage(0);
}

// A header among bytes that made no sense was passed over, and counted as lost, with them.
void EntryCopy::CopyHeaderAfterDamage(std::size_t entry) {
  const FilePosition before = mTo;
  CopyHeaderFor(entry);
  if (mTo != before) mCounts->lostBytes -= mTo - mHeader.value_or(mTo);
}

void EntryCopy::CopyHeaderFor(std::size_t entry) {
  const std::optional<FilePosition> position = mIndex.HeaderFor(entry);
  if (position && position == mHeader) return;
  const auto header = position ? HeaderAt(mFile, *position) : std::nullopt;
  if (!header) {
    mCounts->hasNoHeader = true;
    mKnown.reset();
    return;
  }
  UseHeader(*position, *header);
  Add(*position, *position + SizeOfHeaderRecord(header->length));
}

void EntryCopy::CopyEntry(std::size_t entry) {
  const FilePosition from = mIndex.PositionOf(entry);
  const FilePosition to = EndOf(entry);
  if (!StartsWithItsRecord(entry)) {
    NoteDamage(entry);
    mCounts->lostBytes += to - from;
    return;
  }
  bool isUndeclared = false;
  ++mCounts->entries;
  if (!CopyStretch(from, to, &isUndeclared)) {
    NoteDamage(entry);
  } else if (isUndeclared) {
    ++mCounts->undeclaredEntries;
  }
}

FilePosition EntryCopy::EndOf(std::size_t entry) const {
  const FilePosition end = entry + 1 < mIndex.Count() ? mIndex.PositionOf(entry + 1) : mFile.Size();
  return std::max(mIndex.PositionOf(entry), std::min<FilePosition>(end, mFile.Size()));
}

bool EntryCopy::StartsWithItsRecord(std::size_t entry) {
  RecordSteps steps(mFile, &mWindow, mIndex.PositionOf(entry), mFile.Size());
  const RecordSteps::Record record = steps.Next();
  return record.kind == RecordSteps::Kind::kIndex &&
         ToArchiveTime(record.index.time) == mIndex.TimeOf(entry);
}

bool EntryCopy::CopyStretch(FilePosition from, FilePosition to, bool* isUndeclared) {
  const bool isLast = to == mFile.Size();
  const std::optional<FilePosition> headerBefore = mHeader;
  const std::optional<KnownTypes> knownBefore = mKnown;
  std::vector<FilePosition> cuts{from};  // between records, about a portion apart
  std::optional<FilePosition> undeclared;
  RecordSteps steps(mFile, &mWindow, from, to);
  FilePosition wholeUpTo = from;
  for (;;) {
    const RecordSteps::Record record = steps.Next();
    const auto header =
        record.kind == RecordSteps::Kind::kHeader ? HeaderAt(mFile, record.position) : std::nullopt;
    const bool isHeader = record.kind == RecordSteps::Kind::kHeader;
    // Zeros are not data of stream 0 unless that has been declared.
    const bool isNothing = record.isZeros && (!mKnown || !(*mKnown)[0]);
    const bool isUnknown = record.type && mKnown && !(*mKnown)[*record.type];
    const bool isWhole = record.size > 0 && (!isHeader || header) && !isNothing;
    if (!isWhole) {
      const bool isAtEnd = record.kind == RecordSteps::Kind::kEnd;
      const bool isCutOff =
          isLast && record.kind == RecordSteps::Kind::kCutOff && !undeclared && !isUnknown;
      if (!isAtEnd && undeclared) wholeUpTo = *undeclared;
      *isUndeclared = isAtEnd && undeclared;
      cuts.erase(std::remove_if(cuts.begin(), cuts.end(),
                                [=](FilePosition cut) { return cut > wholeUpTo; }),
                 cuts.end());
      cuts.push_back(wholeUpTo);
      if (mHeader && *mHeader >= wholeUpTo) {
        mHeader = headerBefore;
        mKnown = knownBefore;
      }
      for (std::size_t i = 1; i < cuts.size(); ++i) Add(cuts[i - 1], cuts[i]);
      (isCutOff ? mCounts->cutOffBytes : mCounts->lostBytes) += to - wholeUpTo;
      return isAtEnd || isCutOff;
    }
    if (header) UseHeader(record.position, *header);
    if (isUnknown && !undeclared) undeclared = record.position;
    if (record.size > kCopiedAtOnce) cuts.push_back(record.position);
    wholeUpTo = record.position + record.size;
    if (wholeUpTo - cuts.back() >= kCopiedAtOnce) cuts.push_back(wholeUpTo);
  }
}

void EntryCopy::UseHeader(FilePosition position, const ArchiveHeader& header) {
  mHeader = position;
  mKnown = TypesKnownBy(header);
}

void EntryCopy::Add(FilePosition from, FilePosition to) {
  for (; to - from > kLongStretch; from += kCopiedAtOnce) Add(from, from + kCopiedAtOnce);
  if (from != mTo) {
    Flush();
    mFrom = from;
  }
  mTo = to;
  if (mTo - mFrom >= kCopiedAtOnce) Flush();
}

void EntryCopy::Flush() {
  const auto size = static_cast<std::size_t>(mTo - mFrom);
  mPortion.resize(size);
  bool failed = false;
  const bool isRead = mFile.ReadAt(mFrom, mPortion.data(), size, &failed) == size;
  if (isRead && size > 0) mOnBytes(mPortion.data(), size);
  if (!isRead) CopyReadableRecords(mFrom, mTo);
  mFrom = mTo;
}

void EntryCopy::CopyReadableRecords(FilePosition from, FilePosition to) {
  RecordSteps steps(mFile, from, to);
  for (RecordSteps::Record record = steps.Next(); record.size > 0; record = steps.Next()) {
    interruption::Check();
    mPortion.resize(static_cast<std::size_t>(record.size));
    bool failed = false;
    const bool isRead =
        mFile.ReadAt(record.position, mPortion.data(), mPortion.size(), &failed) == mPortion.size();
    if (isRead) {
      mOnBytes(mPortion.data(), mPortion.size());
    } else {
      NoteUnreadable(record.position, record.size);
    }
    from = record.position + record.size;
  }
  if (from < to) NoteUnreadable(from, to - from);
}

void EntryCopy::NoteDamage(std::size_t entry) {
  if (!mIsDamaged[entry]) ++mCounts->damagedEntries;
  mIsDamaged[entry] = true;
}

void EntryCopy::NoteUnreadable(FilePosition position, std::uint64_t size) {
  mCounts->lostBytes += size;
  std::size_t entry = 0;
  for (std::size_t end = mIndex.Count(); entry < end;) {
    const std::size_t middle = entry + (end - entry) / 2;
    if (mIndex.PositionOf(middle) <= position) {
      entry = middle + 1;
    } else {
      end = middle;
    }
  }
  if (entry > 0) NoteDamage(entry - 1);
}
