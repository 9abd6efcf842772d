#include "render.h"

#include <unistd.h>

#include <QDateTime>
#include <QString>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>

#include "json_escapes.h"

namespace {

constexpr std::uint64_t kEndOfYear9999 = 253402300800000;

std::size_t Width(const std::string& cell) {
  return static_cast<std::size_t>(
      QString::fromUtf8(cell.data(), static_cast<int>(cell.size())).size());
}

bool IsControl(QChar character) {
  return character.category() == QChar::Other_Control ||
         character.category() == QChar::Other_Format;
}

constexpr const char* kPlain = "";
constexpr const char* kBold = "\x1b[1m";
constexpr const char* kRed = "\x1b[31m";
constexpr const char* kYellow = "\x1b[33m";
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

// `styleOf` gives one of the constants above for a row and a column.
void PrintRows(const std::vector<std::vector<std::string>>& rows,
               const std::function<const char*(std::size_t, std::size_t)>& styleOf) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
  }
  for (std::size_t number = 0; number < rows.size(); ++number) {
    const auto& row = rows[number];
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += Styled(row[i], styleOf(number, i));
      if (i + 1 < row.size()) line.append(widths[i] - Width(row[i]) + 2, ' ');
    }
    std::cout << line << '\n';
  }
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

std::string TimeText(ArchiveTime archiveTime, TimeFormat format) {
  if (format == TimeFormat::kInteger || archiveTime >= kEndOfYear9999)
    return std::to_string(archiveTime);
  const QDateTime time = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(archiveTime), Qt::UTC);
  return time.toString(QLatin1String("yyyy-MM-dd'T'HH:mm:ss.zzz'Z'")).toUtf8().constData();
}

nlohmann::ordered_json TimeJson(ArchiveTime archiveTime, TimeFormat format) {
  if (format == TimeFormat::kInteger) return archiveTime;
  return TimeText(archiveTime, format);
}

std::string Counted(std::uint64_t count, const char* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string Escaped(const std::string& text) {
  QString shown;
  for (const QChar character : QString::fromUtf8(text.data(), static_cast<int>(text.size()))) {
    if (IsControl(character)) {
      shown += QString::asprintf("\\u%04x", static_cast<unsigned>(character.unicode()));
    } else {
      shown += character;
    }
  }
  return shown.toUtf8().constData();
}

void PrintTable(const std::vector<std::vector<std::string>>& rows,
                const std::map<std::string, Colour>& colours) {
  PrintRows(rows, [&rows, &colours](std::size_t row, std::size_t column) {
    if (row == 0) return kBold;
    const auto colour = colours.find(rows[row][column]);
    if (colour == colours.end()) return kPlain;
    return colour->second == Colour::kRed ? kRed : kYellow;
  });
}

void PrintLabelled(const std::vector<std::vector<std::string>>& rows) {
  PrintRows(rows, [](std::size_t, std::size_t column) { return column == 0 ? kBold : kPlain; });
}

void PrintCsv(const std::vector<std::vector<std::string>>& rows) {
  for (const auto& row : rows) {
    std::string line;
    for (const std::string& cell : row) line += (&cell == &row.front() ? "" : ",") + CsvCell(cell);
    std::cout << line << '\n';
  }
}

std::string JsonText(const nlohmann::ordered_json& value) {
  // In a JSON text such characters stand within strings only.
  return WithJsonEscapes(PlainJsonText(value));
}

std::string PlainJsonText(const nlohmann::ordered_json& value) {
  constexpr int kCompact = -1;
  constexpr bool kOnlyAscii = false;
  return value.dump(kCompact, ' ', kOnlyAscii, nlohmann::ordered_json::error_handler_t::replace);
}

void PrintJsonLine(const nlohmann::ordered_json& value) {
  std::cout << JsonText(value) << '\n';
}

void PrintPlainJsonLine(const nlohmann::ordered_json& value) {
  std::cout << PlainJsonText(value) << '\n';
}
