#pragma once

#include <QHash>
#include <QString>
#include <deque>
#include <optional>

#include "blocks/units.h"
#include "indexer/file_index_store.h"
#include "indexer/file_spans.h"
#include "indexer/store_order.h"

// A listed file of the archive: its store, which does not change any more, and the order of what
// that holds.
struct FiledStore : sFile_Index_Store {
  StoreOrder order;
};

// The files of an archive by start time, and what is derived from them. Only File changes them, so
// what is derived is always true.
class StoreList {
 public:
  using Stores = std::deque<FiledStore>;

  const Stores& Files() const { return files; }

  // Lists a copy of `store` by start time; a store of the same file name that is met on the way to
  // its place is replaced instead. `store` may be one of the list. REQUIRES: `order` is that of
  // `store`. Throws std::bad_alloc; then the files are as before.
  void File(const sFile_Index_Store& store, const StoreOrder& order);

  // The range of all files that were ever listed: never narrowed, not even by a replacement.
  IndexTime FirstTime() const { return firstTime; }
  IndexTime LastTime() const { return lastTime; }

  // When files with entries begin and end; a file without entries holds no time. Throws
  // std::bad_alloc.
  const FileSpans& Spans() const { return mSpans ? *mSpans : MakeSpans(); }

 private:
  // `sameName`: how often the file's name is listed.
  Stores::iterator PlaceFor(const sFile_Index_Store& store, int sameName);
  const FileSpans& MakeSpans() const;

  Stores files;
  IndexTime firstTime = 0x7FFFFFFF;
  IndexTime lastTime = 0;
  bool mFilesAscend = true;                 // by start time; a replacement may end that
  QHash<QString, int> mTimesOf;             // how often a file name is listed
  mutable std::optional<FileSpans> mSpans;  // made by the first question after a change
};
