#include "every_request.h"

using testing::AnyOf;
using testing::StartsWith;

void EveryRequest::AskEverything() {
  constexpr std::uint64_t kTimes[] = {0, 1000, 15000, 4'000'000'000'000, ~std::uint64_t{0}};
  EXPECT_THAT(Ask(ArchivesRequest()),
              AnyOf(IsEmpty(), ElementsAre(AnyOf(StartsWith("ArcA "), StartsWith("Err W010 ")))));
  for (const std::uint64_t time : kTimes) {
    for (const std::uint8_t forward : {std::uint8_t{1}, std::uint8_t{0}}) {
      EXPECT_THAT(Ask(Play(forward)),
                  AnyOf(ElementsAre("rset 25"), ElementsAre(StartsWith("Evt "), "rset 25")));
      for (const std::uint32_t type : {kNeighbour, kAtOrBefore}) {
        const Lines told = Without("Warn W008 ", Ask(ChunkRequest(time, type)));
        ASSERT_FALSE(told.empty());
        EXPECT_THAT(told.back(), StartsWith("IRN3 "));
        EXPECT_THAT(told, AnyOf(testing::SizeIs(1), testing::Contains("Cewg")));
      }
      EXPECT_THAT(Ask(PreviewRequest(time, time + 1)),
                  AnyOf(IsEmpty(), ElementsAre(StartsWith("IRN3 "))));
      for (const std::uint64_t indexId :
           {MakeIndexId(0, 0), MakeIndexId(0, 1), MakeIndexId(0, 0xFFFFFFFF), MakeIndexId(1, 0),
            MakeIndexId(0xFFFFFFFF, 0), kNoIndexId}) {
        EXPECT_THAT(Ask(BytesRequest(indexId, time)), ElementsAre(StartsWith("RDat ")));
      }
    }
    EXPECT_THAT(Ask(ActivityRequest(0, time, 50, 1)), ElementsAre("Gist 78"));
  }
  EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13"));
}

void EveryRequest::OpenAndAskEverything(const std::string& source) {
  Open(source);
  Settle();
  AskEverything();
  EndReader();
  client->Take();
}
