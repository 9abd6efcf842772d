#include "client/progress_of_files.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "sources/archive_source.h"
#include "system/file_data.h"
#include "system/file_handle.h"

ProgressOfFiles::ProgressOfFiles(std::vector<std::uint64_t> sizes, Progress* progress)
    : mSizes(std::move(sizes)),
      mProgress(*progress),
      mAll(std::accumulate(mSizes.begin(), mSizes.end(), std::uint64_t{0})) {}

void ProgressOfFiles::Begin(std::size_t place) {
  for (; mPlace < place; ++mPlace) mBefore += mSizes[mPlace];
  mWay.clear();
  mWaysBefore = 0;
  mWayBytes = 0;
}

void ProgressOfFiles::Show(const WorkState& state) {
  if (state.what != mWay) {
    mWaysBefore += mWayBytes;
    mWay = state.what;
  }
  mWayBytes = state.all;
  WorkState shown = state;
  shown.number = mPlace + 1;
  shown.count = mSizes.size();
  shown.done = mBefore + std::min(mWaysBefore + std::min(state.done, state.all), mSizes[mPlace]);
  shown.all = mAll;
  mProgress.Show(shown);
}

Damage ShownDamageOf(const std::string& archive, Progress* progress) {
  WorkState state;
  state.what = "checking";
  state.name = archive_source::FileName(archive);
  state.all = DataBytes(OpenForReading(archive));
  const Damage damage = DamageOf(archive, [&state, progress](std::uint64_t bytes) {
    state.done += bytes;
    progress->Show(state);
  });
  progress->Clear();
  return damage;
}
