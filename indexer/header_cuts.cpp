#include "indexer/header_cuts.h"

#include <algorithm>

HeaderCuts::HeaderCuts(const QVector<quint64>& headerPositions)
    : mSorted(headerPositions.begin(), headerPositions.end()),
      mNext(mSorted.data()),
      mEnd(mNext + mSorted.size()) {
  if (!std::is_sorted(mSorted.begin(), mSorted.end())) std::sort(mSorted.begin(), mSorted.end());
}

void HeaderCuts::AddCuts(const quint64* cuts, int count, QVector<quint64>* merged) {
  if (count == 0) return;
  const quint64* const end = cuts + count;
  const quint64* const behind =
      mNext == mEnd ? mEnd : std::lower_bound(mNext, mEnd, *std::max_element(cuts, end));
  const int before = merged->size();
  merged->resize(before + count + static_cast<int>(behind - mNext));
  quint64* place = merged->data() + before;
  while (mNext != behind) {
    // The first cut greater than a position always exceeds all cuts before it. So the positions
    // that go before it are those that are left below it, and inserted one by one they end sorted.
    for (; *cuts <= *mNext; ++cuts) *place++ = *cuts;
    while (mNext != behind && *mNext < *cuts) *place++ = *mNext++;
  }
  std::copy(cuts, end, place);
}

void InsertHeaderCuts(const QVector<quint64>& headerPositions, QVector<quint64>* cuts) {
  if (headerPositions.isEmpty()) return;
  const bool intoNone = cuts->isEmpty();
  HeaderCuts headers(intoNone ? headerPositions.mid(1) : headerPositions);
  if (intoNone) cuts->append(headerPositions.first());
  QVector<quint64> merged;
  merged.reserve(cuts->size() + headerPositions.size());
  headers.AddCuts(cuts->constData(), cuts->size(), &merged);
  cuts->swap(merged);
}
