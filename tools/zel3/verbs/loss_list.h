#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "blocks/units.h"

enum class LossCause {
  kDamage,      // makes no sense
  kUnreadable,  // cannot be read
  kUndeclared,  // data of a stream that no header declares
  kNoIndex,     // data between a header and an index record: of no entry
  kNoHeader,    // no whole header before it
  kCutOff,      // a last record that is not whole
};

// One word, for programs: damage, no-header
const char* Name(LossCause cause);

// Bytes of an archive that are lost.
struct Loss {
  LossCause cause = LossCause::kDamage;
  FilePosition position = 0;
  std::uint64_t bytes = 0;
  // The times of the entries before and after it.
  std::optional<ArchiveTime> before = {};
  std::optional<ArchiveTime> after = {};
};

// What an archive has lost, in the order of the file. Only the first thousand are kept, since a
// damaged disk can cause many more.
class LossList {
 public:
  static constexpr std::size_t kMostKept = 1000;

  // A loss that directly follows one of the same cause is merged with it.
  void Add(LossCause cause, FilePosition position, std::uint64_t bytes);
  // Notes an entry whose index record is whole.
  void OnEntry(ArchiveTime time);

  const std::vector<Loss>& Kept() const { return mKept; }
  std::uint64_t Count() const { return mCount; }
  std::uint64_t Bytes() const { return mBytes; }

 private:
  std::vector<Loss> mKept;
  std::uint64_t mCount = 0;
  std::uint64_t mBytes = 0;
  std::size_t mWithoutAfter = 0;  // kept losses from this one on have no entry after them yet
  std::optional<ArchiveTime> mTime;
  Loss mLast;
};
