#include "indexer/file_cuts.h"

#include <algorithm>

namespace {

QVector<FilePosition> Sorted(QVector<FilePosition> positions) {
  // Positions in order are not copied.
  if (!std::is_sorted(positions.constBegin(), positions.constEnd()))
    std::sort(positions.begin(), positions.end());
  return positions;
}

// Appends the cuts at the first `entryCount` entries, each after the headers that go before it.
void AppendCuts(const QVector<ZEL_ID3_REC>& entries, int entryCount,
                const QVector<FilePosition>& sortedHeaders, QVector<FilePosition>* cuts) {
  auto header = sortedHeaders.begin();
  for (int i = 0; i < entryCount; ++i) {
    const FilePosition cut = entries.at(i).offsetLow;
    // The first cut greater than a header also exceeds all cuts before it. So the headers that go
    // before a cut are all those left below it, in the same order as if each had been inserted by
    // itself.
    for (; header != sortedHeaders.end() && *header < cut; ++header) cuts->append(*header);
    cuts->append(cut);
  }
}

// Both lists ascend, so the nearest cuts around the position bound the stretch.
FileStretch ImpliedStretchAt(const sFile_Index_Store& store, FilePosition position) {
  const QVector<FilePosition>& headers = store.impliedCuts.sortedHeaders;
  const ZEL_ID3_REC* const first = store.id3Records.constData();
  const ZEL_ID3_REC* const end = first + store.impliedCuts.entryCount;
  const auto isBefore = [](FilePosition at, const ZEL_ID3_REC& entry) {
    return at < entry.offsetLow;
  };
  const ZEL_ID3_REC* const entry = std::upper_bound(first, end, position, isBefore);
  // Headers after the last entry are not cuts.
  if (entry == end) return {};
  const auto header = std::upper_bound(headers.begin(), headers.end(), position);
  const bool isAfterEntry = entry != first;
  const bool isAfterHeader = header != headers.begin();
  if (!isAfterEntry && !isAfterHeader) return {};
  const FilePosition fromEntry = isAfterEntry ? (entry - 1)->offsetLow : 0;
  const FilePosition fromHeader = isAfterHeader ? *(header - 1) : 0;
  const FilePosition toEntry = entry->offsetLow;
  const FilePosition toHeader = header != headers.end() ? *header : toEntry;
  return {std::max(fromEntry, fromHeader), std::min(toEntry, toHeader)};
}

FileStretch ListedStretchAt(const QVector<FilePosition>& cuts, bool ascend, FilePosition position) {
  if (ascend) {
    const auto after = std::upper_bound(cuts.begin(), cuts.end(), position);
    if (after == cuts.begin() || after == cuts.end()) return {};
    return {*(after - 1), *after};
  }
  for (int i = 1; i < cuts.size(); ++i) {
    if (cuts.at(i - 1) <= position && position < cuts.at(i)) return {cuts.at(i - 1), cuts.at(i)};
  }
  return {};
}

}  // namespace

void CutAtEntries(sFile_Index_Store* store, bool positionsAscend) {
  const QVector<FilePosition> headers = Sorted(store->headerPositions);
  if (positionsAscend) {
    store->impliedCuts = {store->id3Records.size(), headers};
  } else {
    // One more for the end position.
    store->blockPositions.reserve(store->id3Records.size() + headers.size() + 1);
    AppendCuts(store->id3Records, store->id3Records.size(), headers, &store->blockPositions);
  }
}

void CutAtHeaders(sFile_Index_Store* store) {
  if (store->headerPositions.isEmpty()) return;
  const FilePosition first = store->headerPositions.first();
  for (const FilePosition header : Sorted(store->headerPositions)) {
    if (header < first) store->blockPositions.append(header);
  }
  store->blockPositions.append(first);
}

QVector<FilePosition> AllCuts(const sFile_Index_Store& store) {
  const ImpliedCuts& implied = store.impliedCuts;
  if (implied.entryCount == 0) return store.blockPositions;
  QVector<FilePosition> cuts;
  cuts.reserve(implied.entryCount + implied.sortedHeaders.size() + store.blockPositions.size());
  AppendCuts(store.id3Records, implied.entryCount, implied.sortedHeaders, &cuts);
  cuts += store.blockPositions;
  return cuts;
}

void ListAllCuts(sFile_Index_Store* store) {
  store->blockPositions = AllCuts(*store);
  store->impliedCuts = ImpliedCuts();
}

FileStretch StretchAt(const sFile_Index_Store& store, bool listedAscend, FilePosition position) {
  const QVector<FilePosition>& listed = store.blockPositions;
  if (store.impliedCuts.entryCount > 0) {
    const FileStretch implied = ImpliedStretchAt(store, position);
    if (implied.end != 0) return implied;
    const FilePosition last = store.id3Records.at(store.impliedCuts.entryCount - 1).offsetLow;
    if (!listed.isEmpty() && last <= position && position < listed.first())
      return {last, listed.first()};
  }
  return ListedStretchAt(listed, listedAscend, position);
}
