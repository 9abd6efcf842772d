#include <malloc.h>

#include <algorithm>
#include <cstring>

#include "host/brick_plugins.h"
#include "run_test.h"
#include "support/callbacks.h"

namespace {

constexpr unsigned char kGone = 0xA7;

// A parser of a host that delivers at once: it ends the index reader while that is still sending.
// The memory of the index reader stays, so that every use of it afterwards can be seen.
class EndingParser : public ScriptedParser {
 public:
  using ScriptedParser::ScriptedParser;

  void ConnectAfter(CBrick* before) override {
    feeder = before;
    ScriptedParser::ConnectAfter(before);
  }
  void enqueueData(const cMemBlock&) override {
    size = malloc_usable_size(feeder);
    feeder->~CBrick();
    std::memset(static_cast<void*>(feeder), kGone, size);
  }

  CBrick* feeder = nullptr;
  std::size_t size = 0;  // once it has been ended
};

// A client of such a host, which ends the reader.
class EndingClient : public CBrick {
 public:
  explicit EndingClient(CBrick* reader) : mReader(reader) {}
  void enqueueControl(const cMemBlock&) override { End(); }
  void enqueueData(const cMemBlock&) override { End(); }

  std::size_t size = 0;  // once it has been ended

 private:
  void End() {
    size = malloc_usable_size(mReader);
    mReader->~CBrick();
    std::memset(static_cast<void*>(mReader), kGone, size);
  }

  CBrick* mReader;
};

class EndedInASend : public RunTest {
 protected:
  // An index reader of the file sends something, and is ended during the send.
  void ExpectUntouched(const Bytes& content, cMemBlock command) {
    EndingParser* parser = nullptr;
    brick_plugins::RegisterFactory(tag::kSignatureParser, [&](TBrickConfig* config) -> CBrick* {
      parser = new EndingParser(&workshop);
      parser->Create(*config);
      return parser;
    });
    Open(Place("cam.zel3", content));
    ASSERT_NE(parser, nullptr);
    auto* const memory = reinterpret_cast<unsigned char*>(parser->feeder);
    (parser->feeder->*(&Callbacks::onCtrl))(command);
    ExpectAsLeft(memory, parser->size);
    // The reader still tells its index reader to end.
    auto* const standIn = new (memory) CBrick();
    EndReader();
    standIn->~CBrick();
    ::operator delete(memory);
  }

  static void ExpectAsLeft(const unsigned char* memory, std::size_t size) {
    EXPECT_GT(size, 0u) << "it has not been ended";
    EXPECT_EQ(std::count(memory, memory + size, kGone), static_cast<std::ptrdiff_t>(size))
        << "bytes of the brick as they were left";
  }
};

TEST_F(EndedInASend, AnIndexReaderIsNotTouchedAfterwards) {
  ExpectUntouched(NumberedBytes(100), BytesRequest(kNoIndexId, 0));
  ExpectUntouched(NumberedBytes(70000), BytesRequest(kNoIndexId, 0, 1));
  ExpectUntouched(NumberedBytes(100), DataTick());
  ExpectUntouched(Bytes(), DataTick());
}

TEST_F(EndedInASend, AReaderIsNotTouchedAfterItsListAndAfterAPlayCommand) {
  const std::string path = Place("cam.zel3", NumberedBytes(401));
  IndexCache{{{10, 100}, {20, 200}}}.WriteBeside(path);
  for (cMemBlock command : {cMemBlock(ArchivesRequest()), cMemBlock(Play())}) {
    Open(path);
    Settle();
    EndingClient last(reader.get());
    last.Create(Config(""));
    last.ConnectAfter(reader.get());
    CBrick* const ended = reader.release();
    (ended->*(&Callbacks::onCtrl))(command);
    ExpectAsLeft(reinterpret_cast<unsigned char*>(ended), last.size);
    ::operator delete(static_cast<void*>(ended));
  }
}

}  // namespace
