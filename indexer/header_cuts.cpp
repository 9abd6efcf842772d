#include "header_cuts.h"

#include <algorithm>

HeaderCuts::HeaderCuts(const QVector<quint64>& headerPositions)
    : mSorted(headerPositions.begin(), headerPositions.end()),
      mNext(mSorted.data()),
      mEnd(mNext + mSorted.size()) {
  std::sort(mSorted.begin(), mSorted.end());
}

void InsertHeaderCuts(const QVector<quint64>& headerPositions, QVector<quint64>* cuts) {
  if (headerPositions.isEmpty()) return;
  const bool intoNone = cuts->isEmpty();
  HeaderCuts headers(intoNone ? headerPositions.mid(1) : headerPositions);
  if (intoNone) cuts->append(headerPositions.first());
  QVector<quint64> merged;
  merged.reserve(cuts->size() + headerPositions.size());
  for (const quint64 cut : qAsConst(*cuts)) headers.AddCut(cut, &merged);
  cuts->swap(merged);
}
