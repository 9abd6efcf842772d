#include "support/plain_cache.h"

#include <algorithm>

namespace {

std::uint32_t U32(const Bytes& bytes, std::size_t place) {
  return bytes[place] | static_cast<std::uint32_t>(bytes[place + 1]) << 8 |
         static_cast<std::uint32_t>(bytes[place + 2]) << 16 |
         static_cast<std::uint32_t>(bytes[place + 3]) << 24;
}

}  // namespace

std::vector<PlainGroup> PlainEvents(const Bytes& evt) {
  std::vector<PlainGroup> groups;
  if (evt.size() <= 11) return groups;
  std::size_t next = 0;
  std::int64_t left = static_cast<std::int64_t>(evt.size());
  while (true) {
    PlainGroup group = {U32(evt, next), U32(evt, next + 4), {}};
    const std::size_t wanted = evt[next + 8];
    if (wanted == 0) return groups;
    next += 9;
    left -= 9;
    while (group.events.size() < wanted && left >= 3) {
      PlainEvent event = {evt[next++], {}};
      while (next < evt.size() && evt[next] != 0)
        event.text.push_back(static_cast<char>(evt[next++]));
      ++next;
      left -= static_cast<std::int64_t>(event.text.size()) + 2;
      group.events.push_back(event);
    }
    if (group.events.empty()) return groups;
    groups.push_back(group);
    if (left < 12) return groups;
  }
}

PlainEntries PlainId3(const Bytes& id3) {
  PlainEntries entries;
  std::uint32_t last = 0;
  std::uint32_t smallestStep = 6;
  std::vector<std::uint32_t> steps;
  for (std::size_t place = 0; place + 24 <= id3.size(); place += 24) {
    const std::uint32_t time = U32(id3, place + 4);
    entries.cuts.push_back(U32(id3, place + 8));
    if (entries.times.empty()) {
      entries.start = last = time;
    } else if (entries.times.size() <= 5) {
      steps.push_back(time - entries.times.back());
    }
    entries.times.push_back(time);
    if (time < entries.start) {
      smallestStep = std::min(smallestStep, entries.start - time);
      entries.start = time;
    }
    if (time > last) {
      smallestStep = std::min(smallestStep, time - last);
      last = time;
    }
  }
  if (entries.times.empty()) return entries;
  std::sort(steps.begin(), steps.end());
  entries.interval = steps.empty() ? 3000 : steps[steps.size() / 2];
  entries.end = last + std::max<std::uint32_t>(smallestStep, 3);
  return entries;
}

void PlainInsertHeaders(const std::vector<std::uint64_t>& positions,
                        std::vector<std::uint64_t>* cuts) {
  for (const std::uint64_t position : positions) {
    if (cuts->empty()) {
      cuts->push_back(position);
      continue;
    }
    const auto greater = std::find_if(cuts->begin(), cuts->end(),
                                      [position](std::uint64_t cut) { return cut > position; });
    if (greater != cuts->end()) cuts->insert(greater, position);
  }
}

std::pair<std::uint64_t, std::uint64_t> PlainStretch(const std::vector<std::uint64_t>& cuts,
                                                     std::uint64_t position) {
  for (std::size_t i = 1; i < cuts.size(); ++i) {
    if (cuts[i - 1] <= position && position < cuts[i]) return {cuts[i - 1], cuts[i]};
  }
  return {0, 0};
}

std::uint64_t PlainHeaderBefore(const std::vector<std::uint64_t>& headers, std::uint64_t position) {
  for (std::size_t i = headers.size(); i-- > 0;) {
    if (headers[i] >> 32 == 0 && headers[i] < position) return headers[i];
  }
  return 0;
}
