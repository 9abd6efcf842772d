#include "header_cuts.h"

#include <algorithm>

// The first cut greater than a position is always one that exceeds all cuts before it. So the
// positions that go before it are those between the largest cut so far and itself, and inserting
// them one by one leaves them sorted.
void InsertHeaderCuts(const QVector<quint64>& headerPositions, std::vector<std::uint64_t>* cuts) {
  std::vector<std::uint64_t> headers(headerPositions.begin(), headerPositions.end());
  if (headers.empty()) return;
  if (cuts->empty()) {
    cuts->push_back(headers.front());
    headers.erase(headers.begin());
  }
  std::sort(headers.begin(), headers.end());

  std::vector<std::uint64_t> merged;
  merged.reserve(cuts->size() + headers.size());
  auto header = headers.cbegin();
  for (const std::uint64_t cut : *cuts) {
    while (header != headers.cend() && *header < cut) merged.push_back(*header++);
    merged.push_back(cut);
  }
  cuts->swap(merged);
}
