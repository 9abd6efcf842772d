#include "archive/found_record.h"

namespace {

bool IsEmpty(const DATA_T& head) {
  return head.type == 0 && head.length == 0 && head.flags == 0;
}

}  // namespace

void FoundRecords::OnHeader(FilePosition position, const ArchiveHeader& header) {
  FoundRecord record = At(position, FoundRecord::Kind::kHeader);
  record.header = &header;
  Take(record);
}

void FoundRecords::OnIndex(FilePosition position, const IDX_T& index) {
  mTime = ToArchiveTime(index.time);
  FoundRecord record = At(position, FoundRecord::Kind::kIndex);
  record.flagged = index.indexFlag != 0;
  Take(record);
}

void FoundRecords::OnData(FilePosition position, const DATA_T& head, const unsigned char* payload,
                          Tag kind) {
  if (IsEmpty(head)) return OnEmptyData(position, 1, kind);
  const bool isEvent = kind == tag::kData;
  FoundRecord record = At(position, isEvent ? FoundRecord::Kind::kEvent : FoundRecord::Kind::kData);
  record.type = head.type;
  record.streamKind = kind;
  record.level = head.flags & kActivityMask;
  record.bytes = head.length;
  if (isEvent) record.text.assign(reinterpret_cast<const char*>(payload), head.length);
  Take(record);
}

void FoundRecords::OnEmptyData(FilePosition position, std::uint64_t count, Tag kind) {
  if (!mEmpty) {
    mEmpty = At(position, FoundRecord::Kind::kData);
    mEmpty->streamKind = kind;
    mEmpty->count = 0;
  }
  mEmpty->count += count;
}

void FoundRecords::OnDamage(FilePosition position, std::uint64_t bytes) {
  FoundRecord record = At(position, FoundRecord::Kind::kDamage);
  record.bytes = bytes;
  Take(record);
}

void FoundRecords::OnCutOff(FilePosition position, std::uint64_t bytes) {
  FoundRecord record = At(position, FoundRecord::Kind::kCutOff);
  record.bytes = bytes;
  Take(record);
}

void FoundRecords::Finish() {
  if (!mEmpty) return;
  mOnRecord(*mEmpty);
  mEmpty.reset();
}

void FoundRecords::Take(const FoundRecord& record) {
  Finish();
  mOnRecord(record);
}

FoundRecord FoundRecords::At(FilePosition position, FoundRecord::Kind kind) const {
  FoundRecord record;
  record.kind = kind;
  record.position = position;
  record.time = mTime;
  return record;
}
