#include <algorithm>
#include <iterator>
#include <random>
#include <vector>

#include "blocks/byte_cursor.h"
#include "fuzz_input.h"
#include "parser/framing.h"
#include "parser/marker_search.h"

// Changes inputs that hold an archive record by record, because a change of single bytes hardly
// ever gives another good record. What precedes the archive, and all that has no framing, is left
// to libFuzzer's own changes.

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size,
                                        std::size_t mostSize);

namespace {

// More than the events that an index can hold of an entry.
constexpr std::size_t kMostCopies = 300;

enum class Kind { kHeader, kIndex, kData, kOther };

struct Record {
  Kind kind = Kind::kOther;
  Bytes bytes;
};
using Records = std::vector<Record>;

std::uint32_t WordAt(const std::uint8_t* bytes) {
  return LoadLittleEndian<std::uint32_t>(bytes);
}

std::size_t SizeOfHeader(const std::uint8_t* bytes, std::size_t size) {
  if (size < kMarkerSize + sizeof(std::int16_t)) return size;
  const auto length = LoadLittleEndian<std::int16_t>(bytes + kMarkerSize);
  return length < kShortestHeaderLength ? kMarkerSize : SizeOfHeaderRecord(length);
}

// The record at the start of the bytes, by its length; to the next marker where it is longer than
// what is left.
Record FirstRecord(const std::uint8_t* bytes, std::size_t size) {
  Record record;
  std::size_t length = size;
  if (size >= kMarkerSize && WordAt(bytes) == kHeaderMarker) {
    record.kind = Kind::kHeader;
    length = SizeOfHeader(bytes, size);
  } else if (size >= kMarkerSize && WordAt(bytes) == kIndexMarker) {
    record.kind = Kind::kIndex;
    length = kIndexRecordSize;
  } else if (size >= sizeof(DATA_T)) {
    record.kind = Kind::kData;
    length = sizeof(DATA_T) + DecodeDataHead(bytes).length;
  }
  if (length > size) {
    const auto marker = FindMarker(bytes + 1, size - 1);
    record.kind = Kind::kOther;
    length = marker ? 1 + *marker : size;
  }
  record.bytes.assign(bytes, bytes + length);
  return record;
}

Records RecordsOf(const std::uint8_t* bytes, std::size_t size) {
  Records records;
  while (size > 0) {
    records.push_back(FirstRecord(bytes, size));
    bytes += records.back().bytes.size();
    size -= records.back().bytes.size();
  }
  return records;
}

class Changes {
 public:
  explicit Changes(unsigned seed) : mRandom(seed) {}

  std::size_t Below(std::size_t count) { return count == 0 ? 0 : mRandom() % count; }

  void Change(Records* records) {
    const std::size_t at = Below(records->size());
    const auto place = records->begin() + static_cast<std::ptrdiff_t>(at);
    switch (Below(10)) {
      case 0:
        records->insert(place, Made());
        break;
      case 1: {
        const Record copied = (*records)[Below(records->size())];
        records->insert(place, copied);
        break;
      }
      case 2: {
        const Record copied = *place;
        if (copied.bytes.size() < 64) records->insert(place, Below(kMostCopies), copied);
        break;
      }
      case 3:
        std::swap(*place, (*records)[Below(records->size())]);
        break;
      case 4:
        records->erase(place);
        break;
      case 5:
        Splice(&*place, *records);
        break;
      case 6:
        Below(2) == 0 ? records->erase(place, records->end())
                      : records->erase(records->begin(), place);
        break;
      default:
        ChangeField(&*place, *records);
        break;
    }
  }

 private:
  Record Made() {
    switch (Below(4)) {
      case 0: {
        ArchiveHeader header;
        header.title = "t";
        for (std::size_t left = Below(4); left > 0; --left) {
          header.streams.push_back({Byte(4), Byte(2), Below(2) == 0 ? "video" : "text", "<n>", ""});
        }
        return {Kind::kHeader, *EncodeHeaderRecord(header)};
      }
      case 1: {
        Bytes bytes(kIndexRecordSize);
        StoreLittleEndian(bytes.data(), kIndexMarker);
        StoreLittleEndian(bytes.data() + kMarkerSize, Time());
        return {Kind::kIndex, bytes};
      }
      default: {
        DATA_T head = {};
        head.length = static_cast<std::uint16_t>(Below(20));
        head.flags = Byte(256);
        head.type = Type();
        const auto encoded = EncodeDataHead(head);
        Bytes bytes(encoded.begin(), encoded.end());
        bytes.resize(bytes.size() + head.length, Byte(256));
        return {Kind::kData, bytes};
      }
    }
  }

  void ChangeField(Record* record, const Records& records) {
    Bytes& bytes = record->bytes;
    switch (record->kind) {
      case Kind::kHeader:
        ChangeHeader(&bytes);
        break;
      case Kind::kIndex:
        if (Below(3) > 0) return ChangeTime(&bytes, records);
        bytes.back() = Byte(2);
        break;
      case Kind::kData:
        ChangeData(&bytes);
        break;
      case Kind::kOther:
        bytes[Below(bytes.size())] = Byte(256);
        break;
    }
  }

