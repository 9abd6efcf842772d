#include "checkup/times_checkup.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "client/recorded_gap.h"

TimesCheckup::TimesCheckup(std::string file, Findings* findings)
    : mFile(std::move(file)),
      mFindings(findings),
      mPlaces([this](ArchiveTime place) { OnPlace(place); }) {}

void TimesCheckup::OnIndex(FilePosition position, ArchiveTime time) {
  ++mEntries;
  mWithoutPlace.push_back({position, time, std::exchange(mIsDamaged, false)});
  mPlaces.Add(time);
}

void TimesCheckup::AddInEntry(Finding finding) {
  if (mWithoutPlace.empty()) return mFindings->Add(std::move(finding));
  Entry& entry = mWithoutPlace.back();
  entry.findings.push_back(std::move(finding));
  // A damaged disk has thousands.
  if (entry.findings.size() > Findings::kMostOfAKind) Release(&entry.findings, entry.time);
}

void TimesCheckup::Release(std::vector<Finding>* findings, ArchiveTime time) {
  for (Finding& finding : *findings) {
    finding.time = time;
    mFindings->Add(std::move(finding));
  }
  findings->clear();
}

void TimesCheckup::OnEnd() {
  mPlaces.Finish();
  CheckHeldSteps();
  if (mSameTimes == 0) return;
  mFindings->Add(About(FindingKind::kSameTime, mFirstSameTime,
                       fmt::format("{} entries with the time of the one before", mSameTimes)));
}

void TimesCheckup::OnPlace(ArchiveTime place) {
  Entry entry = std::move(mWithoutPlace.front());
  mWithoutPlace.pop_front();
  if (entry.time != place) {
    Finding finding = About(FindingKind::kMisplaced, entry.position,
                            "its time does not fit between those of the entries beside it");
    finding.time = place;
    mFindings->Add(finding);
  }
  if (!std::exchange(mHasPlaced, true)) {
    mStart = mEnd = place;
  } else {
    mIsDamagedSinceStep = mIsDamagedSinceStep || entry.comesAfterDamage;
    CheckStep(entry, place);
  }
  mStart = std::min(mStart, place);
  mEnd = std::max(mEnd, place);
  mTime = entry.time;
  mPlace = place;
  Release(&entry.findings, place);
}

void TimesCheckup::CheckStep(const Entry& entry, ArchiveTime place) {
  if (place == mPlace) {
    const bool isSameTime = entry.time == mTime;
    if (isSameTime && mSameTimes++ == 0) mFirstSameTime = entry.position;
    return;
  }
  const Interval step{entry.position, mPlace, place, std::exchange(mIsDamagedSinceStep, false)};
  if (step.to < step.from) {
    mFindings->Add(About(FindingKind::kBackwards, step, "time runs backwards"));
    return;
  }
  mStep.Add(step.to - step.from);
  mHeldSteps.push_back(step);
  if (mStep.IsSettled()) CheckHeldSteps();
}

void TimesCheckup::CheckHeldSteps() {
  for (const Interval& step : mHeldSteps) {
    if (!IsGap(step.to - step.from, mStep.Get(), kMostStepsInAFile)) continue;
    mFindings->Add(About(
        FindingKind::kGap, step,
        step.isDamaged ? "nothing is found; bytes in between are damaged" : "nothing is recorded"));
  }
  mHeldSteps.clear();
}

Finding TimesCheckup::About(FindingKind kind, FilePosition position,
                            const std::string& text) const {
  Finding finding{kind, mFile, text};
  finding.position = position;
  return finding;
}

Finding TimesCheckup::About(FindingKind kind, const Interval& step, const std::string& text) const {
  Finding finding = About(kind, step.position, text);
  finding.time = step.from;
  finding.endTime = step.to;
  return finding;
}
