#include "checkup/finding.h"

#include <utility>

namespace {

constexpr int kMostOfAKind = 100;

}  // namespace

const char* Name(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kNote:
      break;
  }
  return "note";
}

void Findings::Add(Finding finding) {
  const std::string key = finding.file + '\n' + finding.kind;
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
    Finding more{surplus.last.severity, surplus.last.kind, surplus.last.file,
                 std::to_string(surplus.count) + " more of this kind"};
    if (surplus.last.bytes) more.bytes = surplus.bytes;
    more.more = surplus.count;
    all.push_back(std::move(more));
  }
  return all;
}
