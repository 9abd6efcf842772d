// The page about any archive, under any name, with anything under the names of its cache files: its
// elements are whole and nothing else is, no text ends the data of its script, the data and the
// tables tell what was collected, and an index that is kept is that of the archive.

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>

#include "archive/event_types.h"
#include "archive/exact_index.h"
#include "archive_input.h"
#include "fit_text.h"
#include "fuzz_folder.h"
#include "hostile_cache.h"
#include "page/page_assets.h"
#include "page/report_data.h"
#include "page/report_page.h"
#include "sources/served_source.h"
#include "support/folder_reader.h"
#include "system/failure.h"
#include "text/json_text.h"
#include "text/shown_text.h"

namespace {

class NoProgress : public Progress {
 public:
  void Show(const WorkState& /*state*/) override {}
  void Clear() override {}
};

// A fuzzer counts what is reached of a library, also once that is unloaded: so it is not.
void KeepPlugIns() {
  for (const char* const name : {"/zel3reader.so", "/zel3parser.so"})
    dlopen((HostOfThisBuild().pluginFolder + name).c_str(), RTLD_NOW | RTLD_NODELETE);
}

// The page without what is the same in all.
std::string OwnPartOf(std::string page) {
  for (const char* const asset : {page_assets::kStyle, page_assets::kScript}) {
    const std::size_t at = page.find(asset);
    FUZZ_REQUIRE(at != std::string::npos);
    page.erase(at, std::strlen(asset));
  }
  return page;
}

// Goes through HTML from element to element.
class Elements {
 public:
  explicit Elements(const std::string& html) : mHtml(html) {}

  // All that are opened are closed in their order, and texts hold no markup.
  void Check() {
    std::vector<std::string> open;
    while (mPlace < mHtml.size()) {
      if (mHtml[mPlace] == '<') {
        TakeTag(&open);
      } else {
        // The data of the script is no HTML.
        TakeText(!open.empty() && open.back() == "script");
      }
    }
    FUZZ_REQUIRE(open.empty());
  }

 private:
  void TakeTag(std::vector<std::string>* open) {
    const std::size_t end = EndOfTag();
    std::string tag = mHtml.substr(mPlace + 1, end - mPlace - 1);
    mPlace = end + 1;
    const bool closes = tag[0] == '/';
    if (closes) tag.erase(0, 1);
    const std::string name = tag.substr(0, tag.find(' '));
    static const std::set<std::string> kKnown{
        "a",     "body",  "button", "div",  "footer",   "h1",    "h2",     "head",    "header",
        "html",  "i",     "kbd",    "main", "noscript", "p",     "script", "section", "span",
        "style", "table", "tbody",  "td",   "th",       "thead", "title",  "tr"};
    if (name == "!DOCTYPE" || name == "meta") return;
    FUZZ_REQUIRE(kKnown.count(name) == 1);
    if (!closes) return open->push_back(name);
    FUZZ_REQUIRE(!open->empty() && open->back() == name);
    open->pop_back();
  }

  std::size_t EndOfTag() const {
    bool isQuoted = false;
    for (std::size_t at = mPlace; at < mHtml.size(); ++at) {
      if (mHtml[at] == '"') isQuoted = !isQuoted;
      if (mHtml[at] == '>' && !isQuoted) return at;
    }
    FUZZ_REQUIRE(!"a tag ends");
    return mHtml.size();
  }

  void TakeText(bool isScript) {
    const std::size_t end = std::min(mHtml.find('<', mPlace), mHtml.size());
    const std::string text = mHtml.substr(mPlace, end - mPlace);
    mPlace = end;
    if (isScript) return;
    FUZZ_REQUIRE(text.find('>') == std::string::npos);
    for (std::size_t at = text.find('&'); at != std::string::npos; at = text.find('&', at + 1)) {
      const std::string reference = text.substr(at, text.find(';', at) - at + 1);
      static const std::set<std::string> kKnown{"&amp;", "&lt;", "&gt;", "&quot;"};
      FUZZ_REQUIRE(kKnown.count(reference) == 1);
    }
  }

