#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "archive_session.h"
#include "chunk_info.h"
#include "progress_bar.h"

// All times are archive times.

struct ListedArchive {
  std::uint64_t startTime = 0;
  std::uint64_t endTime = 0;
  std::uint32_t fileNumber = 0;
  std::vector<unsigned> streamIds;  // ascending
};

struct ArchiveList {
  std::string source;
  std::vector<ListedArchive> archives;
};

struct FoundEntry {
  std::uint32_t fileNumber = 0;
  std::uint32_t entryNumber = 0;
  std::uint64_t time = 0;
};

enum class Lookup {
  kAtOrBefore,
  kNext,      // the entry after the one at or before the time
  kPrevious,  // the entry before the one at or before the time
};

// Asks the reader of one source question by question. A question that makes the reader build an
// index takes as long as that and shows its progress.
class ArchiveClient {
 public:
  // `source` comes from archive_source::Locate. Opening a single file without an index builds it
  // here. Borrows `progress`. Throws ToolError when the plug-in gives no reader; so do all
  // functions when the user interrupts.
  ArchiveClient(const HostOptions& host, const std::string& source, ProgressBar* progress);

  // The archives of the source; nothing when the reader knows none.
  std::optional<ArchiveList> List();

  // The entry that a time belongs to; nothing when there is none. Throws ToolError when the index
  // that the answer needs cannot be built.
  std::optional<FoundEntry> Find(std::uint64_t time, Lookup lookup);

  // The bytes of the entry `entryNumber` of the file `fileNumber`, behind the stream header when
  // the reader has not yet delivered it. `time` must lie in that file. Nothing when the reader does
  // not answer with a complete block. REQUIRES: a Find of kAtOrBefore since the last one of
  // kPrevious.
  std::optional<std::vector<unsigned char>> Read(std::uint32_t fileNumber,
                                                 std::uint32_t entryNumber, std::uint64_t time);

  // Ends the verb because nothing was found: with the reader's reason when it has no archive, else
  // as nothing at that time.
  [[noreturn]] void FailWithNothing();

  // Whether an index has been built since the client was made.
  bool BuiltAnIndex() const { return mBuiltAnIndex; }

  // The reader's last error message; empty when there was none.
  const std::string& ErrorMessage() const { return mErrorMessage; }

 private:
  struct Answers {
    std::optional<ArchiveList> list;
    std::optional<TZEL3ChunkInfo> entry;
    std::optional<std::vector<unsigned char>> data;
    bool runEnded = false;
  };

  void Ask(const cMemBlock& command);
  void Note(const cMemBlock& block);
  void NoteNotification(const cMemBlock& block);
  void NoteMessage(const cMemBlock& block);
  void SetDirection(bool forward);

  ProgressBar* const mProgress;
  const std::string mProgressLabel;
  const std::size_t mMostRuns;
  Answers mAnswers;
  bool mForward = true;
  bool mBuiltAnIndex = false;
  std::string mErrorMessage;
  ArchiveSession mSession;
};
