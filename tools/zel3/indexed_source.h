#pragma once

#include <string>
#include <vector>

#include "archive_client.h"
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

  // The archives of the reader's list that have an index; none when it gives no list.
  const std::vector<ListedArchive>& Archives() const { return mArchives; }

  // Whether every file has its index.
  bool IsComplete() const { return mComplete; }

  // As ArchiveClient::FailWithNothing; that files were left out as asked is no failure.
  [[noreturn]] void FailWithNothing(const std::string& what = "nothing is recorded there");

 private:
  void ListArchives();

  const std::string mPath;
  const MissingIndexes mMissing;
  ProgressBar mProgress;
  bool mComplete;
  ArchiveClient mClient;
  std::vector<ListedArchive> mArchives;
};
