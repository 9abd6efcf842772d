#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "checkup/severity.h"

// Kinds that explain others stand before them.
enum class FindingKind {
  kUnreadable,
  kTooSmall,
  kDamage,
  kCutOff,
  kNoHeader,
  kLateHeader,
  kNoIndex,
  kNoParser,
  kFirstIndexPlace,
  kMisplaced,
  kBackwards,
  kGap,
  kOverlap,
  kSameTime,
  kEventsNotKept,
  kStranger,
  kCacheLeftover,
  kCacheIncomplete,
  kCacheDamaged,
  kCacheMismatch,
  kOtherIndex,
  kOutputLeftover,
};

// One word, for programs: damage, cut-off
const char* Name(FindingKind kind);
Severity SeverityOf(FindingKind kind);
// What its owner can do about it: a clause for people.
const char* RemedyOf(FindingKind kind);

// Something about an archive that its owner may want to know.
struct Finding {
  FindingKind kind;
  std::string file;  // its bare name; in a diagnosis what people know it by
  std::string text;  // for people; may quote texts from outside as they are
  std::optional<FilePosition> position = {};  // in the file
  std::optional<std::uint64_t> bytes = {};    // how many it is about
  // From when to when; without an end, some time after the first.
  std::optional<ArchiveTime> time = {};
  std::optional<ArchiveTime> endTime = {};
  // How many findings of its kind, not kept one by one, it stands for; 0: only for itself.
  std::uint64_t more = 0;

  std::uint64_t Count() const { return more > 0 ? more : 1; }
};

// What is found in an archive and its cache files. Only so many of one kind in one file are kept
// one by one; the others are counted, since a damaged disk has thousands.
class Findings {
 public:
  static constexpr int kMostOfAKind = 100;

  explicit Findings(int mostOfAKind = kMostOfAKind) : mMostOfAKind(mostOfAKind) {}

  void Add(Finding finding);

  // By kind, and those of a kind in the order in which they were made. The last of a kind and file
  // is the sum of those that were not kept.
  std::vector<Finding> All() const;

 private:
  struct Surplus {
    Finding last = {};
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
  };

  const int mMostOfAKind;
  std::vector<Finding> mKept;
  std::map<std::string, int> mCounts;  // by file and kind
  std::map<std::string, Surplus> mSurplus;
};
