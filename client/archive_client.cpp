#include "client/archive_client.h"

#include <cassert>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <utility>

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "sources/archive_source.h"
#include "system/failure.h"

namespace {

// So often a reader is made anew because another process builds the same index.
constexpr int kMostOpenings = 10;

// How long to look for the next process that builds an index, and how often.
constexpr int kLooks = 4;
constexpr std::chrono::milliseconds kBetweenLooks(50);

// A reader on a folder reports progress against the file that it opened last, not the one that it
// indexes, so only a single file is named.
std::string ProgressLabel(const std::string& source, const std::vector<std::string>& files) {
  const bool single = files.size() == 1 && files.front() == source;
  return single ? "indexing " + archive_source::FileName(source) : "indexing";
}

// An answer that is not whole leaves what an earlier one has told.
template <class Answer, class Kept>
void Keep(std::optional<Answer> answer, Kept* kept) {
  if (answer) *kept = std::move(*answer);
}

}  // namespace

ArchiveClient::ArchiveClient(const ServedSource& source, Progress* progress)
    : ArchiveClient(source, source.Path(), progress) {}

ArchiveClient::ArchiveClient(const ServedSource& source, const std::string& archive,
                             Progress* progress)
    : mSource(source),
      mPath(archive),
      mProgress(progress),
      mProgressLabel(ProgressLabel(archive, archive_source::Files(archive))),
      mMostRuns(archive_source::Files(archive).size() + 2) {
  Open();
  // Where another process has begun to build the same index just before, this reader could keep
  // nothing.
  for (int i = 0; i < kMostOpenings && mBuiltAnIndex && !IsServed() && OthersBuildTheIndex(); ++i)
    Open();
  mIsServed = archive_source::IsFolder(mPath) || IsServed();
}

// Waits for them. A run that begins makes the files of the index anew, so for a moment there are
// none, which does not mean that nobody is at work.
bool ArchiveClient::OthersBuildTheIndex() {
  for (int look = 0; look < kLooks; ++look) {
    if (look > 0) std::this_thread::sleep_for(kBetweenLooks);
    if (mSource.WaitForOthers(mPath) || mSource.Facts().HasIndex(mPath)) return true;
  }
  return false;
}

void ArchiveClient::Open() {
  mSession.reset();
  mErrorMessage.clear();
  mBuiltAnIndex = false;
  mSession.emplace(mSource.Host(), mPath, [this](const cMemBlock& block) { Note(block); });
  mSession->RunUntilIdle();
  mProgress->Clear();
}

// Whether the reader knows archives.
bool ArchiveClient::IsServed() {
  return List().has_value();
}

std::optional<ArchiveList> ArchiveClient::List() {
  Ask(ArchivesRequestBlock::New());
  return mAnswers.list;
}

ArchiveList ArchiveClient::ListOrFail() {
  if (auto list = List()) return *list;
  FailWithReason();
  throw Failure("the reader could not open all files and gives no list; zel3 index names them");
}

std::optional<FoundEntry> ArchiveClient::Find(ArchiveTime time, Lookup lookup) {
  if (lookup != Lookup::kAtOrBefore) SetDirection(lookup == Lookup::kNext);
  for (std::size_t run = 0; run <= mMostRuns; ++run) {
    // Asked again after a first run, the reader has kept nothing of it: another process may be at
    // the same index.
    if (run > 1) mSource.WaitForOthers();
    ChunkRequestBlock request = ChunkRequestBlock::New();
    request.Record().time = time;
    request.Record().type = lookup == Lookup::kAtOrBefore ? kAtOrBefore : kNeighbour;
    Ask(request);
    if (lookup == Lookup::kAtOrBefore) mStopped = false;
    // A request that makes the reader build an index is not kept: the answer that comes then is to
    // an older one.
    if (mAnswers.runEnded) continue;
    if (!mAnswers.entry || mAnswers.entry->indexId == kNoIndexId) return std::nullopt;
    return AsFound(*mAnswers.entry);
  }
  throw Failure("the index of the file at that time cannot be built");
}

std::optional<std::vector<unsigned char>> ArchiveClient::Read(std::uint32_t fileNumber,
                                                              std::uint32_t entryNumber,
                                                              ArchiveTime time) {
  ParserChunkRequestBlock request = ParserChunkRequestBlock::New();
  request.Record().indexId = MakeIndexId(fileNumber, entryNumber);
  request.Record().time = time;
  Ask(request);
  return std::move(mAnswers.data);
}

