#include "text/near_names.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

constexpr std::size_t kMostNames = 2;

// How many letters must be put in, left out, replaced, or swapped with the next one.
std::size_t Distance(const std::string& one, const std::string& other) {
  std::vector<std::size_t> beforeLast;
  std::vector<std::size_t> last(other.size() + 1);
  for (std::size_t j = 0; j <= other.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= one.size(); ++i) {
    std::vector<std::size_t> row(other.size() + 1, i);
    for (std::size_t j = 1; j <= other.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
      const bool isSwapped =
          i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
      if (isSwapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
    beforeLast = std::move(last);
    last = std::move(row);
  }
  return last.back();
}

bool BeginsWith(const std::string& name, const std::string& start) {
  return name.compare(0, start.size(), start) == 0;
}

}  // namespace

std::vector<std::string> NearNames(const std::string& mistyped,
                                   const std::vector<std::string>& names) {
  // An altogether different word is near many short names.
  const std::size_t furthest = mistyped.size() / 3;
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string& name : names) {
    // Long words are only compared with what can be near.
    const std::size_t shorter = std::min(name.size(), mistyped.size());
    const std::size_t longer = std::max(name.size(), mistyped.size());
    const bool mayBeNear = longer - shorter <= furthest;
    const std::size_t distance = mayBeNear ? Distance(mistyped, name) : furthest + 1;
    if (distance <= furthest) {
      near.emplace_back(distance, name);
    } else if (mistyped.size() > 1 && BeginsWith(name, mistyped)) {
      near.emplace_back(furthest + 1, name);
    }
  }
  std::stable_sort(near.begin(), near.end(),
                   [](const auto& one, const auto& other) { return one.first < other.first; });
  if (near.size() > kMostNames) near.resize(kMostNames);
  std::vector<std::string> found;
  for (auto& [distance, name] : near) found.push_back(std::move(name));
  return found;
}

std::string DidYouMean(const std::vector<std::string>& names) {
  std::string question;
  for (const std::string& name : names)
    question += (question.empty() ? ": did you mean '" : " or '") + name + "'";
  return question.empty() ? question : question + "?";
}
