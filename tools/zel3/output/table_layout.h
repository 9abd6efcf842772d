#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

using TableRow = std::vector<std::string>;
using TableRows = std::vector<TableRow>;

// How rows of cells become lines: in aligned columns, and no wider than the terminal. Where rows
// are too wide for it, file names are shortened if that makes the rows fit; otherwise each row
// continues on indented lines, and all of it is shown.
class TableLayout {
 public:
  // Without a `width`, rows are as wide as they need to be. REQUIRES: `width` is not 0.
  explicit TableLayout(std::optional<std::size_t> width) : mWidth(width) {}

  // Makes columns as wide as all these rows need. The first row has the headings.
  void Fit(const TableRows& rows);
  // The same with columns of at least these widths.
  void Fit(const TableRows& rows, const std::vector<std::size_t>& widths);

  // The lines of a row, with their ends. `styled` returns what to print for a cell of that column,
  // or a part of it; it takes as many columns as the text.
  using Styled = std::function<std::string(std::size_t column, const std::string& text)>;
  std::string Lines(const TableRow& row, const Styled& styled) const;

 private:
  void ShortenNames(const TableRow& headings);

  std::optional<std::size_t> mWidth;
  std::vector<std::size_t> mWidths;
  std::vector<bool> mIsShortened;
};