std::optional<PreviewEntry> ArchiveClient::Preview(ArchiveTime time, ArchiveTime endTime) {
  EndStoppedState();
  PreviewRequestBlock request = PreviewRequestBlock::New();
  request.Record().time = time;
  request.Record().endTime = endTime;
  Ask(request);
  if (!mAnswers.entry) return std::nullopt;
  return PreviewEntry{AsFound(*mAnswers.entry), mAnswers.entry->timeReached != 0};
}

const std::vector<RecordedEvent>& ArchiveClient::Events() {
  Play(mForward);
  return mEvents;
}

std::vector<std::uint8_t> ArchiveClient::Activity(ArchiveTime from, ArchiveTime to,
                                                  std::int32_t binCount, std::int32_t streamId) {
  assert(binCount > 0);
  ActivityRequestBlock request = ActivityRequestBlock::New();
  request.Record().from = from;
  request.Record().to = to;
  request.Record().binCount = binCount;
  request.Record().streamId = streamId;
  Ask(request);
  mAnswers.levels.resize(static_cast<std::size_t>(binCount));
  return std::move(mAnswers.levels);
}

// What a reader says of a file that it cannot index is that there is no archive.
void ArchiveClient::FailWithReason() const {
  if (!mIsServed) {
    throw Failure(archive_source::FileName(mPath) + " " + kWhyNoIndex);
  }
  if (!mErrorMessage.empty()) throw Failure(mErrorMessage);
}

void ArchiveClient::FailWithNothing(const std::string& what) {
  if (!List()) {
    FailWithReason();
    throw Failure(what + ", but the reader could not open all files", kExitNothing);
  }
  throw Failure(what, kExitNothing);
}

void ArchiveClient::SetDirection(bool forward) {
  if (forward != mForward) Play(forward);
}

void ArchiveClient::Play(bool forward) {
  PlayBlock play = PlayBlock::New();
  play.Record().forward = forward ? 1 : 0;
  Ask(play);
  mForward = forward;
  mStopped = true;
}

void ArchiveClient::EndStoppedState() {
  if (!mStopped) return;
  // At a time that no archive reaches, so that no index is built.
  ChunkRequestBlock request = ChunkRequestBlock::New();
  request.Record().time = ~std::uint64_t{0};
  request.Record().type = kAtOrBefore;
  Ask(request);
  mStopped = false;
}

void ArchiveClient::Ask(const cMemBlock& command) {
  mAnswers = {};
  mSession->Send(command);
  mSession->RunUntilIdle();
  mProgress->Clear();
}

void ArchiveClient::Note(const cMemBlock& block) {
  switch (block.GetType()) {
    case tag::kNotify:
      NoteNotification(block);
      break;
    case tag::kArchives:
      Keep(ListIn(block), &mAnswers.list);
      break;
    case tag::kRawData:
      Keep(BytesIn(block), &mAnswers.data);
      break;
    default:
      break;
  }
}

void ArchiveClient::NoteNotification(const cMemBlock& block) {
  const NotifyBlock notification = NotifyBlock::View(block);
  if (!notification.HoldsRecord()) return;
  switch (notification.Record().kind) {
    case tag::kMessage:
      NoteMessage(block);
      break;
    case tag::kChunkAnswer:
      Keep(EntryIn(block), &mAnswers.entry);
      break;
    case tag::kEventList:
      Keep(EventsIn(block), &mEvents);
      break;
    case tag::kActivityGist:
      Keep(LevelsIn(block), &mAnswers.levels);
      break;
    default:
      break;
  }
}

void ArchiveClient::NoteMessage(const cMemBlock& block) {
  const MessageBlock view = MessageBlock::View(block);
  if (!view.HoldsRecord()) return;
  const TNotifyMessage& message = view.Record();
  if (message.level == tag::kLevelWarning && message.code == tag::kCodeProgress) {
    mProgress->Show(mProgressLabel,
                    static_cast<unsigned>(std::strtoul(message.text.c_str(), nullptr, 10)));
  } else if (message.level == tag::kLevelRunEnded) {
    mAnswers.runEnded = true;
    mBuiltAnIndex = true;
  } else if (message.level == tag::kLevelError) {
    mErrorMessage = message.detail.empty() ? message.text : message.text + " " + message.detail;
  }
}
