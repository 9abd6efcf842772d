#include "verbs/new_archives_output.h"

#include "json/json_line.h"
#include "output/tables.h"
#include "sources/archive_source.h"
#include "text/shown_text.h"

void PrintTable(const std::vector<NewArchive>& archives, TimeFormat times) {
  std::vector<std::vector<std::string>> rows{{"file", "start", "end", "entries", "bytes"}};
  for (const NewArchive& archive : archives) {
    rows.push_back({Escaped(archive_source::FileName(archive.path)), TimeText(archive.start, times),
                    TimeText(archive.end, times), std::to_string(archive.entries),
                    std::to_string(archive.bytes)});
  }
  PrintTable(rows);
}

Json AsJson(const std::vector<NewArchive>& archives, TimeFormat times) {
  Json list = Json::array();
  for (const NewArchive& archive : archives) {
    Json file;
    file["file"] = archive_source::FileName(archive.path);
    file["start"] = TimeJson(archive.start, times);
    file["end"] = TimeJson(archive.end, times);
    file["entries"] = archive.entries;
    file["bytes"] = archive.bytes;
    list.push_back(std::move(file));
  }
  return list;
}
