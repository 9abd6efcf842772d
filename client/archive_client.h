#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "blocks/chunk_info.h"
#include "blocks/units.h"
#include "client/answers.h"
#include "client/archive_session.h"
#include "sources/served_source.h"
#include "system/progress.h"

enum class Lookup {
  kAtOrBefore,
  kNext,      // the entry after the one at or before the time
  kPrevious,  // the entry before the one at or before the time
};

constexpr char kNothingRecorded[] = "nothing is recorded there";
// Why an archive has no index, as a clause that follows its name.
constexpr char kWhyNoIndex[] = "cannot be indexed, or its index cannot be written";

// Asks the reader of one source question by question. A question that makes the reader build an
// index takes as long as that and shows its progress.
class ArchiveClient {
 public:
  // Opening a single file without an index builds it here. Borrows both. Throws Failure when the
  // plug-in gives no reader; so do all functions when the user interrupts.
  ArchiveClient(const ServedSource& source, Progress* progress);
  // The same for one archive of the source alone.
  ArchiveClient(const ServedSource& source, const std::string& archive, Progress* progress);

  // The archives of the source; nothing when the reader knows none.
  std::optional<ArchiveList> List();

  // The same list. Throws Failure with the reader's reason when it knows none.
  ArchiveList ListOrFail();

  // The entry that a time belongs to; nothing when there is none. Throws Failure when the index
  // that the answer needs cannot be built.
  std::optional<FoundEntry> Find(ArchiveTime time, Lookup lookup);

  // The bytes of the entry `entryNumber` of the file `fileNumber`, after the stream header when the
  // reader has not yet delivered it. `time` must lie in that file. Nothing when the reader does not
  // answer with a complete block. REQUIRES: a Find of kAtOrBefore since the last one of kPrevious.
  std::optional<std::vector<unsigned char>> Read(std::uint32_t fileNumber,
                                                 std::uint32_t entryNumber, ArchiveTime time);

  // The entry to show for `time`: the first one at or after it. Nothing for a time before all
  // archives or after the last entry. Never makes the reader build an index: nothing, too, when the
  // entry's file has none.
  std::optional<PreviewEntry> Preview(ArchiveTime time, ArchiveTime endTime);

  // The events of all files that have an index, file by file. The reader tells them once, so they
  // are those of the first call.
  const std::vector<RecordedEvent>& Events();

  // How active a stream was from `from` to `to`, one level (0-63) for each of `binCount` bins as
  // the reader fills them. Files without an index add nothing. REQUIRES: `binCount` is above 0.
  std::vector<std::uint8_t> Activity(ArchiveTime from, ArchiveTime to, std::int32_t binCount,
                                     std::int32_t streamId);

  // Ends the verb because nothing was found: with the reader's reason when it has no archive, else
  // as nothing at that time, which `what` says.
  [[noreturn]] void FailWithNothing(const std::string& what = kNothingRecorded);

  // Whether an index has been built since the client was made.
  bool BuiltAnIndex() const { return mBuiltAnIndex; }

  // The reader's last error message; empty when there was none.
  const std::string& ErrorMessage() const { return mErrorMessage; }

 private:
  struct Answers {
    std::optional<ArchiveList> list;
    std::optional<TZEL3ChunkInfo> entry;
    std::optional<std::vector<unsigned char>> data;
    std::vector<std::uint8_t> levels;
    bool runEnded = false;
  };

  bool OthersBuildTheIndex();
  void Open();
  bool IsServed();
  void FailWithReason() const;
  void Ask(const cMemBlock& command);
  void Note(const cMemBlock& block);
  void NoteNotification(const cMemBlock& block);
  void NoteMessage(const cMemBlock& block);
  void SetDirection(bool forward);
  void Play(bool forward);
  void EndStoppedState();

  const ServedSource& mSource;
  const std::string mPath;
  Progress* const mProgress;
  const std::string mProgressLabel;
  const std::size_t mMostRuns;
  Answers mAnswers;
  std::vector<RecordedEvent> mEvents;
  bool mForward = true;
  bool mStopped = true;  // the reader gives no previews
  bool mBuiltAnIndex = false;
  bool mIsServed = true;  // false: a single file of which the reader gives nothing
  std::string mErrorMessage;
  std::optional<ArchiveSession> mSession;
};