  void ChangeHeader(Bytes* bytes) {
    // The length, the place of the first index record, or what the texts and streams are.
    const std::size_t field = Below(3);
    if (field < 2 && bytes->size() >= kMarkerSize + 4) {
      unsigned char* const number = bytes->data() + kMarkerSize + 2 * field;
      StoreLittleEndian(number, static_cast<std::int16_t>(LoadLittleEndian<std::int16_t>(number) +
                                                          static_cast<int>(Below(40)) - 20));
    } else {
      (*bytes)[Below(bytes->size())] = Below(4) == 0 ? '<' : Byte(4);
    }
  }

  void ChangeTime(Bytes* bytes, const Records& records) {
    // Near the time of another entry, where orders and gaps are decided.
    const Record& other = records[Below(records.size())];
    std::uint32_t time = Time();
    if (other.kind == Kind::kIndex && Below(4) > 0)
      time = WordAt(other.bytes.data() + kMarkerSize) + static_cast<std::uint32_t>(Below(9)) - 4;
    StoreLittleEndian(bytes->data() + kMarkerSize, time);
  }

  void ChangeData(Bytes* bytes) {
    DATA_T head = DecodeDataHead(bytes->data());
    switch (Below(4)) {
      case 0:
        // The payload stays as long as it is: the framing leads elsewhere.
        head.length = static_cast<std::uint16_t>(head.length + Below(33) - 16);
        break;
      case 1:
        head.length = static_cast<std::uint16_t>(Below(300));
        bytes->resize(sizeof(head) + head.length, Byte(256));
        break;
      case 2:
        head.flags = Byte(256);
        break;
      default:
        head.type = Type();
        break;
    }
    const auto encoded = EncodeDataHead(head);
    std::copy(encoded.begin(), encoded.end(), bytes->begin());
  }

  // The front of one record with the end of another, a header with a header if there is one.
  void Splice(Record* record, const Records& records) {
    Record other = records[Below(records.size())];
    for (int tries = 0; tries < 8 && other.kind != Kind::kHeader; ++tries)
      other = records[Below(records.size())];
    const std::size_t front = Below(record->bytes.size() + 1);
    const std::size_t from = Below(other.bytes.size() + 1);
    record->bytes.resize(front);
    record->bytes.insert(record->bytes.end(),
                         other.bytes.begin() + static_cast<std::ptrdiff_t>(from),
                         other.bytes.end());
    if (record->bytes.empty()) *record = other;
    record->kind = Kind::kOther;
  }

  std::uint8_t Byte(std::size_t count) { return static_cast<std::uint8_t>(Below(count)); }
  std::uint8_t Type() { return Below(3) == 0 ? Byte(256) : Below(2) == 0 ? 0x80 : Byte(4); }
  std::uint32_t Time() {
    const std::uint32_t times[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 1714521600};
    return times[Below(std::size(times))];
  }

  std::minstd_rand mRandom;
};

std::size_t Put(const Records& records, std::size_t first, std::size_t end, std::uint8_t* bytes,
                std::size_t from, std::size_t mostSize) {
  for (std::size_t i = first; i < end; ++i) {
    const Bytes& record = records[i].bytes;
    const std::size_t size = std::min(record.size(), mostSize - from);
    std::copy_n(record.begin(), size, bytes + from);
    from += size;
  }
  return from;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size,
                                               std::size_t mostSize, unsigned seed) {
  Changes changes(seed);
  const std::size_t kind = changes.Below(8);
  if (size <= ARCHIVE_OFFSET || kind == 0) return LLVMFuzzerMutate(bytes, size, mostSize);
  if (kind == 1) {
    LLVMFuzzerMutate(bytes, ARCHIVE_OFFSET, ARCHIVE_OFFSET);
    return size;
  }
  Records records = RecordsOf(bytes + ARCHIVE_OFFSET, size - ARCHIVE_OFFSET);
  for (std::size_t left = 1 + changes.Below(3); left > 0 && !records.empty(); --left)
    changes.Change(&records);
  return Put(records, 0, records.size(), bytes, ARCHIVE_OFFSET, mostSize);
}

// The front of one archive and the end of another, cut between records.
extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* one, std::size_t oneSize,
                                                 const std::uint8_t* other, std::size_t otherSize,
                                                 std::uint8_t* bytes, std::size_t mostSize,
                                                 unsigned seed) {
  if (oneSize <= ARCHIVE_OFFSET || otherSize <= ARCHIVE_OFFSET || mostSize <= ARCHIVE_OFFSET)
    return 0;
  Changes changes(seed);
  const Records front = RecordsOf(one + ARCHIVE_OFFSET, oneSize - ARCHIVE_OFFSET);
  const Records end = RecordsOf(other + ARCHIVE_OFFSET, otherSize - ARCHIVE_OFFSET);
  std::copy_n(one, ARCHIVE_OFFSET, bytes);
  const std::size_t size =
      Put(front, 0, changes.Below(front.size() + 1), bytes, ARCHIVE_OFFSET, mostSize);
  return Put(end, changes.Below(end.size() + 1), end.size(), bytes, size, mostSize);
}
