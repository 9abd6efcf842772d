#include "output/tables.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <utility>

#include "output/terminal_width.h"

namespace {

// How much a long table keeps of its rows.
constexpr std::size_t kMostKeptBytes = 1 << 20;

constexpr const char* kPlain = "";
constexpr const char* kBold = "\x1b[1m";
constexpr const char* kRed = "\x1b[31m";
constexpr const char* kYellow = "\x1b[33m";
constexpr const char* kGreen = "\x1b[32m";
constexpr char kReset[] = "\x1b[0m";

bool OutputTakesColours() {
  const char* const noColour = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  const bool isWanted = noColour == nullptr || *noColour == '\0';
  const bool isAble = terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
  return isWanted && isAble && isatty(STDOUT_FILENO) == 1;
}

std::string Styled(const std::string& cell, const char* style) {
  static const bool takesColours = OutputTakesColours();
  return takesColours && style != kPlain ? style + cell + kReset : cell;
}

const char* StyleOf(Colour colour) {
  switch (colour) {
    case Colour::kRed:
      return kRed;
    case Colour::kYellow:
      return kYellow;
    case Colour::kGreen:
      return kGreen;
  }
  return kPlain;
}

// `styleOf` returns one of the constants above for a column.
void PrintRow(const TableRow& row, const TableLayout& layout,
              const std::function<const char*(std::size_t)>& styleOf) {
  std::cout << layout.Lines(row, [&styleOf](std::size_t column, const std::string& text) {
    return Styled(text, styleOf(column));
  });
}

// `styleOf` returns one of the constants above for a row and a column.
void PrintRows(const TableRows& rows, const TableLayout& layout,
               const std::function<const char*(std::size_t, std::size_t)>& styleOf) {
  for (std::size_t number = 0; number < rows.size(); ++number)
    PrintRow(rows[number], layout, [&](std::size_t column) { return styleOf(number, column); });
}

void PrintWhole(const TableRows& rows, TableLayout layout,
                const std::map<std::string, Colour>& colours) {
  layout.Fit(rows);
  PrintRows(rows, layout, [&rows, &colours](std::size_t row, std::size_t column) {
    if (row == 0) return kBold;
    const auto colour = colours.find(rows[row][column]);
    return colour == colours.end() ? kPlain : StyleOf(colour->second);
  });
}

TableLayout LayoutOfOutput() {
  return TableLayout(TerminalWidth(STDOUT_FILENO));
}

std::string CsvCell(const std::string& text) {
  const bool isLikeAFormula = text.find_first_of("=+-@\t\r") == 0;
  const std::string cell = isLikeAFormula ? "'" + text : text;
  if (cell.find_first_of(",\"") == std::string::npos) return cell;
  std::string quoted = "\"";
  for (const char character : cell) {
    if (character == '"') quoted += '"';
    quoted += character;
  }
  return quoted + '"';
}

}  // namespace

std::string Coloured(const std::string& text, Colour colour) {
  return Styled(text, StyleOf(colour));
}

void PrintTable(const TableRows& rows, const std::map<std::string, Colour>& colours) {
  PrintWhole(rows, LayoutOfOutput(), colours);
}

void PrintLabelled(const TableRows& rows) {
  TableLayout layout = LayoutOfOutput();
  layout.Fit(rows);
  PrintRows(rows, layout,
            [](std::size_t, std::size_t column) { return column == 0 ? kBold : kPlain; });
}

LongTable::LongTable(TableRow headings, std::vector<std::size_t> widths)
    : mWidths(std::move(widths)), mLayout(LayoutOfOutput()) {
  mKept.push_back(std::move(headings));
}

void LongTable::Add(TableRow row) {
  if (mIsLong) {
    PrintRow(row, mLayout, [](std::size_t) { return kPlain; });
    return;
  }
  for (const std::string& cell : row) mKeptBytes += sizeof(cell) + cell.size();
  mKept.push_back(std::move(row));
  if (mKeptBytes < kMostKeptBytes) return;
  mIsLong = true;
  mLayout.Fit(mKept, mWidths);
  PrintRows(mKept, mLayout,
            [](std::size_t number, std::size_t) { return number == 0 ? kBold : kPlain; });
  mKept.clear();
}

void LongTable::Finish() {
  if (!mIsLong) PrintWhole(mKept, mLayout, {});
}

void PrintCsv(const TableRows& rows) {
  for (const auto& row : rows) {
    std::string line;
    for (const std::string& cell : row) line += (&cell == &row.front() ? "" : ",") + CsvCell(cell);
    std::cout << line << '\n';
  }
}
