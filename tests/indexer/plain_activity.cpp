#include "plain_activity.h"

#include <algorithm>

ActivityAnswer PlainActivity(const StoreList::Stores& files, const TZEL3ActivityRequest& request) {
  const std::uint64_t from = request.from;
  const std::uint64_t to = request.to;
  const std::uint64_t span = to - from;
  ActivityAnswer answer = {false,
                           Levels(static_cast<std::size_t>(std::max<int>(request.binCount, 0)), 0)};
  if (request.binCount <= 0 || span == 0) return answer;
  const auto bins = static_cast<std::uint64_t>(request.binCount);
  const bool fine = to <= from + bins * 1000;
  std::uint64_t low = fine ? bins - 1 : 0;
  for (auto store = files.rbegin(); store != files.rend(); ++store) {
    const std::uint64_t step = std::uint64_t{store->indexInterval} * 1000;
    for (int i = store->id3Records.size() - 1; i >= 0; --i) {
      const ZEL_ID3_REC& entry = store->id3Records.at(i);
      const std::uint64_t time = std::uint64_t{entry.time} * 1000;
      if (time < from) {
        if (low < 1 || time + step < from) break;
      }
      if (time > to) continue;
      bool hasLevel = false;
      int level = 0;
      for (int pair = 0; pair < std::min<int>(entry.activityCount, 6) && !hasLevel; ++pair) {
        hasLevel = entry.activity[pair].streamId == request.streamId;
        if (hasLevel) level = entry.activity[pair].level & 0x3F;
      }
      answer.found = answer.found || hasLevel;
      if (fine) {
        const std::uint64_t first =
            std::min(time > from ? bins * (time - from) / span : 0, bins - 1);
        const std::uint64_t last = std::min(bins * (time + step - from) / span, bins - 1);
        low = first;
        for (std::uint64_t bin = first; bin <= last; ++bin) answer.levels[bin] = level;
      } else if (hasLevel) {
        const std::uint64_t bin = std::min(bins * (time - from) / span + 1, bins - 1);
        answer.levels[bin] = std::max(answer.levels[bin], level);
      }
    }
  }
  return answer;
}
