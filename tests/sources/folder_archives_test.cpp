#include "sources/folder_archives.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

TEST(IndexStems, AreTheNameOfTheArchive) {
  EXPECT_THAT(IndexStemsOf("/a/cam.zel3"), ElementsAre("cam"));
  EXPECT_THAT(IndexStemsOf("/a/cam.1.ZEL3"), ElementsAre("cam.1"));
}

TEST(IndexStems, OfALongNameAreAlsoWhatStandsForItInUnfinishedFiles) {
  const std::string stem(245, 'l');
  EXPECT_THAT(IndexStemsOf("/a/" + stem + ".zel3"),
              ElementsAre(stem, "1d9a42ccd920db9270e42a0bbc72c66f",
                          "dbe19a5c2b369199a4c255596ca8aa07", "fb111865a195c22fbabd0fc32123b83e"));
}

TEST(IndexStems, OfALongPathAreThoseOfALink) {
  EXPECT_THAT(IndexStemsOf("/" + std::string(260, 'f') + "/cam.zel3"),
              ElementsAre("e845a3961f2f511ca7aeb2db77afe0fa"));
}
