#include "cache_files.h"

#include <fstream>
#include <stdexcept>

QVector<ZEL_ID3_REC> EntriesFrom(std::uint32_t firstTime, int count) {
  QVector<ZEL_ID3_REC> entries(count);
  ZEL_ID3_REC* const records = entries.data();
  for (int i = 0; i < count; ++i) {
    const auto number = static_cast<std::uint32_t>(i);
    records[i].time = firstTime + number;
    records[i].offsetLow = (number + 1) * kBytesPerEntry;
    records[i].activityCount = 2;
    records[i].activity[0] = {2, 8};
    records[i].activity[1] = {1, static_cast<std::uint8_t>(2 + 2 * (number % 31))};
  }
  return entries;
}

void WriteBytes(const std::string& path, const void* bytes, std::size_t size) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

void WriteCacheFiles(const std::string& stem, const QVector<ZEL_ID3_REC>& entries,
                     const std::vector<std::uint64_t>& headers) {
  WriteBytes(stem + "id3", entries.constData(),
             static_cast<std::size_t>(entries.size()) * sizeof(ZEL_ID3_REC));
  WriteBytes(stem + "hdr", headers.data(), headers.size() * sizeof(headers[0]));
  // Index time and position of the entry, one event of type 0x80, its text.
  constexpr char kEvents[] = "\x40\x42\x0F\0\x90\x01\0\0\x01\x80gate";
  WriteBytes(stem + "evt", kEvents, sizeof(kEvents));
}
