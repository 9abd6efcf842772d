#include "archive/found_record.h"

void FoundRecords::OnHeader(FilePosition position, const ArchiveHeader& header) {
  FoundRecord record = At(position, FoundRecord::Kind::kHeader);
  record.header = &header;
  mOnRecord(record);
}

void FoundRecords::OnIndex(FilePosition position, const IDX_T& index) {
  mTime = ToArchiveTime(index.time);
  FoundRecord record = At(position, FoundRecord::Kind::kIndex);
  record.flagged = index.indexFlag != 0;
  mOnRecord(record);
}

void FoundRecords::OnData(FilePosition position, const DATA_T& head, const unsigned char* payload,
                          Tag kind) {
  const bool isEvent = kind == tag::kData;
  FoundRecord record = At(position, isEvent ? FoundRecord::Kind::kEvent : FoundRecord::Kind::kData);
  record.type = head.type;
  record.streamKind = kind;
  record.level = head.flags & kActivityMask;
  record.bytes = head.length;
  if (isEvent) record.text.assign(reinterpret_cast<const char*>(payload), head.length);
  mOnRecord(record);
}

void FoundRecords::OnDamage(FilePosition position, std::uint64_t bytes) {
  FoundRecord record = At(position, FoundRecord::Kind::kDamage);
  record.bytes = bytes;
  mOnRecord(record);
}

void FoundRecords::OnCutOff(FilePosition position, std::uint64_t bytes) {
  FoundRecord record = At(position, FoundRecord::Kind::kCutOff);
  record.bytes = bytes;
  mOnRecord(record);
}

FoundRecord FoundRecords::At(FilePosition position, FoundRecord::Kind kind) const {
  FoundRecord record;
  record.kind = kind;
  record.position = position;
  record.time = mTime;
  return record;
}
