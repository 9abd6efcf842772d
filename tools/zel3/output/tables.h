#pragma once

#include <map>
#include <string>
#include <vector>

enum class Colour { kRed, kYellow };

// Print rows of cells in aligned columns: below headings, which are the first row, or after labels,
// which are the first column. Cells that come from outside must be escaped. On a terminal headings
// and labels are bold, and cells with one of these texts are coloured, unless the environment has
// NO_COLOR or the terminal is a dumb one.
void PrintTable(const std::vector<std::vector<std::string>>& rows,
                const std::map<std::string, Colour>& colours = {});
void PrintLabelled(const std::vector<std::vector<std::string>>& rows);

// Prints rows of cells as comma-separated values; cells with commas or quotes are quoted. A cell
// that a spreadsheet would take for a formula begins with an apostrophe. Cells that come from
// outside must be escaped.
void PrintCsv(const std::vector<std::vector<std::string>>& rows);
