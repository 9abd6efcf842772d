#pragma once

#include <optional>
#include <string>
#include <vector>

#include "archive_client.h"
#include "index_builder.h"
#include "progress_bar.h"

enum class MissingIndexes { kBuild, kLeaveOut };

// A source whose every file has its index, for the verbs that ask about all of it at once: a reader
// passes over files that have none.
class IndexedSource {
 public:
  // Builds the missing indexes if so asked, with progress. Says on the standard error when files
  // remain without one. Throws ToolError when the source cannot be read or the user interrupts.
  IndexedSource(const HostOptions& host, const std::string& path, MissingIndexes missing);

  ArchiveClient& Client() { return mClient; }

  // The archives that the reader serves from an index.
  const std::vector<ListedArchive>& Archives() const { return mArchives; }

  // All files of the source by name, with what came of indexing each; none when missing indexes are
  // left out.
  const std::vector<IndexedFile>& Files() const { return mFiles; }

  // Whether every file has its index.
  bool IsComplete() const { return mComplete; }

  // As ArchiveClient::FailWithNothing; that files were left out as asked is no failure.
  [[noreturn]] void FailWithNothing(const std::string& what = "nothing is recorded there");

 private:
  void ListArchives();
  std::vector<ListedArchive> ArchivesOfFiles() const;
  std::optional<FoundEntry> FirstEntry(const ListedArchive& archive);

  const std::string mPath;
  const MissingIndexes mMissing;
  ProgressBar mProgress;
  const std::vector<IndexedFile> mFiles;
  bool mComplete;
  ArchiveClient mClient;
  std::vector<ListedArchive> mArchives;
};
