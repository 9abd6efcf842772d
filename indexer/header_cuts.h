#pragma once

#include <QVector>
#include <vector>

#include "blocks/units.h"

// Merges the positions of headers into the positions that cut a file. The result is that of
// inserting one position after the other before the first cut greater than it; a position with no
// greater cut is left out. Neither list need ascend. Costs no more than sorting the headers and one
// pass over the cuts.
class HeaderCuts {
 public:
  // Throws std::bad_alloc, as AddCuts does.
  explicit HeaderCuts(const QVector<FilePosition>& headerPositions);

  // Appends cuts to `merged`, after the headers that go before them.
  void AddCuts(const FilePosition* cuts, int count, QVector<FilePosition>* merged);

 private:
  std::vector<FilePosition> mSorted;
  const FilePosition* mNext;
  const FilePosition* mEnd;
};

// Adds the positions to cuts that are there already. Into no cuts at all the first position goes as
// it is. Throws std::bad_alloc.
void InsertHeaderCuts(const QVector<FilePosition>& headerPositions, QVector<FilePosition>* cuts);
