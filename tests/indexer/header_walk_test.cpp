#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <set>

#include "indexer/zel3_indexer.h"
#include "support/temp_folder.h"

namespace {

using Streams = std::set<int>;

// The body of a raw archive header.
class RawHeader {
 public:
  explicit RawHeader(const std::string& title = "Day") : mBytes(4) { Text(title); }

  RawHeader& Stream(int id, int active, const std::string& text1 = "",
                    const std::string& text2 = "", const std::string& text3 = "") {
    mBytes.push_back(static_cast<unsigned char>(id));
    mBytes.push_back(static_cast<unsigned char>(active));
    Text(text1);
    Text(text2);
    Text(text3);
    return *this;
  }
  RawHeader& Length(int length) {
    mBytes[0] = static_cast<unsigned char>(length);
    mBytes[1] = static_cast<unsigned char>(length >> 8);
    return *this;
  }
  // The place of the NUL that ends the title or the last stream's last text.
  int LastNul() const { return static_cast<int>(mBytes.size()) - 1; }
  // Ends the list of streams right there.
  RawHeader& Complete() { return Length(LastNul()); }
  const Bytes& Body() const { return mBytes; }

 private:
  void Text(const std::string& text) {
    mBytes.insert(mBytes.end(), text.begin(), text.end());
    mBytes.push_back(0);
  }

  Bytes mBytes;
};

Streams StreamsOf(const StreamMap& map) {
  Streams streams;
  for (int id = 0; id < 256; ++id) {
    if ((map[static_cast<std::size_t>(id >> 3)] >> (id & 7) & 1) != 0) streams.insert(id);
  }
  return streams;
}

// The header stands in a buffer of exactly its size, so that a read beyond it does not go
// unnoticed.
void AddHeader(cZel3Indexer& index, const Bytes& body, std::size_t size) {
  const std::unique_ptr<char[]> exact(new char[size]);
  std::copy(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(size), exact.get());
  index.Add_tmp_header(exact.get(), size);
}

Streams ActiveStreams(const Bytes& body, std::size_t size) {
  cZel3Indexer index;
  AddHeader(index, body, size);
  return StreamsOf(index.Current().streamMap);
}

Streams ActiveStreams(const RawHeader& header) {
  return ActiveStreams(header.Body(), header.Body().size());
}

struct HeaderCase {
  const char* what;
  RawHeader header;
  Streams streams;
};

TEST(HeaderWalk, MarksTheActiveStreams) {
  const HeaderCase cases[] = {
      {"none", RawHeader().Complete(), {}},
      {"one", RawHeader().Stream(5, 1).Complete(), {5}},
      {"first, eighth and last",
       RawHeader().Stream(0, 1).Stream(7, 1).Stream(255, 1).Complete(),
       {0, 7, 255}},
      {"inactive ones are left out",
       RawHeader().Stream(1, 0).Stream(2, 1).Stream(3, 0).Complete(),
       {2}},
      {"any value but zero is active",
       RawHeader().Stream(1, 2).Stream(2, 0x80).Stream(3, 0xFF).Complete(),
       {1, 2, 3}},
      {"texts are skipped",
       RawHeader("A title")
           .Stream(1, 1, "a", "bc", "def")
           .Stream(2, 1, "\xFF", "", "\x80")
           .Complete(),
       {1, 2}},
      {"no title", RawHeader("").Stream(9, 1).Complete(), {9}},
      {"the same stream twice", RawHeader().Stream(4, 1).Stream(4, 0).Complete(), {4}},
  };
  for (const HeaderCase& row : cases) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(ActiveStreams(row.header), row.streams);
  }
}

TEST(HeaderWalk, SetsOneBitForAStream) {
  cZel3Indexer index;
  const RawHeader header = RawHeader().Stream(0, 1).Stream(7, 1).Stream(255, 1).Complete();
  AddHeader(index, header.Body(), header.Body().size());
  StreamMap expected = {};
  expected[0] = 0x81;
  expected[31] = 0x80;
  EXPECT_EQ(index.Current().streamMap, expected);
}

TEST(HeaderWalk, NeverClearsABit) {
  cZel3Indexer index;
  for (const RawHeader& header :
       {RawHeader().Stream(1, 1).Complete(), RawHeader().Stream(1, 0).Stream(2, 1).Complete()}) {
    AddHeader(index, header.Body(), header.Body().size());
  }
  EXPECT_EQ(StreamsOf(index.Current().streamMap), (Streams{1, 2}));
}

// The end is checked only between descriptors, while the cursor stands on the NUL before the next
// one.
TEST(HeaderWalk, EndsAtTheHeaderLength) {
  const RawHeader title;
  const RawHeader one = RawHeader().Stream(1, 1, "one");
  const RawHeader two = RawHeader().Stream(1, 1, "one").Stream(2, 1, "two");
  const RawHeader three = RawHeader().Stream(1, 1, "one").Stream(2, 1, "two").Stream(3, 1, "three");
  struct {
    const char* what;
    int length;
    Streams streams;
  } const cases[] = {
      {"0", 0, {}},
      {"inside the title", 5, {}},
      {"at the title's end", title.LastNul(), {}},
      {"one after it: a descriptor is read", title.LastNul() + 1, {1}},
      {"inside a descriptor, which is read whole", title.LastNul() + 3, {1}},
      {"at the first descriptor's end", one.LastNul(), {1}},
      {"one after it: one more", one.LastNul() + 1, {1, 2}},
      {"at the second descriptor's end", two.LastNul(), {1, 2}},
      {"one after it", two.LastNul() + 1, {1, 2, 3}},
      {"the largest", 0x7FFF, {1, 2, 3}},
      {"negative", -1, {}},
      {"the smallest", -0x8000, {}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    RawHeader header = three;
    EXPECT_EQ(ActiveStreams(header.Length(row.length)), row.streams);
  }
}

TEST(HeaderWalk, ReadsOneMoreDescriptorBeyondTheData) {
  RawHeader header = RawHeader().Stream(1, 1);
  EXPECT_EQ(ActiveStreams(header.Length(header.LastNul() + 1)), Streams{1});
}

// Whatever the header claims, bytes that are not there count as zero.
TEST(HeaderWalk, EndsInATruncatedHeader) {
  const RawHeader whole =
      RawHeader("Day").Stream(1, 1, "one", "1", "i").Stream(2, 1, "two", "2", "ii").Length(0x7FFF);
  const std::size_t title = 4;
  const std::size_t first = title + 4;
  const std::size_t second = first + 2 + 4 + 2 + 2;
  for (std::size_t size = 0; size <= whole.Body().size(); ++size) {
    SCOPED_TRACE(size);
    Streams expected;
    if (size >= first + 2) expected.insert(1);
    if (size >= second + 2) expected.insert(2);
    EXPECT_EQ(ActiveStreams(whole.Body(), size), expected);
  }
}

TEST(HeaderWalk, EndsInDataWithoutAnyNul) {
  Bytes body(300, 'x');
  body[0] = 0xFF;
  body[1] = 0x7F;
  EXPECT_EQ(ActiveStreams(body, body.size()), Streams());
}

}  // namespace
