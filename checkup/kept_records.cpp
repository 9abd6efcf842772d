#include "checkup/kept_records.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

constexpr std::uint64_t kRecordsAtOnce = 4096;

}  // namespace

KeptRecords::KeptRecords(const QString& path, const RecordKind& kind, std::uint64_t most)
    : mKind(kind) {
  mFile.Open(path, PlainFile::Mode::kRead);
  mLeft = mFile.Size() / mKind.size;
  if (mLeft > most) mDifference = "is larger than an index of this archive can be";
}

const char* KeptRecords::Expect() {
  ++mInArchive;
  if (!mDifference.empty() || !Take()) return nullptr;
  mNumber = mTaken - 1;
  return Record();
}

void KeptRecords::NoteDifference(const std::string& how, FilePosition position) {
  mDifference = fmt::format("is not of this archive: {} {} {} that at byte {}", mKind.one, mNumber,
                            how, position);
}

void KeptRecords::OnLost(FilePosition begin, FilePosition end) {
  while (mDifference.empty() && Take()) {
    const FilePosition position = mKind.positionOf(Record());
    if (position >= begin && position < end) {
      ++mLost;
      continue;
    }
    mPlace -= mKind.size;
    --mTaken;
    ++mLeft;
    return;
  }
}

std::string KeptRecords::Mismatch() const {
  const std::uint64_t kept = mTaken + mLeft;
  if (!mDifference.empty() || kept == mInArchive + mLost) return mDifference;
  return fmt::format("holds {} {}, the archive {}", kept, mKind.many, mInArchive);
}

bool KeptRecords::Take() {
  if (mLeft == 0 || mHasFailed) return false;
  if (mPlace == mPortion.size()) {
    mPortion.resize(static_cast<std::size_t>(std::min(mLeft, kRecordsAtOnce)) * mKind.size);
    mPlace = 0;
    mHasFailed = mFile.Read(mPortion.data(), mPortion.size()) < mPortion.size();
    if (mHasFailed) return false;
  }
  mPlace += mKind.size;
  ++mTaken;
  --mLeft;
  return true;
}
