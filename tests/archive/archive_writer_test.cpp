#include "archive/archive_writer.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "support/temp_folder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

class ArchiveWriterTest : public testing::Test {
 protected:
  static ArchiveHeader HeaderWith(const std::vector<StreamDescriptor>& streams) {
    ArchiveHeader header;
    header.streams = streams;
    return header;
  }

  void WriteText(std::uint8_t type, const std::string& text, std::uint8_t flags = 0) {
    mWriter.WriteData(type, flags, reinterpret_cast<const unsigned char*>(text.data()),
                      text.size());
  }

  Bytes Written() {
    mWriter.Close();
    return ReadFile(mPath);
  }

  TempFolder mFolder;
  const std::string mPath = mFolder / "cam.zel3";
  ArchiveWriter mWriter{mPath};
};

TEST_F(ArchiveWriterTest, WritesRecordsBackToBack) {
  mWriter.WriteHeader(HeaderWith({{1, 1, "text", "", ""}}));
  EXPECT_EQ(mWriter.Position(), 18u);
  mWriter.WriteIndex({0x04030201, 0, 1});
  EXPECT_EQ(mWriter.Position(), 31u);
  WriteText(1, "ab", 7);
  WriteText(0x80, "!");
  EXPECT_EQ(mWriter.Position(), 42u);
  EXPECT_THAT(Written(),
              ElementsAre(0xB5, 0xB5, 0x05, 0xB5, 13, 0, 5, 0, 0,             // header
                          1, 1, 't', 'e', 'x', 't', 0, 0, 0,                  // its stream
                          0x05, 0xB5, 0xB5, 0xB5, 1, 2, 3, 4, 0, 0, 0, 0, 1,  // index record
                          2, 0, 7, 1, 'a', 'b',                               // data
                          1, 0, 0, 0x80, '!'));                               // event
}

TEST_F(ArchiveWriterTest, TakesTheStreamsOfTheLastHeader) {
  mWriter.WriteHeader(HeaderWith({{1, 1, "", "", ""}, {2, 0, "", "", ""}}));
  mWriter.WriteIndex({});
  EXPECT_NO_THROW(WriteText(1, ""));
  EXPECT_THROW(WriteText(2, ""), std::invalid_argument);
  mWriter.WriteHeader(HeaderWith({{1, 0, "", "", ""}, {2, 1, "", "", ""}}));
  mWriter.WriteIndex({});
  EXPECT_THROW(WriteText(1, ""), std::invalid_argument);
  EXPECT_NO_THROW(WriteText(2, ""));
}

TEST_F(ArchiveWriterTest, RefusesRecordsOutOfOrder) {
  EXPECT_THAT([&] { mWriter.WriteIndex({}); },
              ThrowsMessage<std::invalid_argument>("an archive must start with a header"));
  EXPECT_THROW(WriteText(0x80, ""), std::invalid_argument);
  mWriter.WriteHeader(HeaderWith({}));
  EXPECT_THAT([&] { WriteText(0x80, ""); },
              ThrowsMessage<std::invalid_argument>("data must follow an index record"));
  EXPECT_THROW(mWriter.WriteHeader(HeaderWith({})), std::invalid_argument);
  mWriter.WriteIndex({});
  EXPECT_NO_THROW(WriteText(0x80, ""));
}

TEST_F(ArchiveWriterTest, RefusesStreamIdsThatCouldBeMistaken) {
  for (const int id : {0x80, 0x81, 0x82, 0x83, 0x90, 0x91, 0xB5, 0xFA, 0xFE, 0xFF}) {
    const ArchiveHeader header = HeaderWith({{static_cast<std::uint8_t>(id), 1, "", "", ""}});
    EXPECT_THROW(mWriter.WriteHeader(header), std::invalid_argument) << id;
  }
}

TEST_F(ArchiveWriterTest, WritesNoDataHeadThatEqualsAMarker) {
  mWriter.WriteHeader(HeaderWith({{1, 1, "", "", ""}}));
  mWriter.WriteIndex({});
  EXPECT_THROW(WriteText(0xB5, std::string(0xB5B5, 'p'), 0x05), std::invalid_argument);
  EXPECT_THROW(WriteText(0xB5, std::string(0xB505, 'p'), 0xB5), std::invalid_argument);
}

TEST_F(ArchiveWriterTest, RefusesPayloadsThatAreTooLong) {
  mWriter.WriteHeader(HeaderWith({}));
  mWriter.WriteIndex({});
  EXPECT_NO_THROW(WriteText(0x80, std::string(65535, 'p')));
  EXPECT_THAT([&] { WriteText(0x80, std::string(65536, 'p')); },
              ThrowsMessage<std::invalid_argument>(HasSubstr("65536")));
}

TEST_F(ArchiveWriterTest, RefusesHeadersThatAreTooLong) {
  ArchiveHeader header;
  header.title = std::string(32768, 't');
  EXPECT_THROW(mWriter.WriteHeader(header), std::invalid_argument);
}

TEST_F(ArchiveWriterTest, WritesNothingOfWhatItRefuses) {
  mWriter.WriteHeader(HeaderWith({}));
  mWriter.WriteIndex({});
  EXPECT_THROW(WriteText(1, "refused"), std::invalid_argument);
  EXPECT_EQ(mWriter.Position(), 22u);
  EXPECT_EQ(Written().size(), 22u);
}

TEST_F(ArchiveWriterTest, ReplacesAnExistingFile) {
  WriteFile(mFolder / "old.zel3", std::string(100, 'o'));
  ArchiveWriter writer(mFolder / "old.zel3");
  writer.WriteHeader(HeaderWith({}));
  writer.Close();
  EXPECT_EQ(ReadFile(mFolder / "old.zel3").size(), 9u);
}

TEST(ArchiveWriterFailure, IsReportedWhenTheFileCannotBeMade) {
  EXPECT_THAT([] { ArchiveWriter writer("/no-such-folder/cam.zel3"); },
              ThrowsMessage<std::runtime_error>("cannot create /no-such-folder/cam.zel3"));
}

TEST(ArchiveWriterFailure, IsReportedWhenTheDiskIsFull) {
  ArchiveWriter writer("/dev/full");
  writer.WriteHeader({});
  EXPECT_THAT([&] { writer.Close(); }, ThrowsMessage<std::runtime_error>("cannot write /dev/full"));
}

}  // namespace
