#include "checkup/finding.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kMostOfAKind = 100;

struct KindFacts {
  const char* name;
  Severity severity;
};

KindFacts FactsOf(FindingKind kind) {
  switch (kind) {
    case FindingKind::kDamage:
      return {"damage", Severity::kError};
    case FindingKind::kCutOff:
      return {"cut-off", Severity::kWarning};
    case FindingKind::kUnreadable:
      return {"unreadable", Severity::kError};
    case FindingKind::kTooSmall:
      return {"too-small", Severity::kError};
    case FindingKind::kNoHeader:
      return {"no-header", Severity::kError};
    case FindingKind::kNoIndex:
      return {"no-index", Severity::kError};
    case FindingKind::kLateHeader:
      return {"late-header", Severity::kWarning};
    case FindingKind::kFirstIndexPlace:
      return {"first-index-place", Severity::kWarning};
    case FindingKind::kBackwards:
      return {"backwards", Severity::kWarning};
    case FindingKind::kSameTime:
      return {"same-time", Severity::kNote};
    case FindingKind::kGap:
      return {"gap", Severity::kNote};
    case FindingKind::kOverlap:
      return {"overlap", Severity::kWarning};
    case FindingKind::kStranger:
      return {"stranger", Severity::kNote};
    case FindingKind::kCacheLeftover:
      return {"cache-leftover", Severity::kWarning};
    case FindingKind::kCacheIncomplete:
      return {"cache-incomplete", Severity::kWarning};
    case FindingKind::kCacheDamaged:
      return {"cache-damaged", Severity::kWarning};
    case FindingKind::kCacheMismatch:
      break;
  }
  return {"cache-mismatch", Severity::kWarning};
}

}  // namespace

const char* Name(FindingKind kind) {
  return FactsOf(kind).name;
}

Severity SeverityOf(FindingKind kind) {
  return FactsOf(kind).severity;
}

void Findings::Add(Finding finding) {
  const std::string key = finding.file + '\n' + Name(finding.kind);
  if (++mCounts[key] <= kMostOfAKind) {
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
