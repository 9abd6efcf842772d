#include "sources/checked_archives.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace {

constexpr std::string_view kTitle = "zel3 checked 1";
constexpr char kNoFile[] = "-";

bool StandsForItself(unsigned char byte) {
  return byte > ' ' && byte < 0x7f && byte != '%';
}

std::string EscapedName(const std::string& name) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string escaped;
  for (const char character : name) {
    const auto byte = static_cast<unsigned char>(character);
    if (StandsForItself(byte)) {
      escaped += character;
    } else {
      escaped += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return escaped;
}

template <class Integer>
void AppendNumber(Integer value, std::string* text) {
  *text += ' ';
  *text += std::to_string(value);
}

void AppendFile(const FileIdentity& file, std::string* text) {
  if (file == FileIdentity()) {
    *text += ' ';
    *text += kNoFile;
    return;
  }
  AppendNumber(file.size, text);
  AppendNumber(file.inode, text);
  AppendNumber(file.device, text);
  AppendNumber(file.modified, text);
  AppendNumber(file.changed, text);
}

void AppendFacts(const CheckedFacts& facts, std::string* text) {
  for (const std::uint64_t number :
       {facts.entryCount, facts.start, facts.end, facts.step, facts.misplaced}) {
    AppendNumber(number, text);
  }
}

// Takes the first part of a text, up to a separator; the text keeps what follows.
std::string_view TakePart(char separator, std::string_view* text) {
  const std::size_t end = text->find(separator);
  const std::string_view part = text->substr(0, end);
  text->remove_prefix(end == std::string_view::npos ? text->size() : end + 1);
  return part;
}

template <class Integer>
bool ReadNumber(std::string_view part, Integer* value, int base = 10) {
  const char* const end = part.data() + part.size();
  const auto [parsedTo, failure] = std::from_chars(part.data(), end, *value, base);
  return failure == std::errc() && parsedTo == end;
}

template <class Integer>
bool TakeNumber(std::string_view* line, Integer* value) {
  return ReadNumber(TakePart(' ', line), value);
}

bool TakeFile(std::string_view* line, FileIdentity* file) {
  std::string_view rest = *line;
  if (TakePart(' ', &rest) == kNoFile) {
    *line = rest;
    return true;
  }
  return TakeNumber(line, &file->size) && TakeNumber(line, &file->inode) &&
         TakeNumber(line, &file->device) && TakeNumber(line, &file->modified) &&
         TakeNumber(line, &file->changed);
}

// Reads the facts from the rest of a line, all of it.
bool ReadFacts(std::string_view line, CheckedFacts* facts) {
  return TakeNumber(&line, &facts->entryCount) && TakeNumber(&line, &facts->start) &&
         TakeNumber(&line, &facts->end) && TakeNumber(&line, &facts->step) &&
         ReadNumber(line, &facts->misplaced);
}

bool TakeName(std::string_view* line, std::string* name) {
  std::string_view escaped = TakePart(' ', line);
  while (!escaped.empty()) {
    auto byte = static_cast<unsigned char>(escaped.front());
    std::size_t length = 1;
    if (byte == '%') {
      length = 3;
      if (escaped.size() < length || !ReadNumber(escaped.substr(1, 2), &byte, 16)) return false;
    } else if (!StandsForItself(byte)) {
      return false;
    }
    *name += static_cast<char>(byte);
    escaped.remove_prefix(length);
  }
  return !name->empty();
}

bool ReadTitle(std::string_view line, std::uint64_t* countAtLook) {
  if (line.substr(0, kTitle.size()) != kTitle) return false;
  line.remove_prefix(kTitle.size());
  return !line.empty() && TakePart(' ', &line).empty() && ReadNumber(line, countAtLook);
}

bool ReadLine(std::string_view line, CheckedArchives* archives) {
  std::string name;
  CheckedArchive archive;
  ArchiveIdentity& identity = archive.identity;
  if (!TakeName(&line, &name) || !TakeFile(&line, &identity.archive) ||
      !TakeFile(&line, &identity.entries) || !TakeFile(&line, &identity.headers) ||
      !TakeFile(&line, &identity.events) || !ReadFacts(line, &archive.facts)) {
    return false;
  }
  return archives->byName.emplace(std::move(name), archive).second;
}

// A name and four files, as they are now, and any facts that are numbers.
bool IsEarlierLine(std::string_view line) {
  std::string name;
  FileIdentity file;
  if (!TakeName(&line, &name)) return false;
  for (int i = 0; i < 4; ++i) {
    if (!TakeFile(&line, &file)) return false;
  }
  std::uint64_t fact = 0;
  bool areNumbers = !line.empty();
  while (areNumbers && !line.empty()) areNumbers = TakeNumber(&line, &fact);
  return areNumbers;
}

}  // namespace

std::string CheckedText(const CheckedArchives& archives) {
  std::string text(kTitle);
  AppendNumber(archives.countAtLook, &text);
  text += '\n';
  for (const auto& [name, archive] : archives.byName) {
    text += EscapedName(name);
    AppendFile(archive.identity.archive, &text);
    AppendFile(archive.identity.entries, &text);
    AppendFile(archive.identity.headers, &text);
    AppendFile(archive.identity.events, &text);
    AppendFacts(archive.facts, &text);
    text += '\n';
  }
  return text;
}

bool IsEarlierChecked(const std::string& text) {
  std::uint64_t countAtLook = 0;
  std::string_view left = text;
  if (left.empty() || left.back() != '\n' || !ReadTitle(TakePart('\n', &left), &countAtLook))
    return false;
  while (!left.empty()) {
    if (!IsEarlierLine(TakePart('\n', &left))) return false;
  }
  return true;
}

bool BeginsAsChecked(const std::string& text) {
  const std::size_t size = std::min(text.size(), kTitle.size());
  return text.compare(0, size, kTitle, 0, size) == 0;
}

std::optional<CheckedArchives> CheckedFromText(const std::string& text) {
  CheckedArchives archives;
  std::string_view left = text;
  if (left.empty() || left.back() != '\n' ||
      !ReadTitle(TakePart('\n', &left), &archives.countAtLook))
    return std::nullopt;
  while (!left.empty()) {
    if (!ReadLine(TakePart('\n', &left), &archives)) return std::nullopt;
  }
  return archives;
}
