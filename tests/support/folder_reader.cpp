#include "support/folder_reader.h"

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "sources/nowhere.h"

HostOptions HostOfThisBuild() {
  HostOptions host;
  host.pluginFolder = PLUGIN_FOLDER;
  host.settingsFolder = kNowhere;
  return host;
}

FolderReader::FolderReader(const std::string& folder)
    : mPlugIns(HostOfThisBuild()),
      mSession(mPlugIns, HostOfThisBuild(), folder,
               [this](const cMemBlock& block) { Note(block); }) {
  mSession.RunUntilIdle();
}

std::vector<ListedArchive> FolderReader::List() {
  Ask(ArchivesRequestBlock::New());
  return mList ? mList->archives : std::vector<ListedArchive>();
}

std::optional<FoundEntry> FolderReader::Find(ArchiveTime time, Lookup lookup) {
  if (lookup != Lookup::kAtOrBefore) Play(lookup == Lookup::kNext);
  ChunkRequestBlock request = ChunkRequestBlock::New();
  request.Record().time = time;
  request.Record().type = lookup == Lookup::kAtOrBefore ? kAtOrBefore : kNeighbour;
  Ask(request);
  if (!mEntry || mEntry->indexId == kNoIndexId) return std::nullopt;
  return FoundEntry{FileNumber(mEntry->indexId), EntryNumber(mEntry->indexId), mEntry->time};
}

std::optional<FoundEntry> FolderReader::Preview(ArchiveTime time) {
  // A reader that has been told to play gives none before it has been asked for an entry.
  Find(~ArchiveTime{0}, Lookup::kAtOrBefore);
  PreviewRequestBlock request = PreviewRequestBlock::New();
  request.Record().time = time;
  request.Record().endTime = time;
  Ask(request);
  if (!mEntry) return std::nullopt;
  return FoundEntry{FileNumber(mEntry->indexId), EntryNumber(mEntry->indexId), mEntry->time};
}

std::vector<RecordedEvent> FolderReader::Events() {
  Play(true);
  return mEvents;
}

std::vector<unsigned> FolderReader::Activity(ArchiveTime from, ArchiveTime to,
                                             std::int32_t binCount, std::int32_t streamId) {
  mLevels.clear();
  ActivityRequestBlock request = ActivityRequestBlock::New();
  request.Record().from = from;
  request.Record().to = to;
  request.Record().binCount = binCount;
  request.Record().streamId = streamId;
  Ask(request);
  mLevels.resize(static_cast<std::size_t>(binCount));
  return mLevels;
}

void FolderReader::Play(bool forward) {
  PlayBlock play = PlayBlock::New();
  play.Record().forward = forward ? 1 : 0;
  Ask(play);
}

void FolderReader::Ask(const cMemBlock& command) {
  mList.reset();
  mEntry.reset();
  mSession.Send(command);
  mSession.RunUntilIdle();
}

void FolderReader::Note(const cMemBlock& block) {
  if (block.GetType() == tag::kArchives) mList = ListIn(block);
  if (block.GetType() != tag::kNotify) return;
  const NotifyBlock notification = NotifyBlock::View(block);
  if (!notification.HoldsRecord()) return;
  switch (notification.Record().kind) {
    case tag::kChunkAnswer:
      mEntry = EntryIn(block);
      break;
    case tag::kEventList:
      for (const TEventListEntry& event : EventListBlock::View(block).Record().events)
        mEvents.push_back({event.time, event.eventType, event.text});
      break;
    case tag::kActivityGist: {
      const ActivityGistBlock gist = ActivityGistBlock::View(block);
      const std::uint8_t* const levels = gist.Record().Levels();
      mLevels.assign(levels, levels + gist.GetExtraSize());
      break;
    }
    default:
      break;
  }
}
