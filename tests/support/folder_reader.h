#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "archive/recorded_event.h"
#include "blocks/units.h"
#include "client/answers.h"
#include "client/archive_session.h"
#include "client/timeline.h"

// A reader of a whole folder, as hosts have it, asked question by question. The answers of a
// Timeline are compared with those of this one.
class FolderReader {
 public:
  explicit FolderReader(const std::string& folder);

  std::vector<ListedArchive> List();
  std::optional<FoundEntry> Find(ArchiveTime time, Lookup lookup);
  // The first entry at `time` or later.
  std::optional<FoundEntry> Preview(ArchiveTime time);
  std::vector<RecordedEvent> Events();
  std::vector<unsigned> Activity(ArchiveTime from, ArchiveTime to, std::int32_t binCount,
                                 std::int32_t streamId);

 private:
  void Ask(const cMemBlock& command);
  void Play(bool forward);
  void Note(const cMemBlock& block);

  const PlugIns mPlugIns;
  std::optional<ArchiveList> mList;
  std::optional<TZEL3ChunkInfo> mEntry;
  std::vector<RecordedEvent> mEvents;
  std::vector<unsigned> mLevels;
  ArchiveSession mSession;
};

// With the plug-ins of this build, and no settings of the user.
HostOptions HostOfThisBuild();
