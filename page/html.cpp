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

Table::Table(const std::string& caption, const std::vector<std::string>& headings) {
  mHtml = fmt::format("<table>\n<caption class=\"unseen\">{}</caption>\n<thead><tr>",
                      FromText(caption));
  for (const std::string& heading : headings) {
    const bool isNumber = heading.front() == '#';
    mHtml += fmt::format("<th scope=\"col\"{}>{}</th>", isNumber ? " class=\"number\"" : "",
                         FromText(heading.substr(isNumber ? 1 : 0)));
  }
  mHtml += "</tr></thead>\n<tbody>\n";
}

void Table::Cell(const std::string& text, const char* kind) {
  mHtml += *kind == '\0' ? "<td>" : fmt::format("<td class=\"{}\">", kind);
  mHtml += FromText(text) + "</td>";
}

void Table::LinkedTime(const std::string& text, ArchiveTime from, ArchiveTime to) {
  mHtml += fmt::format("<td class=\"time\" data-from=\"{}\"", from);
  if (to != from) mHtml += fmt::format(" data-to=\"{}\"", to);
  mHtml += ">" + FromText(text) + "</td>";
}

std::string Paragraph(const std::string& text) {
  return "<p>" + FromText(text) + "</p>";
}

std::string Scrolled(const std::string& label, const std::string& table) {
  return fmt::format(
      "<div class=\"table\" role=\"region\" aria-label=\"{}\" tabindex=\"0\">\n{}\n</div>",
      FromText(label), table);
}

std::string Section(const std::string& id, const std::string& heading, const std::string& content) {
  return fmt::format(
      "<section id=\"{0}\" aria-labelledby=\"{0}-heading\">\n<h2 id=\"{0}-heading\">{1}</h2>\n"
      "{2}\n</section>",
      id, FromText(heading), content);
}

}  // namespace html
