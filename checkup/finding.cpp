#include "checkup/finding.h"

#include <algorithm>
#include <utility>

namespace {

struct KindFacts {
  const char* name;
  Severity severity;
  const char* remedy;
};

constexpr char kCopyAgain[] = "copy the file again from its source";
constexpr char kOpenAlone[] = "open the file by itself where a host does not show it";
constexpr char kRebuild[] = "zel3 doctor --rebuild rebuilds the index";

KindFacts FactsOf(FindingKind kind) {
  switch (kind) {
    case FindingKind::kDamage:
      return {"damage", Severity::kError,
              "copy the file again from its source, or do without the bytes"};
    case FindingKind::kCutOff:
      return {"cut-off", Severity::kWarning,
              "copy the file again, unless it is still being recorded"};
    case FindingKind::kUnreadable:
      return {"unreadable", Severity::kError,
              "check its rights and the disk, or copy the file again"};
    case FindingKind::kTooSmall:
      return {"too-small", Severity::kError, kCopyAgain};
    case FindingKind::kNoHeader:
      return {"no-header", Severity::kError, kCopyAgain};
    case FindingKind::kNoIndex:
      return {"no-index", Severity::kError, kCopyAgain};
    case FindingKind::kNoParser:
      return {"no-parser", Severity::kError, "rename it to end in .zel3, if it is a ZEL3 file"};
    case FindingKind::kLateHeader:
      return {"late-header", Severity::kWarning, kOpenAlone};
    case FindingKind::kFirstIndexPlace:
      return {"first-index-place", Severity::kWarning, kOpenAlone};
    case FindingKind::kMisplaced:
      return {"misplaced", Severity::kWarning,
              "copy the file again from its source, or do without the time"};
    case FindingKind::kBackwards:
      return {"backwards", Severity::kWarning, "nothing, if the recorder's clock was set back"};
    case FindingKind::kSameTime:
      return {"same-time", Severity::kNote, "nothing"};
    case FindingKind::kGap:
      return {"gap", Severity::kNote, "nothing, if no recording was expected then"};
    case FindingKind::kOverlap:
      return {"overlap", Severity::kWarning,
              "move one of the files away, if it is a copy of the other"};
    case FindingKind::kEventsNotKept:
      return {"events-not-kept", Severity::kWarning, "zel3 events takes them from the archive"};
    case FindingKind::kStranger:
      return {"stranger", Severity::kNote, "rename it, if the index is to lie beside the archive"};
    case FindingKind::kCacheLeftover:
      return {"cache-leftover", Severity::kWarning,
              "zel3 caches SOURCE --remove-orphans removes it"};
    case FindingKind::kCacheIncomplete:
      return {"cache-incomplete", Severity::kWarning, kRebuild};
    case FindingKind::kCacheDamaged:
      return {"cache-damaged", Severity::kWarning, kRebuild};
    case FindingKind::kOtherIndex:
      return {"other-index", Severity::kNote, "remove it, unless a host uses it"};
    case FindingKind::kOutputLeftover:
      return {"output-leftover", Severity::kNote,
              "remove it, if no zel3 is at work there; zel3 caches --remove-orphans removes files"};
    case FindingKind::kCacheMismatch:
      break;
  }
  return {"cache-mismatch", Severity::kWarning, kRebuild};
}

}  // namespace

const char* Name(FindingKind kind) {
  return FactsOf(kind).name;
}

Severity SeverityOf(FindingKind kind) {
  return FactsOf(kind).severity;
}

const char* RemedyOf(FindingKind kind) {
  return FactsOf(kind).remedy;
}

void Findings::Add(Finding finding) {
  const std::string key = finding.file + '\n' + Name(finding.kind);
  if (++mCounts[key] <= mMostOfAKind) {
    mKept.push_back(std::move(finding));
    return;
  }
  Surplus& surplus = mSurplus[key];
  ++surplus.count;
  surplus.bytes += finding.bytes.value_or(0);
  surplus.last = std::move(finding);
}

std::vector<Finding> Findings::All() const {
  std::vector<Finding> all = mKept;
  for (const auto& entry : mSurplus) {
    const Surplus& surplus = entry.second;
    Finding more{surplus.last.kind, surplus.last.file,
                 std::to_string(surplus.count) + " more of this kind"};
    if (surplus.last.bytes) more.bytes = surplus.bytes;
    more.more = surplus.count;
    all.push_back(std::move(more));
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const Finding& one, const Finding& other) { return one.kind < other.kind; });
  return all;
}
