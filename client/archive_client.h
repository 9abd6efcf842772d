#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "blocks/chunk_info.h"
#include "blocks/units.h"
#include "client/answers.h"
#include "client/archive_session.h"
#include "sources/reader_path.h"
#include "sources/served_source.h"
#include "system/progress.h"

// Why an archive has no index, as a clause that follows its name.
constexpr char kWhyNoIndex[] = "cannot be indexed, or its index cannot be written";

// Asks a reader of one archive, question by question.
class ArchiveClient {
 public:
  // Opening an archive without an index builds the index here, and shows progress. Borrows all
  // three. Throws Failure when the plug-in gives no reader; so do all functions when the user
  // interrupts.
  ArchiveClient(const PlugIns& plugIns, const ServedSource& source, const std::string& archive,
                Progress* progress);

  // Whether the reader serves the archive: it has an index now.
  bool IsServed() const { return mIsServed; }

  // Whether an index has been built.
  bool BuiltAnIndex() const { return mBuiltAnIndex; }

  // The number of the entry at or before a time; nothing when there is none.
  std::optional<std::uint32_t> EntryAt(ArchiveTime time);

 private:
  struct Answers {
    std::optional<ArchiveList> list;
    std::optional<TZEL3ChunkInfo> entry;
  };

  bool OthersBuildTheIndex();
  void Open();
  bool IsListed();
  void Ask(const cMemBlock& command);
  void Note(const cMemBlock& block);
  void NoteNotification(const cMemBlock& block);
  void NoteMessage(const cMemBlock& block);

  const PlugIns& mPlugIns;
  const ServedSource& mSource;
  const std::string mPath;
  const ReaderPath mReaderPath;
  Progress* const mProgress;
  WorkState mWork;
  Answers mAnswers;
  bool mBuiltAnIndex = false;
  bool mIsServed = false;
  std::optional<ArchiveSession> mSession;
};
