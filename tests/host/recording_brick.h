#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "blocks/notifications.h"
#include "host/pipeline.h"
#include "sdk/brick.h"

// Blocks that a test tells apart by a number.
using NumberBlock = cCommandBlock<std::uint32_t, FourCc("test")>;

inline cMemBlock Block(std::uint32_t number) {
  NumberBlock block = NumberBlock::New();
  block.Record() = number;
  return block;
}

inline cMemBlock Notice(std::uint32_t number) {
  MessageBlock block = MessageBlock::New();
  block.Record().value = static_cast<std::int32_t>(number);
  return block;
}

// The number of a block, or the tag of one without a number.
inline std::string NumberText(const cMemBlock& block) {
  if (block.GetType() == tag::kNotify)
    return std::to_string(MessageBlock::View(block).Record().value);
  if (block.GetType() != FourCc("test")) return FourCcText(block.GetType());
  return std::to_string(NumberBlock::View(block).Record());
}

using Log = std::vector<std::string>;

// Writes what happens to it into a log that bricks share: "name.callback number".
class RecordingBrick : public CBrick {
 public:
  RecordingBrick(std::string name, Log* log) : mName(std::move(name)), mLog(log) {}
  ~RecordingBrick() override { mLog->push_back(mName + " gone"); }

  using CBrick::OwnerContext;
  using CBrick::SendCmd;
  using CBrick::SendData;
  using CBrick::SendUp;
  using CBrick::Side;

  // Called at the end of each of onCtrl, onData and onNotify; may replace itself.
  std::function<void()> reaction = [] {};
  // What onCreate does.
  std::function<int()> creation = [] { return 1; };
  // Where each block came from.
  std::vector<Side> sides;

 protected:
  int onCtrl(cMemBlock& block) override { return Record(".ctrl ", block); }
  int onData(const cMemBlock& block) override { return Record(".data ", block); }
  int onNotify(const cMemBlock& block) override { return Record(".notify ", block); }
  int onCreate(const TBrickConfig&) override { return creation(); }

 private:
  int Record(const char* callback, const cMemBlock& block) {
    mLog->push_back(mName + callback + NumberText(block));
    sides.push_back(CameFrom());
    const auto current = reaction;
    current();
    return 1;
  }

  std::string mName;
  Log* mLog;
};

// A pipeline, bricks that log into one place, and the assurance that no block outlives a test.
class HostTest : public testing::Test {
 protected:
  using Brick = std::unique_ptr<RecordingBrick>;

  void TearDown() override { EXPECT_EQ(cMemBlock::node::LiveCount(), mLiveNodesBefore); }

  TBrickConfig Config() const {
    TBrickConfig config = {};
    config.ownerContext = pipeline.Id();
    return config;
  }

  // A brick that has not joined the pipeline yet.
  Brick MakeUncreated(const std::string& name) {
    return std::make_unique<RecordingBrick>(name, &log);
  }

  Brick Make(const std::string& name) {
    Brick brick = MakeUncreated(name);
    brick->Create(Config());
    return brick;
  }

  Log log;
  Pipeline pipeline;

 private:
  const long mLiveNodesBefore = cMemBlock::node::LiveCount();
};
