#include <random>

#include "load_test.h"

namespace {

constexpr std::uint32_t kFiles = 5;
constexpr std::uint64_t kFirstEntry = 100'000;
constexpr std::uint64_t kLastEntry = 590'000;

// A request, and how its only answer begins. Empty: there is no answer.
struct Request {
  cMemBlock block;
  std::string answer;
};

// An endless mix of all that a client may ask, always the same. Knows what it has asked before.
class RequestMix {
 public:
  explicit RequestMix(const std::string& source) : mSource(source) {}

  Request Next() {
    switch (Below(8)) {
      case 0:
        mStopped = false;
        return {ChunkRequest(Time(), kAtOrBefore), "IRN3 "};
      case 1:
        return {ChunkRequest(Time(), kNeighbour), "IRN3 "};
      case 2:
        return BytesOfEntry();
      case 3:
        mStopped = true;
        return {Play(static_cast<std::uint8_t>(Below(2))), "rset 25"};
      case 4:
        return Activity();
      case 5:
        return Preview();
      case 6:
        return {ArchivesRequest(), "ArcA 5 " + mSource};
      default:
        return {DataTick(), "RDat 13"};
    }
  }

 private:
  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(mRandom() % limit); }
  // Also before the first entry and after the last one.
  std::uint64_t Time() { return Below(700'000); }

  // Also of files and entries that are not there.
  Request BytesOfEntry() {
    const std::uint32_t file = Below(kFiles + 1);
    const std::uint64_t indexId = MakeIndexId(file, Below(12));
    const cMemBlock block = BytesRequest(indexId, Time(), static_cast<std::uint8_t>(Below(2)));
    return {block, mStopped ? "" : "RDat "};
  }
  Request Activity() {
    const std::uint64_t from = Time();
    const auto bins = static_cast<std::int32_t>(Below(200));
    return {ActivityRequest(from, from + Time(), bins, 1), "Gist " + std::to_string(28 + bins)};
  }
  Request Preview() {
    const std::uint64_t time = Time();
    const bool shown = !mStopped && kFirstEntry <= time && time <= kLastEntry;
    return {PreviewRequest(time, kLastEntry), shown ? "IRN3 " : ""};
  }

  std::mt19937 mRandom{1};
  std::string mSource;
  bool mStopped = true;
};

// Five indexed files of ten entries each, with gaps between them.
class ManyRequests : public LoadTest {
 protected:
  void OpenFiveFiles() {
    for (std::uint32_t file = 0; file < kFiles; ++file) {
      std::vector<std::uint32_t> times;
      for (std::uint32_t entry = 0; entry < 10; ++entry) {
        times.push_back(100 + 100 * file + 10 * entry);
      }
      const IndexedArchive archive = IndexedArchiveOf(times);
      archive.cache.WriteBeside(Place(std::to_string(file) + ".zel3", archive.bytes));
    }
    Open(folder.Path());
  }
};

TEST_F(ManyRequests, AreAllAnsweredAndLeaveNothingBehind) {
  OpenFiveFiles();
  RequestMix mix(folder.Path());
  const int count = Scaled(20'000, 1'000'000);
  ProcessFigures early;
  const Stopwatch stopwatch;
  for (int i = 0; i < count; ++i) {
    const Request request = mix.Next();
    const Lines told = Ask(request.block);
    if (request.answer.empty()) {
      ASSERT_THAT(told, IsEmpty()) << "request " << i;
    } else {
      ASSERT_THAT(told, ElementsAre(testing::StartsWith(request.answer))) << "request " << i;
    }
    if (i == count / 10) early = MeasureProcess();
  }
  ReportFigure("requests.per_second", count / stopwatch.Seconds());
  ExpectNoGrowthSince(early, "requests");
}

}  // namespace
