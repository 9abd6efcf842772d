#include "page/html.h"

#include <fmt/format.h>

#include "text/shown_text.h"

namespace html {

std::string FromText(const std::string& text) {
  std::string escaped;
  for (const char character : Escaped(text)) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

Table::Table(const std::vector<std::string>& headings) {
  mHtml = "<table>\n<thead><tr>";
  for (const std::string& heading : headings) {
    const bool isNumber = heading.front() == '#';
    mHtml += fmt::format("<th scope=\"col\"{}>{}</th>", isNumber ? " class=\"number\"" : "",
                         FromText(heading.substr(isNumber ? 1 : 0)));
  }
  mHtml += "</tr></thead>\n<tbody>\n";
}

void Table::Cell(const std::string& text, const char* kind) {
  mHtml += fmt::format("<td class=\"{}\">{}</td>", kind, FromText(text));
}

void Table::LinkedTime(const std::string& text, ArchiveTime from, ArchiveTime to) {
  mHtml += fmt::format("<td class=\"time\" data-from=\"{}\" data-to=\"{}\">{}</td>", from, to,
                       FromText(text));
}

std::string Paragraph(const std::string& text) {
  return "<p>" + FromText(text) + "</p>";
}

std::string Section(const std::string& id, const std::string& heading, const std::string& content) {
  return fmt::format(
      "<section id=\"{0}\" aria-labelledby=\"{0}-heading\">\n<h2 id=\"{0}-heading\">{1}</h2>\n"
      "<div class=\"table\" tabindex=\"0\">\n{2}\n</div>\n</section>",
      id, FromText(heading), content);
}

}  // namespace html
