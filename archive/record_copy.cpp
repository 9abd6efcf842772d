#include "archive/record_copy.h"

#include <algorithm>
#include <utility>

#include "archive/record_steps.h"
#include "system/file_data.h"
#include "system/interruption.h"

namespace {

constexpr std::uint64_t kRecordsBetweenLooks = 65536;  // whether the user interrupts

// Larger pieces would not be written faster.
constexpr std::uint64_t kWorthWriting = 64 << 10;

// A range that is longer is nothing but empty blocks in a hole of the file.
constexpr std::uint64_t kLongRange = 2 * SoundStretch::kBytesBetweenCuts;
static_assert(SoundStretch::kBytesBetweenCuts % sizeof(DATA_T) == 0);

// Calls `use` with each range of wanted records that follow each other.
template <class Use>
void ForEachWanted(const PlainFile& file, const SoundStretch& stretch, const KnownTypes& types,
                   Use use) {
  FilePosition from = stretch.from;
  FilePosition to = stretch.from;
  const auto useUp = [&](FilePosition next) {
    if (from < to) use(from, to);
    from = to = next;
  };
  std::uint64_t count = 0;
  RecordSteps steps(file, stretch.from, stretch.wholeTo);
  for (RecordSteps::Record record = steps.Next(); record.size > 0; record = steps.Next()) {
    if (++count % kRecordsBetweenLooks == 0) interruption::Check();
    if (record.type && !types[*record.type]) continue;
    const bool isLong = record.size > SoundStretch::kBytesBetweenCuts;
    if (record.position != to || isLong) useUp(record.position);
    to = record.position + record.size;
    if (to - from >= SoundStretch::kBytesBetweenCuts) useUp(to);
  }
  useUp(to);
}

}  // namespace

RecordCopy::RecordCopy(const PlainFile& file, FileWindow* window, CopyTarget target)
    : mFile(file), mWindow(*window), mTarget(std::move(target)) {}

void RecordCopy::Add(const SoundStretch& stretch) {
  FilePosition from = stretch.from;
  for (const FilePosition cut : stretch.cuts) {
    AddRange(from, cut);
    from = cut;
  }
  AddRange(from, stretch.wholeTo);
}

void RecordCopy::AddTypes(const SoundStretch& stretch, const KnownTypes& types) {
  ForEachWanted(mFile, stretch, types,
                [this](FilePosition from, FilePosition to) { AddRange(from, to); });
}

void RecordCopy::AddBytes(const std::vector<unsigned char>& bytes) {
  Flush();
  mTarget.write(bytes.data(), bytes.size());
}

void RecordCopy::AddRange(FilePosition from, FilePosition to) {
  if (from >= to) return;
  if (to - from > kLongRange) return AddLong(from, to);
  if (from != mTo) {
    Flush();
    mFrom = from;
    mWindow.KeepFrom(from);
  }
  mTo = to;
  if (mTo - mFrom >= kWorthWriting) Flush();
}

// Nothing but empty blocks, where the file has a hole.
void RecordCopy::AddLong(FilePosition from, FilePosition to) {
  Flush();
  while (from < to) {
    interruption::Check();
    const auto data = mPassesData ? std::nullopt : NextData(mFile.Handle(), from, to);
    const std::uint64_t hole = (data ? data->from : to) - from;
    const std::uint64_t skipped = hole - hole % sizeof(DATA_T);
    if (skipped > 0) {
      if (mPassesData) {
        mTarget.lose(from, skipped, 0);
      } else {
        mTarget.skip(skipped);
      }
      from += skipped;
      continue;
    }
    mFrom = from;
    mTo = std::min<FilePosition>(to, from + SoundStretch::kBytesBetweenCuts);
    from = mTo;
    Flush();
  }
}

void RecordCopy::Flush() {
  if (mFrom >= mTo) return;
  interruption::Check();
  const auto size = static_cast<std::size_t>(mTo - mFrom);
  mWindow.KeepFrom(mTo);
  if (!mPassesData && GoesWithoutReading(size)) {
    mFrom = mTo;
    return;
  }
  if (mPiece.size() < size) mPiece.resize(size);
  bool failed = false;
  if (!mPassesData && mFile.ReadAt(mFrom, mPiece.data(), size, &failed) == size) {
    mTarget.write(mPiece.data(), size);
  } else {
    CopyReadableRecords();
  }
  mFrom = mTo;
}

bool RecordCopy::GoesWithoutReading(std::size_t size) {
  if (const unsigned char* const bytes = mWindow.Held(mFrom, size)) {
    mTarget.write(bytes, size);
    return true;
  }
  return mTarget.copy && mTarget.copy(mFile.Handle(), mFrom, size);
}

void RecordCopy::CopyReadableRecords() {
  FilePosition from = mFrom;
  RecordSteps steps(mFile, mFrom, mTo);
  for (RecordSteps::Record record = steps.Next(); record.size > 0; record = steps.Next()) {
    interruption::Check();
    from = record.position + record.size;
    const auto size = static_cast<std::size_t>(record.size);
    if (mPiece.size() < size) mPiece.resize(size);
    bool failed = false;
    const bool isRead = mFile.ReadAt(record.position, mPiece.data(), size, &failed) == size;
    const bool isData = record.kind == RecordSteps::Kind::kData;
    if (!isData) mPassesData = !isRead;
    if (isRead && !mPassesData) {
      mTarget.write(mPiece.data(), size);
    } else {
      const bool isEntry = record.kind == RecordSteps::Kind::kIndex;
      mTarget.lose(record.position, record.size, isEntry ? 1 : 0);
    }
  }
  if (from == mTo) return;
  // The head of a record can no longer be read.
  mTarget.lose(from, mTo - from, 0);
  mPassesData = true;
}

std::uint64_t SizeOfTypes(const PlainFile& file, const SoundStretch& stretch,
                          const KnownTypes& types) {
  std::uint64_t bytes = 0;
  ForEachWanted(file, stretch, types,
                [&bytes](FilePosition from, FilePosition to) { bytes += to - from; });
  return bytes;
}
