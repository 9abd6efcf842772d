#include "archive/file_window.h"

#include <gmock/gmock.h>

#include "made_file.h"
#include "support/file_faults.h"

namespace {

constexpr std::size_t kSize = 1 << 20;

Bytes Numbered(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + i / 256);
  return bytes;
}

class FileWindows : public testing::Test {
 protected:
  // The bytes that are given are those of the file.
  void ExpectAt(FilePosition position, std::size_t size) {
    ExpectEqual(mWindow.At(position, size), position, size);
  }
  void ExpectHeld(FilePosition position, std::size_t size) {
    ExpectEqual(mWindow.Held(position, size), position, size);
  }

  const Bytes mBytes = Numbered(kSize);
  const MadeFile mMade{mBytes};
  FileWindow mWindow{mMade.File()};

 private:
  void ExpectEqual(const unsigned char* bytes, FilePosition position, std::size_t size) const {
    ASSERT_NE(bytes, nullptr) << position;
    const auto from = mBytes.begin() + static_cast<std::ptrdiff_t>(position);
    EXPECT_TRUE(std::equal(bytes, bytes + size, from)) << position;
  }
};

}  // namespace

TEST_F(FileWindows, HoldOnlyWhatHasBeenRead) {
  EXPECT_EQ(mWindow.Held(0, 1), nullptr);
  ExpectAt(1000, 16);
  ExpectHeld(1000, 16);
  EXPECT_EQ(mWindow.Held(999, 1), nullptr);
  EXPECT_EQ(mWindow.Held(1000, kSize), nullptr);
}

TEST_F(FileWindows, EndWithTheFile) {
  ExpectAt(kSize - 16, 16);
  EXPECT_EQ(mWindow.At(kSize - 15, 16), nullptr);
  EXPECT_EQ(mWindow.At(kSize, 1), nullptr);
  ExpectAt(0, 16);
}

TEST_F(FileWindows, KeepWhatIsStillNeededOnTheWay) {
  FilePosition kept = 0;
  mWindow.KeepFrom(kept);
  for (FilePosition position = 0; position + 16 < kSize; position += 5000) {
    ExpectAt(position, 16);
    if (position - kept < 300'000) continue;
    ExpectHeld(kept, position - kept);
    kept = position;
    mWindow.KeepFrom(kept);
  }
  EXPECT_GT(kept, kSize / 2);
}

TEST_F(FileWindows, KeepNoMoreThanTheyMay) {
  mWindow.KeepFrom(0);
  for (FilePosition position = 0; position <= FileWindow::kMostKept + 200'000; position += 5000)
    ExpectAt(position, 16);
  EXPECT_EQ(mWindow.Held(0, 1), nullptr);
}

TEST_F(FileWindows, LeadOverWhatCannotBeRead) {
  const UnreadableBytes unreadable(mMade.Path(), {{100'000, 104'096}});
  mWindow.KeepFrom(0);
  for (FilePosition position = 0; position < 100'000; position += 5000) ExpectAt(position, 16);
  EXPECT_EQ(mWindow.At(100'000, 16), nullptr);
  ExpectAt(95'000, 5000);
  ExpectAt(104'096, 16);
}
