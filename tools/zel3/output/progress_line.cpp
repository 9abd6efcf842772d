#include "output/progress_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "text/display_width.h"
#include "text/shown_text.h"

namespace {

constexpr std::size_t kMostCells = 40;
constexpr std::size_t kFewestCells = 10;
constexpr std::size_t kLeastOfName = 12;
// The spaces and brackets around a bar.
constexpr std::size_t kAroundBar = 3;

// 7.3 MB, 85 MB
std::string Amount(double amount, WorkState::Unit unit) {
  if (unit == WorkState::Unit::kFiles) {
    const bool isSlow = amount < 10 && amount != std::floor(amount);
    return fmt::format("{:.{}f} files", amount, isSlow ? 1 : 0);
  }
  const char* const units[] = {"B", "kB", "MB", "GB", "TB", "PB"};
  std::size_t number = 0;
  // From here on it would be rounded to 1000.
  while (amount >= 999.5 && number + 1 < std::size(units)) {
    amount /= 1000;
    ++number;
  }
  return fmt::format("{:.{}f} {}", amount, number > 0 && amount < 9.95 ? 1 : 0, units[number]);
}

// 0:12, 1:02:03; rounded up, so that unfinished work always has some time left.
std::string TimeLeft(double seconds) {
  const auto left = static_cast<std::uint64_t>(std::max(std::ceil(seconds), 1.0));
  if (left < 3600) return fmt::format("{}:{:02}", left / 60, left % 60);
  return fmt::format("{}:{:02}:{:02}", left / 3600, left / 60 % 60, left % 60);
}

// Which parts a line has. The percentage is in all of them.
struct Plan {
  bool rate;
  bool name;
  bool bar;
  bool left;
  bool what;
  bool number;
};

// From the widest to the narrowest.
constexpr Plan kPlans[] = {
    {true, true, true, true, true, true},       {false, true, true, true, true, true},
    {false, false, true, true, true, true},     {false, false, false, true, true, true},
    {false, false, false, false, true, true},   {false, false, false, false, false, true},
    {false, false, false, false, false, false},
};

// The parts of a line that are known; the others are empty.
class Parts {
 public:
  explicit Parts(const ProgressFacts& facts) {
    const WorkState& state = facts.state;
    if (state.count > 1) mNumber = fmt::format("{}/{}", state.number, state.count);
    mWhat = Escaped(state.what);
    mName = Escaped(state.name);
    if (facts.rate) mRate = Amount(*facts.rate, state.unit) + "/s";
    if (state.all == 0) {
      mPercent = Amount(static_cast<double>(state.done), state.unit);
      return;
    }
    mFraction =
        static_cast<double>(std::min(state.done, state.all)) / static_cast<double>(state.all);
    mPercent = fmt::format("{:3}%", static_cast<unsigned>(mFraction * 100));
    mHasBar = true;
    if (facts.left) mLeft = TimeLeft(*facts.left) + " left";
  }

  // Nothing if it does not fit.
  std::optional<std::string> Line(const Plan& plan, std::size_t width) const {
    const std::string number = plan.number ? mNumber : "";
    const std::string what = plan.what ? mWhat : "";
    std::string name = plan.name ? mName : "";
    const std::size_t nameWidth = DisplayWidth(name);
    const std::size_t leastName = std::min(nameWidth, kLeastOfName);
    const bool hasBar = plan.bar && mHasBar;
    const std::string rate = plan.rate ? mRate : "";
    const std::string left = plan.left ? mLeft : "";
    const bool isAlone = number.empty() && what.empty() && name.empty() && !hasBar;
    const std::string percent =
        isAlone ? mPercent.substr(mPercent.find_first_not_of(' ')) : mPercent;
    std::size_t used = DisplayWidth(percent) + (hasBar ? kAroundBar + kFewestCells : 0);
    for (const std::string& part : {number, what})
      used += part.empty() ? 0 : 1 + DisplayWidth(part);
    for (const std::string& part : {rate, left}) used += part.empty() ? 0 : 2 + DisplayWidth(part);
    used += name.empty() ? 0 : 1 + leastName;
    if (used > width) return std::nullopt;
    std::size_t room = width - used;
    const std::size_t forName = std::min(room, nameWidth - leastName);
    name = ShortenedToWidth(name, leastName + forName);
    room -= forName;
    std::string line;
    for (const std::string& part : {number, what, name}) line += part.empty() ? "" : part + " ";
    if (hasBar) line += Bar(kFewestCells + std::min(room, kMostCells - kFewestCells)) + " ";
    line += percent;
    for (const std::string& part : {rate, left}) line += part.empty() ? "" : "  " + part;
    return line;
  }

 private:
  std::string Bar(std::size_t cells) const {
    const auto filled = static_cast<std::size_t>(mFraction * static_cast<double>(cells));
    return '[' + std::string(filled, '#') + std::string(cells - filled, '.') + ']';
  }

  std::string mNumber;
  std::string mWhat;
  std::string mName;
  std::string mPercent;
  std::string mRate;
  std::string mLeft;
  double mFraction = 0;
  bool mHasBar = false;
};

}  // namespace

std::string ProgressLine(const ProgressFacts& facts, std::size_t width) {
  const Parts parts(facts);
  for (const Plan& plan : kPlans) {
    if (auto line = parts.Line(plan, width)) return *std::move(line);
  }
  return "";
}
