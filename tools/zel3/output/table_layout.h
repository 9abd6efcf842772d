#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

using TableRow = std::vector<std::string>;
using TableRows = std::vector<TableRow>;

// How rows of cells stand in lines: in aligned columns, and no wider than a terminal is. There,
// where rows are too wide for it, the names of files are shortened when that makes them fit; else
// each row goes on in further lines, which are indented, and all of it is shown.
class TableLayout {
 public:
  // Where `width` is nothing, rows are as wide as they need. REQUIRES: `width` is not 0.
  explicit TableLayout(std::optional<std::size_t> width) : mWidth(width) {}

  // Columns are as wide as all these rows need. The first of them has headings.
  void Fit(const TableRows& rows);
  // The same with columns that are at least so wide.
  void Fit(const TableRows& rows, const std::vector<std::size_t>& widths);

  // The lines of a row, with their ends. `styled` makes a cell with a number, or a part of it, what
  // stands there; that takes as many columns.
  using Styled = std::function<std::string(std::size_t column, const std::string& text)>;
  std::string Lines(const TableRow& row, const Styled& styled) const;

 private:
  void ShortenNames(const TableRow& headings);

  std::optional<std::size_t> mWidth;
  std::vector<std::size_t> mWidths;
  std::vector<bool> mIsShortened;
};
