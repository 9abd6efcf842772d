#include "client/archive_client.h"

#include <chrono>
#include <cstdlib>
#include <thread>
#include <utility>

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "system/file_status.h"

namespace {

// How often a reader is made anew because another process is building the same index.
constexpr int kMostOpenings = 10;

// How long to look for the next process that builds an index, and how often.
constexpr int kLooks = 4;
constexpr std::chrono::milliseconds kBetweenLooks(50);

// An answer that is not whole leaves the earlier one in place.
template <class Answer, class Kept>
void Keep(std::optional<Answer> answer, Kept* kept) {
  if (answer) *kept = std::move(*answer);
}

}  // namespace

ArchiveClient::ArchiveClient(const PlugIns& plugIns, const ServedSource& source,
                             const std::string& archive, Progress* progress)
    : mPlugIns(plugIns),
      mSource(source),
      mPath(archive),
      mReaderPath(archive, source.Missing() == MissingIndexes::kBuild
                               ? ReaderPath::Links::kKept
                               : ReaderPath::Links::kPassing),
      mProgress(progress) {
  mWork.what = "indexing";
  mWork.name = archive_source::FileName(archive);
  mSource.WaitForOthers(mPath);
  Open();
  // If another process had just begun to build the same index, this reader could keep nothing.
  for (int i = 0; i < kMostOpenings && mBuiltAnIndex && !IsListed() && OthersBuildTheIndex(); ++i) {
    Open();
  }
  mIsServed = IsListed();
}

// Waits for them. A run that begins makes the files of the index anew, so for a moment there are
// none; that does not mean that nobody is at work.
bool ArchiveClient::OthersBuildTheIndex() {
  for (int look = 0; look < kLooks; ++look) {
    if (look > 0) std::this_thread::sleep_for(kBetweenLooks);
    if (mSource.WaitForOthers(mPath) || mSource.Facts().HasIndex(mPath)) return true;
  }
  return false;
}

void ArchiveClient::Open() {
  mSession.reset();
  mBuiltAnIndex = false;
  mSession.emplace(mPlugIns, mSource.HostFor(mPath), mReaderPath.Path(),
                   [this](const cMemBlock& block) { Note(block); });
  mSession->RunUntilIdle();
  mProgress->Clear();
}

// Whether the reader lists the archive.
bool ArchiveClient::IsListed() {
  Ask(ArchivesRequestBlock::New());
  return mAnswers.list && !mAnswers.list->archives.empty();
}

std::optional<std::uint32_t> ArchiveClient::EntryAt(ArchiveTime time) {
  ChunkRequestBlock request = ChunkRequestBlock::New();
  request.Record().time = time;
  request.Record().type = kAtOrBefore;
  Ask(request);
  if (!mAnswers.entry || mAnswers.entry->indexId == kNoIndexId) return std::nullopt;
  return EntryNumber(mAnswers.entry->indexId);
}

void ArchiveClient::Ask(const cMemBlock& command) {
  mAnswers = {};
  mSession->Send(command);
  mSession->RunUntilIdle();
  mProgress->Clear();
}

void ArchiveClient::Note(const cMemBlock& block) {
  if (block.GetType() == tag::kNotify) {
    NoteNotification(block);
  } else if (block.GetType() == tag::kArchives) {
    Keep(ListIn(block), &mAnswers.list);
  }
}

void ArchiveClient::NoteNotification(const cMemBlock& block) {
  const NotifyBlock notification = NotifyBlock::View(block);
  if (!notification.HoldsRecord()) return;
  if (notification.Record().kind == tag::kMessage) {
    NoteMessage(block);
  } else if (notification.Record().kind == tag::kChunkAnswer) {
    Keep(EntryIn(block), &mAnswers.entry);
  }
}

void ArchiveClient::NoteMessage(const cMemBlock& block) {
  const MessageBlock view = MessageBlock::View(block);
  if (!view.HoldsRecord()) return;
  const TNotifyMessage& message = view.Record();
  if (message.level == tag::kLevelWarning && message.code == tag::kCodeProgress) {
    const auto status = StatusOf(mPath);
    mWork.all = status ? status->stx_size : 0;
    mWork.done = mWork.all / 100 * std::strtoul(message.text.c_str(), nullptr, 10);
    mProgress->Show(mWork);
  } else if (message.level == tag::kLevelRunEnded) {
    mBuiltAnIndex = true;
  }
}
