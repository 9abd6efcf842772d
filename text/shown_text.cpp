#include "text/shown_text.h"

#include <QString>

namespace {

bool IsControl(QChar character) {
  return character.category() == QChar::Other_Control ||
         character.category() == QChar::Other_Format;
}

}  // namespace

std::string Counted(std::uint64_t count, const char* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string Counted(std::uint64_t count, const char* one, const char* many) {
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
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
