#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "parser/framing.h"
#include "sources/followed_archives.h"

// One archive made from the records of several as they come. It is sound wherever it ends: only
// whole records are written, a header together with the index record after it, and a block only
// after its own header and index record.
class LiveArchive {
 public:
  using Bytes = std::vector<unsigned char>;
  using OnBytes = std::function<void(const Bytes& bytes)>;

  // `onBytes` gets whole records.
  explicit LiveArchive(OnBytes onBytes) : mOnBytes(std::move(onBytes)) {}

  // Takes the records of one archive. Borrows this object.
  std::unique_ptr<FollowedRecords> RecordsOf();

  // Hands over what has been kept so far, to be written at once. REQUIRES: called at the end of
  // each look.
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
