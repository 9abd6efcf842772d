#include "indexer/cache_names.h"

#include <gmock/gmock.h>

#include "stores_for_tests.h"

namespace {

TEST(UnfinishedName, LiesBesideTheFileAndEndsAsItDoes) {
  EXPECT_EQ(Text(UnfinishedName(Path("/rec/cam.id3"))), "/rec/cam.id3.unfinished.id3");
  EXPECT_EQ(Text(UnfinishedName(Path("/rec/cam.evt"), 12)), "/rec/cam.evt.unfinished-12.evt");
  EXPECT_EQ(Text(UnfinishedName(Path("cam.hdr"))), "cam.hdr.unfinished.hdr");
}

// A name has 255 bytes at most; the ending takes 15 of them.
TEST(UnfinishedName, IsTheFilesOwnAsLongAsThatFits) {
  const std::string longest = std::string(236, 'c') + ".id3";
  EXPECT_EQ(Text(UnfinishedName(Path("/rec/" + longest))), "/rec/" + longest + ".unfinished.id3");
  EXPECT_EQ(Text(UnfinishedName(Path("/rec/c" + longest))),
            "/rec/569a411487208210227e02c34cf70299.unfinished.id3");
}

}  // namespace
