#include "support/scarce_memory.h"

#include "parser_brick_test.h"
#include "support/callbacks.h"

namespace {

// The parser is given blocks and has no memory, neither to send nor to keep them.
class ParserWithoutMemory : public ParserBrickTest {
 protected:
  void GiveWithoutMemory(int count) {
    const cMemBlock block = Raw(ArchiveBytes().Index(7));
    mClient.refusals = 1'000'000;
    {
      const ScarceMemory scarce(0);
      for (int i = 0; i < count; ++i) (mParser->*(&Callbacks::onData))(block);
    }
    mClient.refusals = 0;
  }
};

TEST_F(ParserWithoutMemory, KeepsTheBlocksThatItHasRoomFor) {
  GiveWithoutMemory(16);
  ReaderSendsCommand(DataTickBlock::New());
  ASSERT_EQ(mClient.data.size(), 16u * 3);
  EXPECT_EQ(mClient.data[15 * 3], "TagP 195");
}

// With one block missing, the places of all that follow would be wrong.
TEST_F(ParserWithoutMemory, SendsNothingAnyMoreAfterABlockThatItCannotKeep) {
  GiveWithoutMemory(17);
  ReaderSendsCommand(DataTickBlock::New());
  ReaderSendsBytes(ArchiveBytes().Index(8));
  ReaderSends(MessageBlock::New());
  EXPECT_THAT(mClient.data, testing::IsEmpty());
}

}  // namespace
