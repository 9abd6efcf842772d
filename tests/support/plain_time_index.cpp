#include "support/plain_time_index.h"

#include <algorithm>

void PlainTimeIndex::File(const PlainStore& file) {
  if (mFiles.empty()) {
    mFirst = file.start;
    mLast = file.end;
  }
  mFirst = std::min(mFirst, file.start);
  mLast = std::max(mLast, file.end);
  for (auto place = mFiles.begin(); place != mFiles.end(); ++place) {
    if (place->name == file.name) {
      *place = file;
      return;
    }
    if (file.start < place->start) {
      mFiles.insert(place, file);
      return;
    }
  }
  mFiles.push_back(file);
}

Answer PlainTimeIndex::Find(std::uint64_t time, Ask ask) const {
  for (int file = static_cast<int>(mFiles.size()) - 1; file >= 0; --file) {
    if (Start(file) <= time && time <= End(file) && !IsEmpty(file))
      return FindInFile(file, time, ask);
  }
  return FindInGap(time, ask);
}

Answer PlainTimeIndex::FindInFile(int file, std::uint64_t time, Ask ask) const {
  const int last = LastEntry(file);
  for (int i = 0; i <= last; ++i) {
    const std::uint64_t previous = Time(file, i == 0 ? 0 : i - 1);
    const std::uint64_t entry = Time(file, i);
    const bool hit = previous <= time && time < entry;
    const bool afterLast = i == last && time >= entry;
    if (ask == Ask::kAtOrBefore) {
      if (hit) return At(file, i - 1, previous);
      if (afterLast) return At(file, last, entry);
    } else if (ask == Ask::kForward) {
      if (hit) return At(file, i, entry);
    } else {
      if (hit && i >= 2) return At(file, i - 2, Time(file, i - 2));
      if (hit) return LastEntryBefore(file);
      if (afterLast) return At(file, last - 1, previous);
    }
  }
  return ask == Ask::kForward ? FirstEntryAfter(file) : kNothing;
}

Answer PlainTimeIndex::FindInGap(std::uint64_t time, Ask ask) const {
  if (time > std::uint64_t{mLast} * 1000 || time < std::uint64_t{mFirst} * 1000) return kNothing;
  Answer answer = kNothing;
  const int count = static_cast<int>(mFiles.size());
  if (ask == Ask::kBackward) {
    for (int file = count - 1; file >= 0; --file) {
      if (End(file) <= time && !IsEmpty(file)) answer = At(file, 0, Time(file, LastEntry(file)));
    }
    return answer;
  }
  for (int file = 0; file < count; ++file) {
    if (time <= Start(file) && !IsEmpty(file)) return At(file, 0, Time(file, 0));
  }
  return kNothing;
}

Answer PlainTimeIndex::LastEntryBefore(int file) const {
  for (--file; file >= 0; --file) {
    if (!IsEmpty(file)) return At(file, LastEntry(file), Time(file, LastEntry(file)));
  }
  return kNothing;
}

Answer PlainTimeIndex::FirstEntryAfter(int file) const {
  for (++file; file < static_cast<int>(mFiles.size()); ++file) {
    if (!IsEmpty(file)) return At(file, 0, Time(file, 0));
  }
  return kNothing;
}

int PlainTimeIndex::LastEntry(int file) const {
  return static_cast<int>(mFiles[static_cast<std::size_t>(file)].times.size()) - 1;
}

std::uint64_t PlainTimeIndex::Start(int file) const {
  return std::uint64_t{mFiles[static_cast<std::size_t>(file)].start} * 1000;
}

std::uint64_t PlainTimeIndex::End(int file) const {
  return std::uint64_t{mFiles[static_cast<std::size_t>(file)].end} * 1000;
}

std::uint64_t PlainTimeIndex::Time(int file, int entry) const {
  return std::uint64_t{
             mFiles[static_cast<std::size_t>(file)].times[static_cast<std::size_t>(entry)]} *
         1000;
}
