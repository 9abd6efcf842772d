#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "output/table_layout.h"

enum class Colour { kRed, kYellow, kGreen };

// A text in a colour, where tables have colours.
std::string Coloured(const std::string& text, Colour colour);

// Print rows of cells in aligned columns: below headings, which are the first row, or after labels,
// which are the first column. Cells that come from outside must be escaped. On a terminal, headings
// and labels are bold, and cells with one of these texts are coloured, unless NO_COLOR is set or
// the terminal is a dumb one; and no line is wider than the terminal.
void PrintTable(const TableRows& rows, const std::map<std::string, Colour>& colours = {});
void PrintLabelled(const TableRows& rows);

// The same as PrintTable for rows that come one by one and may be very many. The first rows are
// kept, and columns made as wide as they need; when they exceed a megabyte of memory, columns
// become at least as wide as `widths` says, and rows are printed as they come.
class LongTable {
 public:
  LongTable(TableRow headings, std::vector<std::size_t> widths);

  void Add(TableRow row);
  // Prints what is kept. REQUIRES: called once, after the last row.
  void Finish();

 private:
  TableRows mKept;  // headings first
  std::size_t mKeptBytes = 0;
  const std::vector<std::size_t> mWidths;
  TableLayout mLayout;
  bool mIsLong = false;
};

// Prints rows of cells as comma-separated values; cells with commas or quotes are quoted. A cell
// that a spreadsheet would take for a formula begins with an apostrophe. Cells that come from
// outside must be escaped.
void PrintCsv(const TableRows& rows);
