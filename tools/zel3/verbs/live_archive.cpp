#include "verbs/live_archive.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "blocks/index_record.h"
#include "system/interruption.h"

namespace {

// How much is written at once.
constexpr std::size_t kPortion = 65536;

}  // namespace

class LiveArchive::Part : public FollowedRecords {
 public:
  explicit Part(LiveArchive* whole) : mWhole(*whole) {}

  void Begin() override {
    mHeader.clear();
    mIndex.reset();
    mIsWritten = false;
  }
  void OnHeader(FilePosition /*position*/, const ArchiveHeader& header) override {
    mHeader = EncodeHeaderRecord(header).value_or(Bytes());
    mIsWritten = false;
  }
  void OnIndex(FilePosition /*position*/, const IDX_T& index) override {
    mIndex = EncodeIndexRecord(index);
    // Without a header no parser knows what follows.
    if (!mHeader.empty()) WriteIndex();
  }
  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* payload,
              Tag /*kind*/) override {
    if (mHeader.empty() || !mIndex) return;
    if (!IsInForce()) WriteIndex();
    const auto bytes = EncodeDataHead(head);
    mWhole.mWaiting.insert(mWhole.mWaiting.end(), bytes.begin(), bytes.end());
    mWhole.Add(payload, head.length);
  }
  // A long hole in the file.
  void OnEmptyData(FilePosition /*position*/, std::uint64_t count, Tag /*kind*/) override {
    if (mHeader.empty() || !mIndex) return;
    if (!IsInForce()) WriteIndex();
    const Bytes zeros(std::min<std::uint64_t>(count * sizeof(DATA_T), kPortion));
    for (std::uint64_t left = count * sizeof(DATA_T); left > 0;) {
      interruption::Check();
      const std::size_t size = std::min<std::uint64_t>(left, zeros.size());
      mWhole.Add(zeros.data(), size);
      left -= size;
    }
  }
  void EndOfLook() override { mWhole.Flush(); }

 private:
  bool IsInForce() const { return mIsWritten && mWhole.mCurrent == this; }

  void WriteIndex() {
    if (!IsInForce()) mWhole.mWaiting.insert(mWhole.mWaiting.end(), mHeader.begin(), mHeader.end());
    mWhole.mCurrent = this;
    mIsWritten = true;
    ++mWhole.mEntries;
    mWhole.Add(mIndex->data(), mIndex->size());
  }

  LiveArchive& mWhole;
  Bytes mHeader;
  std::optional<std::array<unsigned char, kIndexRecordSize>> mIndex;
  bool mIsWritten = false;  // the header
};

std::unique_ptr<FollowedRecords> LiveArchive::RecordsOf() {
  return std::make_unique<Part>(this);
}

// The bytes end a record.
void LiveArchive::Add(const void* bytes, std::size_t size) {
  const auto* const from = static_cast<const unsigned char*>(bytes);
  mWaiting.insert(mWaiting.end(), from, from + size);
  if (mWaiting.size() >= kPortion) Flush();
}

void LiveArchive::Flush() {
  if (mWaiting.empty()) return;
  // A failed write is not repeated: some of it may have been written.
  const Bytes bytes = std::exchange(mWaiting, {});
  mOnBytes(bytes);
}
