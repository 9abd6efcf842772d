#pragma once

#include <optional>
#include <string>
#include <vector>

#include "client/archive_client.h"
#include "client/index_builder.h"
#include "system/progress.h"

// A source whose every file has its index, for the verbs that ask about all of it at once: a reader
// passes over files that have none.
class IndexedSource {
 public:
  // Borrows both. Builds its missing indexes, with progress, unless they are to be left out: then
  // nothing on the disk changes. Tells the user when files remain without one. Throws Failure when
  // the source cannot be read or the user interrupts, and when it is a single file whose index is
  // left out.
  IndexedSource(const ServedSource& source, Progress* progress);

  ArchiveClient& Client() { return mClient; }

  // The archives that the reader serves from an index.
  const std::vector<ListedArchive>& Archives() const { return mArchives; }

  // All files of the source by name, with what came of indexing each; none when missing indexes are
  // left out.
  const std::vector<IndexedFile>& Files() const { return mFiles; }

  // The archives that the reader knows, but that have no index.
  const std::vector<ListedArchive>& ArchivesWithoutIndex() const { return mWithoutIndex; }

  // Whether every file has its index.
  bool IsComplete() const { return mComplete; }

  // As ArchiveClient::FailWithNothing; that files were left out as asked is not a failure.
  [[noreturn]] void FailWithNothing(const std::string& what = kNothingRecorded);

 private:
  void ListArchives();
  std::vector<ListedArchive> ArchivesOfFiles() const;
  bool LeavesOutMissing() const { return mSource.Missing() == MissingIndexes::kLeaveOut; }
  std::optional<FoundEntry> FirstEntry(const ListedArchive& archive);

  const ServedSource& mSource;
  const std::vector<IndexedFile> mFiles;
  bool mComplete;
  ArchiveClient mClient;
  std::vector<ListedArchive> mArchives;
  std::vector<ListedArchive> mWithoutIndex;
};