  const std::string& mHtml;
  std::size_t mPlace = 0;
};

std::size_t CountOf(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
    ++count;
  return count;
}

std::string Between(const std::string& text, const std::string& before, const std::string& after) {
  const std::size_t at = text.find(before);
  if (at == std::string::npos) return "";
  const std::size_t begin = at + before.size();
  return text.substr(begin, text.find(after, begin) - begin);
}

std::size_t RowsIn(const std::string& page, const std::string& section) {
  const std::string table = Between(page, "<section id=\"" + section + "\"", "</section>");
  return CountOf(Between(table, "<tbody>", "</tbody>"), "<tr>");
}

void CheckPage(const ReportData& report, const std::string& whole) {
  const std::string page = OwnPartOf(whole);
  FUZZ_REQUIRE(IsFitText(page));
  Elements(page).Check();
  FUZZ_REQUIRE(CountOf(page, "</script") == 2);
  FUZZ_REQUIRE(RowsIn(page, "files") == report.files.size());
  FUZZ_REQUIRE(RowsIn(page, "findings") == report.findings.items.size());
  FUZZ_REQUIRE(RowsIn(page, "events") == report.events.items.size());
  const Json data =
      Json::parse(Between(page, "<script type=\"application/json\" id=\"report\">", "</script>"));
  FUZZ_REQUIRE(data["events"].size() == report.events.items.size());
  for (std::size_t i = 0; i < report.events.items.size(); ++i) {
    const RecordedEvent& event = report.events.items[i];
    FUZZ_REQUIRE(data["events"][i]["time"] == event.time);
    FUZZ_REQUIRE(data["events"][i]["type"] == event_types::Name(event.type));
    FUZZ_REQUIRE(data["events"][i]["text"] == Escaped(event.text));
  }
  for (const Json& stream : data["streams"])
    FUZZ_REQUIRE(stream["levels"].size() == report.fineBins.count);
}

void CheckCollected(const ReportData& report, const SourceFacts& source, bool isIndexKept) {
  for (const ReportFile& file : report.files) {
    FUZZ_REQUIRE(file.facts.startTime <= file.facts.endTime);
    if (!file.indexed || !isIndexKept) continue;
    FUZZ_REQUIRE(IsExactIndex(source.CacheOf(file.facts.path), file.facts.path));
  }
  FUZZ_REQUIRE(report.events.count >= report.events.items.size());
  FUZZ_REQUIRE(!report.range || report.range->from < report.range->to);
}

std::string NameFrom(FuzzInput* choices) {
  std::string name = choices->RestAsText();
  for (char& character : name) {
    if (character == '/' || character == '\0') character = '_';
  }
  return "cam" + name;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder process;
  static const bool keepsPlugIns = (KeepPlugIns(), true);
  const std::string folder = process / "source";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
  ArchiveInput input(bytes, size);
  const std::uint8_t choices = input.choices.Byte();
  std::optional<ArchiveTime> from;
  std::optional<ArchiveTime> to;
  if ((choices & 1) != 0) from = input.choices.Byte() * 1000;
  if ((choices & 2) != 0) to = from.value_or(0) + 1 + input.choices.Byte() * 1000;
  FuzzInput cacheChoices = input.choices;
  const std::string path = folder + "/" + NameFrom(&input.choices) + ".zel3";
  WriteFile(path, input.archive);
  WriteHostileCache(path, input.archive, &cacheChoices);

  std::optional<ReportData> report;
  bool isIndexKept = true;
  try {
    ServedSource source(HostOfThisBuild(), (choices & 4) != 0 ? path : folder,
                        MissingIndexes::kBuild, [&isIndexKept](const std::string& notice) {
                          if (notice.find("cannot be kept") != std::string::npos)
                            isIndexKept = false;
                        });
    NoProgress progress;
    report = CollectReport(&source, from, to, &progress);
    CheckCollected(*report, source.Facts(), isIndexKept);
  } catch (const Failure& failure) {
    FUZZ_REQUIRE(IsFitText(Escaped(failure.what())));
    return 0;
  }
  FUZZ_REQUIRE(ReadFile(path) == input.archive);
  CheckPage(*report,
            ReportPage(*report, (choices & 8) != 0 ? TimeFormat::kIso : TimeFormat::kInteger));
  return keepsPlugIns ? 0 : 1;
}
