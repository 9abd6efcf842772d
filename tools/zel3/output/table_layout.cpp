#include "output/table_layout.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>

#include "text/display_width.h"

namespace {

constexpr std::size_t kBetweenColumns = 2;
constexpr std::size_t kIndent = 4;
// A terminal that is narrower than this has no room to indent.
constexpr std::size_t kNarrow = 20;
// A shorter name says too little.
constexpr std::size_t kShortestName = 16;

bool HoldsNames(const std::string& heading) {
  const char* const headings[] = {"file", "path", "of"};
  return std::find(std::begin(headings), std::end(headings), heading) != std::end(headings);
}

}  // namespace

void TableLayout::Fit(const TableRows& rows) {
  Fit(rows, {});
}

void TableLayout::Fit(const TableRows& rows, const std::vector<std::size_t>& widths) {
  mWidths = widths;
  for (const TableRow& row : rows) {
    mWidths.resize(std::max(mWidths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i)
      mWidths[i] = std::max(mWidths[i], DisplayWidth(row[i]));
  }
  mIsShortened.assign(mWidths.size(), false);
  if (mWidth && !rows.empty()) ShortenNames(rows.front());
}

// Only if each row then fits into one line.
void TableLayout::ShortenNames(const TableRow& headings) {
  const std::size_t between = mWidths.empty() ? 0 : kBetweenColumns * (mWidths.size() - 1);
  const std::size_t needed = std::accumulate(mWidths.begin(), mWidths.end(), between);
  if (needed <= *mWidth) return;
  std::vector<std::size_t> names;
  std::size_t most = 0;
  for (std::size_t i = 0; i < headings.size(); ++i) {
    if (!HoldsNames(headings[i]) || mWidths[i] <= kShortestName) continue;
    names.push_back(i);
    most += mWidths[i] - kShortestName;
  }
  std::size_t tooMuch = needed - *mWidth;
  if (tooMuch > most) return;
  for (; tooMuch > 0; --tooMuch) {
    const auto widest = *std::max_element(
        names.begin(), names.end(),
        [this](std::size_t one, std::size_t other) { return mWidths[one] < mWidths[other]; });
    --mWidths[widest];
    mIsShortened[widest] = true;
  }
}

std::string TableLayout::Lines(const TableRow& row, const Styled& styled) const {
  const std::size_t most = mWidth.value_or(std::numeric_limits<std::size_t>::max());
  const std::size_t indent = most < kNarrow ? 0 : kIndent;
  const std::string nextLine = '\n' + std::string(indent, ' ');
  std::string lines;
  std::size_t used = 0;   // columns of the last line
  std::size_t blank = 0;  // columns between the last cell and the next
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string cell = mIsShortened[i] ? ShortenedToWidth(row[i], mWidths[i]) : row[i];
    const std::size_t cellWidth = DisplayWidth(cell);
    const bool isLast = i + 1 == row.size();
    const std::size_t width = isLast ? cellWidth : std::max(cellWidth, mWidths[i]);
    if (i > 0 && used + blank + width > most) {
      lines += nextLine;
      used = indent;
    } else {
      lines.append(blank, ' ');
      used += blank;
    }
    if (used + cellWidth > most) {
      // The cell gets its own lines.
      bool isFirst = true;
      for (const std::string& part : WrappedToWidth(cell, most - indent)) {
        lines += (isFirst ? "" : nextLine) + styled(i, part);
        isFirst = false;
      }
      used = most;
      blank = 0;
    } else {
      lines += styled(i, cell);
      used += cellWidth;
      blank = width - cellWidth + kBetweenColumns;
    }
  }
  return lines + '\n';
}
