#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <utility>

#include "blocks/units.h"

// The place of an entry is the time that puts it in order among the others: its own, unless that
// does not fit between those of its neighbours, which fit without it. Such an entry goes with the
// one before it, the first with the one after it. Of two entries alone, nobody can tell which is
// wrong.

// The times of entries that follow each other: up to three.
struct TimesInARow {
  std::array<ArchiveTime, 3> times = {};
  std::size_t count = 0;
};

// The place of one of them. REQUIRES: it is the one in the middle, or the first or the last of its
// archive; there are three, or as many as the archive has.
ArchiveTime PlaceAmong(const TimesInARow& row, std::size_t number);

// Tells the places of all entries of an archive as their times come one by one.
class EntryPlaces {
 public:
  using OnPlace = std::function<void(ArchiveTime place)>;

  explicit EntryPlaces(OnPlace onPlace) : mOnPlace(std::move(onPlace)) {}

  // In the order of the file. The place of an entry is told when the next one comes, that of the
  // first with that of the second.
  void Add(ArchiveTime time);
  // No more entries come.
  void Finish();

 private:
  const OnPlace mOnPlace;
  TimesInARow mLast;
  bool mHasToldFirst = false;
};
