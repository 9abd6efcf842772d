#include <filesystem>
#include <functional>

#include "support/reader_test.h"

namespace {

namespace fs = std::filesystem;

struct Ending {
  const char* what;
  std::function<void(std::unique_ptr<CBrick>& reader)> end;
};

// How a host ends a reader.
const Ending kEndings[] = {
    {"destroyed", [](std::unique_ptr<CBrick>& reader) { reader.reset(); }},
    {"killed",
     [](std::unique_ptr<CBrick>& reader) { reader.release()->enqueueControl(KillBlock::New()); }},
    {"killed and asked on",
     [](std::unique_ptr<CBrick>& reader) {
       reader->enqueueControl(KillBlock::New());
       reader->enqueueControl(ChunkRequest(20000));
       reader.release()->enqueueControl(DataTick());
     }},
};

// A reader is ended after none, one, two … steps of the pipeline, from its creation to after the
// end of its indexing run.
class EndedRun : public ReaderTest {
 protected:
  void SetUp() override { path = Place("cam.zel3", ArchiveOf("cam", {10, 20, 30})); }

  // True when the reader came to rest in fewer steps.
  bool OpenAndStep(const std::string& source, int steps) {
    for (const char* const extension : {"id3", "hdr", "evt"})
      fs::remove(CachePath(path, extension));
    Open(source);
    for (int request = 0; request < 2; ++request) Send(ChunkRequest(20000));
    while (steps > 0 && pipeline.RunOne()) --steps;
    return steps > 0;
  }

  void ExpectNothingLeft() {
    Settle();
    EXPECT_EQ(pipeline.BrickCount(), 1u) << "only the client is alive";
    EXPECT_EQ(workshop.current, nullptr);
  }

  // Another start finds a whole index or makes one.
  void ExpectTheNextStartToAnswer() {
    Open(path);
    Settle();
    EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
    EndReader();
  }

  std::string path;
};

TEST_F(EndedRun, LeavesNothingBehindAndTheNextStartAnswers) {
  for (const Ending& ending : kEndings) {
    for (const std::string& source : {path, folder.Path()}) {
      bool atRest = false;
      for (int steps = 0; !atRest; ++steps) {
        SCOPED_TRACE(testing::Message() << ending.what << " after " << steps << " steps");
        atRest = OpenAndStep(source, steps);
        ending.end(reader);
        ExpectNothingLeft();
        ExpectTheNextStartToAnswer();
        ASSERT_LT(steps, 100);
      }
    }
  }
}

TEST_F(EndedRun, GoesOnWhenItsClientIsGone) {
  bool atRest = false;
  for (int steps = 0; !atRest; ++steps) {
    SCOPED_TRACE(steps);
    atRest = OpenAndStep(path, steps);
    client.reset();
    ASSERT_TRUE(pipeline.RunUntilIdle(1000));
    client = std::make_unique<CapturingClient>();
    client->Create(Config(""));
    client->ConnectAfter(reader.get());
    EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
    EndReader();
    ASSERT_LT(steps, 100);
  }
}

}  // namespace
