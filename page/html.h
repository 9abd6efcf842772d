#pragma once

#include <string>
#include <vector>

#include "blocks/units.h"

namespace html {

// A text from outside as HTML text: none of it is markup, and control characters are made visible.
std::string FromText(const std::string& text);

// A table, cell by cell. All texts are plain, not HTML.
class Table {
 public:
  // `caption` is read out but not shown, since the heading before the table says the same. Headings
  // that begin with "#" are for columns of numbers.
  Table(const std::string& caption, const std::vector<std::string>& headings);

  void BeginRow() { mHtml += "<tr>"; }
  void EndRow() { mHtml += "</tr>\n"; }
  // `kind` is a class of the style sheet for the cells of a column. Texts have none, since there
  // are thousands of them.
  void Cell(const std::string& text, const char* kind = "");
  void Number(const std::string& text) { Cell(text, "number"); }
  void Time(const std::string& text) { Cell(text, "time"); }
  // A time that leads to its place in the charts: archive times.
  void LinkedTime(const std::string& text, ArchiveTime from, ArchiveTime to);

  std::string Finish() const { return mHtml + "</tbody>\n</table>"; }

 private:
  std::string mHtml;
};

std::string Paragraph(const std::string& text);

// A box in which a wide or long table scrolls. `label` is read out.
std::string Scrolled(const std::string& label, const std::string& table);

// A part of a page. `content` is HTML.
std::string Section(const std::string& id, const std::string& heading, const std::string& content);

}  // namespace html
