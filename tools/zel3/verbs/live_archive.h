#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "parser/framing.h"
#include "sources/followed_archives.h"

// One archive put together of the records of several as they come. It is sound wherever it ends:
// bytes go out in whole records, a header with the index record after it, and a block after the
// header and the index record that it came after.
class LiveArchive {
 public:
  using Bytes = std::vector<unsigned char>;
  using OnBytes = std::function<void(const Bytes& bytes)>;

  // `onBytes` gets whole records.
  explicit LiveArchive(OnBytes onBytes) : mOnBytes(std::move(onBytes)) {}

  // What is written of one archive. Borrows this object.
  std::unique_ptr<FollowedRecords> RecordsOf();

  // Hands over what has been kept to be written together. REQUIRES: called at the end of each look.
  void Flush();

  std::uint64_t Entries() const { return mEntries; }

 private:
  class Part;

  void Add(const void* bytes, std::size_t size);

  const OnBytes mOnBytes;
  Bytes mWaiting;
  const Part* mCurrent = nullptr;  // whose header and index record are in force
  std::uint64_t mEntries = 0;
};
