#include "system/file_data.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/temp_folder.h"

namespace {

constexpr std::uint64_t kMegabyte = 1 << 20;

// Larger than the unit in which a file system keeps data, and a multiple of it.
constexpr std::uint64_t kPiece = 64 * 1024;

void WriteAt(const std::string& path, std::uint64_t position, const std::string& bytes) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(position));
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::uint64_t DataBytesOf(const std::string& path) {
  return DataBytes(OpenForReading(path));
}

class FileData : public testing::Test {
 protected:
  // A piece of data after each megabyte, and a hole at the end.
  std::string WriteWithHoles() {
    const std::string path = mFolder / "holes";
    WriteFile(path, "");
    for (const std::uint64_t megabytes : {1, 2}) {
      WriteAt(path, megabytes * kMegabyte, std::string(kPiece, 'x'));
    }
    std::filesystem::resize_file(path, 3 * kMegabyte);
    return path;
  }

  TempFolder mFolder;
};

}  // namespace

TEST_F(FileData, IsAllOfAFileWithoutHoles) {
  WriteFile(mFolder / "empty", "");
  EXPECT_EQ(DataBytesOf(mFolder / "empty"), 0U);
  WriteFile(mFolder / "full", std::string(12345, 'x'));
  EXPECT_EQ(DataBytesOf(mFolder / "full"), 12345U);
  EXPECT_EQ(DataBytes(FileHandle()), 0U);
}

TEST_F(FileData, IsWhatIsBetweenHoles) {
  const std::string path = WriteWithHoles();
  EXPECT_EQ(DataBytesOf(path), 2 * kPiece);
  std::filesystem::resize_file(path, std::uintmax_t{64} << 30);
  EXPECT_EQ(DataBytesOf(path), 2 * kPiece);
}

TEST_F(FileData, CountingMovesNothing) {
  WriteFile(mFolder / "full", "0123456789");
  const FileHandle file = OpenForReading(mFolder / "full");
  char bytes[2] = {};
  ASSERT_EQ(read(file.Get(), bytes, 2), 2);
  DataBytes(file);
  ASSERT_EQ(read(file.Get(), bytes, 2), 2);
  EXPECT_EQ(bytes[0], '2');
}

TEST_F(FileData, ComesInParts) {
  const FileHandle file = OpenForReading(WriteWithHoles());
  constexpr std::uint64_t kSize = 3 * kMegabyte;
  const auto first = NextData(file.Get(), 0, kSize);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->from, kMegabyte);
  EXPECT_EQ(first->to, kMegabyte + kPiece);
  const auto within = NextData(file.Get(), kMegabyte + 1, kSize);
  ASSERT_TRUE(within);
  EXPECT_EQ(within->from, kMegabyte + 1);
  EXPECT_EQ(within->to, kMegabyte + kPiece);
  const auto second = NextData(file.Get(), first->to, 2 * kMegabyte + 1);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->from, 2 * kMegabyte);
  EXPECT_EQ(second->to, 2 * kMegabyte + 1) << "as far as the size that is named";
  EXPECT_FALSE(NextData(file.Get(), 2 * kMegabyte + kPiece, kSize));
  EXPECT_FALSE(NextData(file.Get(), kMegabyte + kPiece, 2 * kMegabyte));
  EXPECT_FALSE(NextData(file.Get(), kSize, kSize));
}

// Something that cannot be searched.
TEST_F(FileData, WhereTheSystemCannotTellAllIsData) {
  const std::string path = mFolder / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const FileHandle pipe = OpenForReading(path);
  const auto part = NextData(pipe.Get(), 10, 100);
  ASSERT_TRUE(part);
  EXPECT_EQ(part->from, 10U);
  EXPECT_EQ(part->to, 100U);
}
