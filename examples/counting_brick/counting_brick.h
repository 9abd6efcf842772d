#pragma once

#include <blocks/commands.h>
#include <blocks/four_cc.h>
#include <blocks/notifications.h>
#include <sdk/brick.h>

#include <map>
#include <string>

// A brick at the end of a chain: asks for every entry of an archive and counts what arrives by its
// tag, notifications by their kind.
class CountingBrick final : public CBrick {
 public:
  // Asks for the list of archives. The rest happens while the pipeline runs.
  void Start() { SendCmd(ArchivesRequestBlock::New()); }

  const std::map<std::string, int>& Counts() const { return mCounts; }

 private:
  int onData(const cMemBlock& block) override {
    ++mCounts[FourCcText(block.GetType())];
    return 1;
  }

  // The list of archives tells when the first one starts.
  int onCtrl(cMemBlock& block) override {
    ++mCounts[FourCcText(block.GetType())];
    if (block.GetType() != tag::kArchives) return 1;
    const ArchivesBlock list = ArchivesBlock::View(block);
    if (list.GetExtraSize() < sizeof(TArchiveEntry)) return 1;
    AskForEntry(list.Record().Archives()[0].startTime, kAtOrBefore);
    return 1;
  }

  // The reader has found an entry. The parser between the two asks for its bytes, so that its
  // records arrive without a request from here; this asks for the next entry.
  int onNotify(const cMemBlock& block) override {
    const NotifyBlock notification = NotifyBlock::View(block);
    if (!notification.HoldsRecord()) return 1;
    ++mCounts[FourCcText(notification.Record().kind)];
    const ChunkAnswerBlock answer = ChunkAnswerBlock::View(block);
    if (notification.Record().kind != tag::kChunkAnswer || !answer.HoldsRecord()) return 1;
    const TZEL3ChunkInfo entry = answer.Record().info;
    if (entry.indexId != kNoIndexId) AskForEntry(entry.time, kNeighbour);
    return 1;
  }

  void AskForEntry(ArchiveTime time, std::uint32_t type) {
    ChunkRequestBlock request = ChunkRequestBlock::New();
    request.Record().time = time;
    request.Record().type = type;
    SendCmd(request);
  }

  std::map<std::string, int> mCounts;
};
