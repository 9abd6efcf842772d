#include "text/display_width.h"

#include <utf8proc.h>

#include <algorithm>

namespace {

// What a terminal shows as one character, and what only moves as one.
struct Cluster {
  std::size_t from = 0;  // its first byte
  std::size_t size = 0;
  std::size_t width = 0;
};

constexpr std::size_t kEllipsisWidth = 1;
constexpr char kEllipsis[] = "…";

constexpr utf8proc_int32_t kEmojiSelector = 0xFE0F;
constexpr utf8proc_int32_t kFirstPictograph = 0x1F000;
constexpr utf8proc_int32_t kLastPictograph = 0x1FAFF;

// Vowels and final letters of Korean syllables, which join the letter before.
constexpr utf8proc_int32_t kFirstJoining = 0x1160;
constexpr utf8proc_int32_t kLastJoining = 0x11FF;

std::size_t WidthOf(utf8proc_int32_t character) {
  if (kFirstJoining <= character && character <= kLastJoining) return 0;
  const int width = utf8proc_charwidth(character);
  // Terminals may know characters that are younger than the library.
  if (utf8proc_category(character) == UTF8PROC_CATEGORY_CN)
    return kFirstPictograph <= character && character <= kLastPictograph ? 2 : 1;
  return static_cast<std::size_t>(std::max(width, 0));
}

std::vector<Cluster> ClustersOf(const std::string& text) {
  std::vector<Cluster> clusters;
  utf8proc_int32_t before = -1;
  utf8proc_int32_t state = 0;
  for (std::size_t place = 0; place < text.size();) {
    utf8proc_int32_t character = -1;
    const utf8proc_ssize_t read =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()) + place,
                         static_cast<utf8proc_ssize_t>(text.size() - place), &character);
    const bool isCharacter = read > 0 && character >= 0;
    const std::size_t size = isCharacter ? static_cast<std::size_t>(read) : 1;
    // Terminals differ about what is joined, and the widest of them counts: a sum.
    const std::size_t width = isCharacter ? WidthOf(character) : 1;
    const bool begins = !isCharacter || before < 0 ||
                        utf8proc_grapheme_break_stateful(before, character, &state) != 0;
    if (begins) {
      clusters.push_back({place, size, width});
      if (!isCharacter) state = 0;
    } else {
      clusters.back().size += size;
      clusters.back().width += width;
      if (character == kEmojiSelector)
        clusters.back().width = std::max<std::size_t>(clusters.back().width, 2);
    }
    before = isCharacter ? character : -1;
    place += size;
  }
  return clusters;
}

bool IsPlainAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char character) { return ' ' <= character && character < '\x7f'; });
}

std::size_t WidthOf(const std::vector<Cluster>& clusters) {
  std::size_t width = 0;
  for (const Cluster& cluster : clusters) width += cluster.width;
  return width;
}

// Takes lines from a text, one by one.
class Wrapping {
 public:
  Wrapping(const std::string& text, std::size_t width)
      : mText(text), mWidth(width), mClusters(ClustersOf(text)) {}

  std::vector<std::string> Lines() {
    std::vector<std::string> lines;
    do lines.push_back(Next());
    while (mAt < mClusters.size());
    return lines;
  }

 private:
  bool IsSpace(std::size_t number) const { return mText[mClusters[number].from] == ' '; }

  std::string Next() {
    const std::size_t first = mAt;
    std::size_t width = 0;
    std::size_t end = first;
    while (end < mClusters.size() && (end == first || width + mClusters[end].width <= mWidth))
      width += mClusters[end++].width;
    if (end < mClusters.size()) end = LastSpaceOr(end, first);
    mAt = end;
    while (mAt < mClusters.size() && IsSpace(mAt)) ++mAt;
    // A line does not end with the spaces that it was cut at.
    while (mAt < mClusters.size() && end > first + 1 && IsSpace(end - 1)) --end;
    return TextOf(first, end);
  }

  // Where a line that may go on to `end` is cut.
  std::size_t LastSpaceOr(std::size_t end, std::size_t first) const {
    for (std::size_t cut = end; cut > first; --cut) {
      if (IsSpace(cut)) return cut;
    }
    return end;
  }

  std::string TextOf(std::size_t first, std::size_t end) const {
    if (first == end) return "";
    const std::size_t from = mClusters[first].from;
    return mText.substr(from, mClusters[end - 1].from + mClusters[end - 1].size - from);
  }

  const std::string& mText;
  const std::size_t mWidth;
  const std::vector<Cluster> mClusters;
  std::size_t mAt = 0;
};

}  // namespace

std::size_t DisplayWidth(const std::string& text) {
  return IsPlainAscii(text) ? text.size() : WidthOf(ClustersOf(text));
}

std::string ShortenedToWidth(const std::string& text, std::size_t width) {
  if (DisplayWidth(text) <= width) return text;
  if (width < kEllipsisWidth) return "";
  const std::vector<Cluster> clusters = ClustersOf(text);
  // The start gets the odd column. A wide character may leave a column that the end can use.
  const std::size_t forBoth = width - kEllipsisWidth;
  std::size_t used = 0;
  std::size_t headEnd = 0;
  for (const Cluster& cluster : clusters) {
    if (used + cluster.width > (forBoth + 1) / 2) break;
    used += cluster.width;
    headEnd = cluster.from + cluster.size;
  }
  std::size_t tail = text.size();
  for (auto cluster = clusters.rbegin(); cluster != clusters.rend(); ++cluster) {
    if (used + cluster->width > forBoth) break;
    used += cluster->width;
    tail = cluster->from;
  }
  return text.substr(0, headEnd) + kEllipsis + text.substr(tail);
}

std::vector<std::string> WrappedToWidth(const std::string& text, std::size_t width) {
  if (DisplayWidth(text) <= width) return {text};
  return Wrapping(text, width).Lines();
}
