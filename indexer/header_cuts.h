#pragma once

#include <QVector>
#include <vector>

// Header positions on their way between the positions that cut a file: as if each in turn went
// before the first cut greater than it, and a position with no greater cut were left out. Neither
// list need ascend. Costs no more than sorting the headers and one pass over the cuts.
class HeaderCuts {
 public:
  // Throws std::bad_alloc, as AddCut does.
  explicit HeaderCuts(const QVector<quint64>& headerPositions);

  // Appends a cut, after the headers that go before it.
  void AddCut(quint64 cut, QVector<quint64>* cuts) {
    // The first cut greater than a position always exceeds all cuts before it. So the positions
    // that go before it are those that are left below it, and inserted one by one they end sorted.
    while (mNext != mEnd && *mNext < cut) cuts->append(*mNext++);
    cuts->append(cut);
  }

 private:
  std::vector<quint64> mSorted;
  const quint64* mNext;
  const quint64* mEnd;
};

// Adds the positions to cuts that are there already. Into no cuts at all the first position goes as
// it is. Throws std::bad_alloc.
void InsertHeaderCuts(const QVector<quint64>& headerPositions, QVector<quint64>* cuts);
