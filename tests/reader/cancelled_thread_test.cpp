#include <pthread.h>

#include <functional>

#include "host/brick_plugins.h"
#include "run_test.h"
#include "sdk/brick_loader.h"
#include "support/callbacks.h"
#include "support/sanitized.h"

namespace {

// A client to which sending is a point at which a thread may be cancelled.
class CancellationPoint : public CBrick {
 public:
  void enqueueControl(const cMemBlock&) override { pthread_testcancel(); }
  void enqueueData(const cMemBlock&) override { pthread_testcancel(); }
};

// Where a thread that is to be cancelled ends.
enum class CancelledIn { kTheWork, kWhatFollows };

CancelledIn Cancel(const std::function<void()>& work) {
  struct Task {
    const std::function<void()>& work;
    bool done = false;
  } task{work};
  const auto run = [](void* argument) -> void* {
    auto* const own = static_cast<Task*>(argument);
    pthread_cancel(pthread_self());
    own->work();
    own->done = true;
    pthread_testcancel();
    return nullptr;
  };
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, nullptr, run, &task), 0);
  void* result = nullptr;
  EXPECT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  return task.done ? CancelledIn::kWhatFollows : CancelledIn::kTheWork;
}

class CancelledThread : public RunTest {
 protected:
  void SetUp() override {
    if (kIsSanitized) GTEST_SKIP() << "the sanitizer loses track of a stack unwound out of a call";
    RunTest::SetUp();
    path = Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  }
  void TearDown() override {
    EndReader();
    point.DisconnectFromAll();
    RunTest::TearDown();
  }
  void Connect(CBrick* brick) { point.ConnectAfter(brick); }

  std::string path;
  CancellationPoint point;
};

TEST_F(CancelledThread, EndsInACommand) {
  workshop.pullsItself = true;
  Open(path);
  Settle();
  Connect(reader.get());
  for (cMemBlock command : {cMemBlock(ChunkRequest(20000)), cMemBlock(Play()),
                            cMemBlock(DataTick()), cMemBlock(ActivityRequest(0, 100000, 10, 1))}) {
    EXPECT_EQ(Cancel([&] { (reader.get()->*(&Callbacks::onCtrl))(command); }),
              CancelledIn::kTheWork);
  }
}

TEST_F(CancelledThread, EndsInARun) {
  OpenInARun(path);
  Connect(reader.get());
  const auto send = [&](const cMemBlock& block) { (reader.get()->*(&Callbacks::onData))(block); };
  EXPECT_EQ(Cancel([&] { send(ParsedPlace(50)); }), CancelledIn::kTheWork) << "progress";
  EXPECT_EQ(Cancel([&] { send(StreamMark(tag::kBlockFinished)); }), CancelledIn::kTheWork);
  const cMemBlock end = Message(tag::kLevelWarning, tag::kCodeEndOfFile);
  EXPECT_EQ(Cancel([&] { (reader.get()->*(&Callbacks::onNotify))(end); }), CancelledIn::kTheWork);
}

TEST_F(CancelledThread, EndsAtTheStartOfARun) {
  Open(folder.Path());
  Connect(reader.get());
  cMemBlock request = ChunkRequest(20000);
  EXPECT_EQ(Cancel([&] { (reader.get()->*(&Callbacks::onCtrl))(request); }), CancelledIn::kTheWork);
}

TEST_F(CancelledThread, EndsInTheCreationOfAReader) {
  const TBrickConfig config = Config(path);
  Open(folder / "missing");
  Connect(reader.get());
  EXPECT_EQ(Cancel([&] { (reader.get()->*(&Callbacks::onCreate))(config); }),
            CancelledIn::kTheWork);
}

TEST_F(CancelledThread, EndsInTheReferenceParser) {
  brick_plugins::ResetRegistrations();
  TBrickConfig config = Config("");
  config.signature = tag::kSignatureParser;
  config.input = {tag::kFormatZel3, tag::kRawData};
  config.output = {tag::kFormatMany, tag::kKindMany};
  const std::unique_ptr<CBrick> parser(CBrickLoader::CreateBrick(tag::kSignatureParser, config));
  ASSERT_NE(parser, nullptr) << brick_plugins::LastError();
  Connect(parser.get());
  CancellationPoint feeder;
  parser->ConnectAfter(&feeder);
  const SmallArchive archive = ArchiveOf("cam", {10});
  RawDataBlock bytes = RawDataBlock::New(static_cast<std::uint32_t>(archive.bytes.size()));
  std::copy(archive.bytes.begin(), archive.bytes.end(), bytes.WritableBytes());
  cMemBlock request = ChunkRequest(20000);
  EXPECT_EQ(Cancel([&] { (parser.get()->*(&Callbacks::onData))(bytes); }), CancelledIn::kTheWork);
  EXPECT_EQ(Cancel([&] { (parser.get()->*(&Callbacks::onNotify))(Message(tag::kLevelError, 0)); }),
            CancelledIn::kTheWork);
  EXPECT_EQ(Cancel([&] { (parser.get()->*(&Callbacks::onCtrl))(request); }), CancelledIn::kTheWork);
}

// A destructor has to come to its end.
class UntellableParser : public ScriptedParser {
 public:
  using ScriptedParser::ScriptedParser;

 protected:
  void enqueueControl(const cMemBlock& block) override {
    pthread_testcancel();
    ScriptedParser::enqueueControl(block);
  }
};

TEST_F(CancelledThread, EndsAfterTheDestructionOfAReader) {
  brick_plugins::RegisterFactory(tag::kSignatureParser, [&](TBrickConfig* config) -> CBrick* {
    auto* const parser = new UntellableParser(&workshop);
    parser->Create(*config);
    return parser;
  });
  OpenInARun(path);
  EXPECT_EQ(Cancel([&] { reader.reset(); }), CancelledIn::kWhatFollows);
  Settle();
  EXPECT_EQ(pipeline.BrickCount(), 1u);
}

}  // namespace
