#include "archive/kept_events.h"

#include <gmock/gmock.h>

#include <QFile>
#include <optional>

#include "support/temp_folder.h"

namespace {

// The .evt file of one group, at time 1, of three events.
class KeptEventsOfFile : public testing::Test {
 protected:
  KeptEventsOfFile() {
    using namespace std::string_literals;
    const std::string group = "\1\0\0\0\0\0\0\0\3"s;
    WriteFile(mPath, group + "\x80" + "a\0b\0"s + "\x81" + "cd\0"s + "\x80" + "\0"s);
  }

  bool IsNext(std::uint8_t type, const std::string& text) {
    return mKept->NextEventIs(type, reinterpret_cast<const unsigned char*>(text.data()),
                              text.size());
  }

  void Begin() {
    mKept.emplace(QFile::decodeName(mPath.c_str()));
    ASSERT_TRUE(mKept->NextGroup(&mGroup));
    EXPECT_EQ(mGroup.time, 1U);
    EXPECT_EQ(mGroup.count, 3U);
  }

  const TempFolder mFolder;
  const std::string mPath = mFolder / "a.evt";
  std::optional<KeptEvents> mKept;
  KeptGroup mGroup;
};

}  // namespace

TEST_F(KeptEventsOfFile, AreTakenAsWhatTheyShouldBeNulsIncluded) {
  Begin();
  EXPECT_TRUE(IsNext(0x80, std::string("a\0b", 3)));
  EXPECT_TRUE(IsNext(0x81, "cd"));
  EXPECT_TRUE(IsNext(0x80, ""));
  EXPECT_TRUE(mKept->IsWhole());
  EXPECT_FALSE(IsNext(0x80, "")) << "there is no other";
}

TEST_F(KeptEventsOfFile, AreTakenAlsoWhereTheyAreOthers) {
  Begin();
  EXPECT_TRUE(IsNext(0x80, std::string("a\0b", 3)));
  EXPECT_FALSE(IsNext(0x80, "cd")) << "another type";
  EXPECT_FALSE(IsNext(0x80, "x"));
  EXPECT_TRUE(mKept->IsWhole());

  Begin();
  EXPECT_FALSE(IsNext(0x80, std::string("a\0c", 3))) << "the text ends at its NUL";
  EXPECT_FALSE(mKept->IsBroken());
  EXPECT_FALSE(IsNext(0x80, "b")) << "no event stands after that";
  EXPECT_TRUE(mKept->IsBroken());
}
