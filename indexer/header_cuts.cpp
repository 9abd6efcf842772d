#include "indexer/header_cuts.h"

#include <algorithm>

HeaderCuts::HeaderCuts(const QVector<FilePosition>& headerPositions)
    : mSorted(headerPositions.begin(), headerPositions.end()),
      mNext(mSorted.data()),
      mEnd(mNext + mSorted.size()) {
  if (!std::is_sorted(mSorted.begin(), mSorted.end())) std::sort(mSorted.begin(), mSorted.end());
}

void HeaderCuts::AddCuts(const FilePosition* cuts, int count, QVector<FilePosition>* merged) {
  if (count == 0) return;
  const FilePosition* const end = cuts + count;
  const FilePosition* const after =
      mNext == mEnd ? mEnd : std::lower_bound(mNext, mEnd, *std::max_element(cuts, end));
  const int before = merged->size();
  merged->resize(before + count + static_cast<int>(after - mNext));
  FilePosition* place = merged->data() + before;
  while (mNext != after) {
    // The first cut greater than a position always exceeds all cuts before it. So the positions
    // that go before it are those that are left below it, and inserted one by one they end sorted.
    for (; *cuts <= *mNext; ++cuts) *place++ = *cuts;
    while (mNext != after && *mNext < *cuts) *place++ = *mNext++;
  }
  std::copy(cuts, end, place);
}

void InsertHeaderCuts(const QVector<FilePosition>& headerPositions, QVector<FilePosition>* cuts) {
  if (headerPositions.isEmpty()) return;
  const bool intoNone = cuts->isEmpty();
  HeaderCuts headers(intoNone ? headerPositions.mid(1) : headerPositions);
  if (intoNone) cuts->append(headerPositions.first());
  QVector<FilePosition> merged;
  merged.reserve(cuts->size() + headerPositions.size());
  headers.AddCuts(cuts->constData(), cuts->size(), &merged);
  cuts->swap(merged);
}
