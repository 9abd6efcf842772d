#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "host/brick_plugins.h"
#include "host/pipeline.h"
#include "sdk/brick_loader.h"
#include "support/found_records.h"

// The parser as hosts get it: from the plug-in file, between a brick that stands for the reader and
// one that stands for a client.

// A block in words: "vid3 picture".
std::string Describe(const cMemBlock& block);

// A neighbour of the parser: writes down what reaches it.
class Neighbour final : public CBrick {
 public:
  using CBrick::SendCmd;
  using CBrick::SendData;

  void enqueueControl(const cMemBlock& block) override {
    FindRoom();
    CBrick::enqueueControl(block);
  }
  void enqueueData(const cMemBlock& block) override {
    FindRoom();
    CBrick::enqueueData(block);
  }

  Lines commands;
  Lines data;  // and notifications
  std::vector<cMemBlock> blocks;
  // After `room` blocks there is no memory for the next `refusals`.
  int room = 0;
  int refusals = 0;

 private:
  void FindRoom() {
    if (room > 0) {
      --room;
    } else if (refusals > 0) {
      --refusals;
      throw std::bad_alloc();
    }
  }
  int onCtrl(cMemBlock& block) override {
    commands.push_back(Describe(block));
    return 1;
  }
  int onData(const cMemBlock& block) override {
    data.push_back(Describe(block));
    blocks.push_back(block);
    return 1;
  }
  int onNotify(const cMemBlock& block) override { return onData(block); }
};

inline TBrickConfig ParserConfig(const Pipeline& pipeline) {
  TBrickConfig config = {};
  config.ownerContext = pipeline.Id();
  config.signature = tag::kSignatureParser;
  config.input = {tag::kFormatZel3, tag::kRawData};
  config.output = {tag::kFormatMany, tag::kKindMany};
  return config;
}

inline RawDataBlock Raw(const Bytes& bytes) {
  RawDataBlock block = RawDataBlock::New(static_cast<std::uint32_t>(bytes.size()));
  std::copy(bytes.begin(), bytes.end(), block.WritableBytes());
  return block;
}

inline ChunkAnswerBlock ChunkAnswer(std::uint64_t indexId, std::uint64_t time) {
  ChunkAnswerBlock block = ChunkAnswerBlock::New();
  block.Record().info.indexId = indexId;
  block.Record().info.time = time;
  return block;
}

class ParserBrickTest : public testing::Test {
 protected:
  ParserBrickTest() {
    mReader.Create(ParserConfig(mPipeline));
    mClient.Create(ParserConfig(mPipeline));
    MakeParser();
  }
  ~ParserBrickTest() override { EndParser(); }

  void MakeParser() {
    TBrickConfig config = ParserConfig(mPipeline);
    mParser = CBrickLoader::CreateBrick(tag::kSignatureParser, config);
    if (mParser == nullptr) throw std::runtime_error(brick_plugins::LastError());
    mParser->ConnectAfter(&mReader);
    mClient.ConnectAfter(mParser);
  }
  void EndParser() {
    mParser->enqueueControl(KillBlock::New());
    EXPECT_TRUE(mPipeline.RunUntilIdle(kMostSteps));
    EXPECT_EQ(mPipeline.BrickCount(), 2u);
  }

  void ReaderSends(const cMemBlock& dataOrNotification) {
    mReader.SendData(dataOrNotification);
    ASSERT_TRUE(mPipeline.RunUntilIdle(kMostSteps));
  }
  void ReaderSendsBytes(const Bytes& bytes) { ReaderSends(Raw(bytes)); }
  void ReaderSendsCommand(const cMemBlock& command) {
    mReader.SendCmd(command);
    ASSERT_TRUE(mPipeline.RunUntilIdle(kMostSteps));
  }
  void ClientSendsCommand(const cMemBlock& command) {
    mClient.SendCmd(command);
    ASSERT_TRUE(mPipeline.RunUntilIdle(kMostSteps));
  }

  static constexpr std::uint64_t kMostSteps = 10000;

  Pipeline mPipeline;
  Neighbour mReader;
  Neighbour mClient;
  CBrick* mParser = nullptr;
};
