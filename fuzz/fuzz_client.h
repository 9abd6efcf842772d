#pragma once

#include <vector>

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "fuzz_input.h"
#include "sdk/brick.h"

// The brick after a reader: keeps what arrives, and checks that each block is what its kind
// promises.
class FuzzClient final : public CBrick {
 public:
  std::vector<cMemBlock> blocks;

 private:
  int onCtrl(cMemBlock& block) override { return Keep(block); }
  int onData(const cMemBlock& block) override { return Keep(block); }
  int onNotify(const cMemBlock& block) override { return Keep(block); }

  int Keep(const cMemBlock& block) {
    switch (block.GetType()) {
      case tag::kNotify:
        CheckNotification(block);
        break;
      case tag::kRawData:
        FUZZ_REQUIRE(RawDataBlock::View(block).Size() >= 13);
        break;
      case tag::kArchives: {
        const auto list = ArchivesBlock::View(block);
        FUZZ_REQUIRE(list.HoldsRecord());
        FUZZ_REQUIRE(list.GetExtraSize() == list.Record().count * sizeof(TArchiveEntry));
        break;
      }
      default:
        FUZZ_REQUIRE(block.GetType() == tag::kChunkRequest);
        break;
    }
    blocks.push_back(block);
    return 1;
  }

  static void CheckNotification(const cMemBlock& block) {
    const auto notification = NotifyBlock::View(block);
    FUZZ_REQUIRE(notification.HoldsRecord());
    switch (notification.Record().kind) {
      case tag::kChunkAnswer:
        FUZZ_REQUIRE(ChunkAnswerBlock::View(block).GetExtraSize() == 0);
        break;
      case tag::kReset:
        FUZZ_REQUIRE(ResetBlock::View(block).GetExtraSize() == 0);
        break;
      case tag::kActivityGist: {
        const auto gist = ActivityGistBlock::View(block);
        const std::int32_t bins = gist.Record().binCount;
        FUZZ_REQUIRE(gist.GetExtraSize() == static_cast<std::uint32_t>(bins > 0 ? bins : 0));
        break;
      }
      case tag::kEventList:
        FUZZ_REQUIRE(!EventListBlock::View(block).Record().events.isEmpty());
        break;
      default:
        FUZZ_REQUIRE(notification.Record().kind == tag::kMessage);
        FUZZ_REQUIRE(MessageBlock::View(block).Record().value == 6);
        break;
    }
  }
};
