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

class EndedInASend : public RunTest {
 protected:
  // An index reader of the file sends something, and is ended in that.
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
    ASSERT_GT(parser->size, 0u);
    EXPECT_EQ(std::count(memory, memory + parser->size, kGone),
              static_cast<std::ptrdiff_t>(parser->size))
        << "bytes of the index reader as they were left";
    // The reader still tells its index reader to end.
    auto* const standIn = new (memory) CBrick();
    EndReader();
    standIn->~CBrick();
    ::operator delete(memory);
  }
};

TEST_F(EndedInASend, AnIndexReaderIsNotTouchedAfterwards) {
  ExpectUntouched(NumberedBytes(100), BytesRequest(kNoIndexId, 0));
  ExpectUntouched(NumberedBytes(70000), BytesRequest(kNoIndexId, 0, 1));
  ExpectUntouched(NumberedBytes(100), DataTick());
  ExpectUntouched(Bytes(), DataTick());
}

}  // namespace
