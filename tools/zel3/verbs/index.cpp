#include "verbs/index.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "archive/damage_scan.h"
#include "client/progress_of_files.h"
#include "client/timeline.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "system/failure.h"
#include "system/interruption.h"
#include "text/shown_text.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"
#include "verbs/index_watch.h"

namespace {

using State = ServedArchive::State;

const char* Name(State state) {
  switch (state) {
    case State::kCached:
      return "cached";
    case State::kIndexed:
      return "indexed";
    case State::kNotIndexed:
    case State::kLeftOut:
      break;
  }
  return "failed";
}

// By path; of the archives whose indexes have just been built.
using DamageByPath = std::map<std::string, Damage>;

DamageByPath FindDamage(Timeline* timeline, Progress* progress) {
  DamageByPath found;
  for (std::size_t number = 0; number < timeline->Archives().size(); ++number) {
    const ServedArchive& archive = timeline->Archives()[number];
    if (archive.state != State::kIndexed) continue;
    const Damage damage = found[archive.path] =
        archive.damage ? *archive.damage : ShownDamageOf(archive.path, progress);
    if (damage.damaged > 0) {
      timeline->Doubt(number, "has " + Counted(damage.damaged, "damaged byte") +
                                  "; what they held is not in its index");
    }
    if (damage.cutOff > 0) {
      timeline->Doubt(number, "ends within a record; its " + Counted(damage.cutOff, "byte") +
                                  " are not in its index");
    }
  }
  return found;
}

// All files of the source by name; those that are not archives count as left out.
std::vector<ServedArchive> FilesByName(const Timeline& timeline, const SourceFacts& source) {
  std::map<std::string, ServedArchive> byPath;
  for (const ServedArchive& archive : timeline.Archives()) byPath[archive.path] = archive;
  std::vector<ServedArchive> files;
  for (const std::string& path : source.Files()) {
    ServedArchive& file = byPath[path];
    const auto other = source.Others().find(path);
    if (other != source.Others().end()) {
      file.path = path;
      file.state = State::kLeftOut;
      file.why = other->second;
    }
    files.push_back(file);
  }
  return files;
}

Json AsJson(const SourceFacts& source, const ServedArchive& file, const DamageByPath& damage,
            TimeFormat times) {
  Json json;
  json["file"] = source.NameOf(file.path);
  json["state"] = Name(file.state);
  if (file.HasIndex()) {
    json["start"] = TimeJson(file.start, times);
    json["end"] = TimeJson(file.end, times);
    json["entries"] = file.entries;
    const auto found = damage.find(file.path);
    const bool isKnown = found != damage.end();
    json["damagedBytes"] = isKnown ? Json(found->second.damaged) : Json(nullptr);
    json["cutOffBytes"] = isKnown ? Json(found->second.cutOff) : Json(nullptr);
  } else {
    json["why"] = file.why;
  }
  return json;
}

void PrintAsJson(AskedSource* asked, const SourceFacts& source,
                 const std::vector<ServedArchive>& files, const DamageByPath& damage,
                 TimeFormat times) {
  Json list = Json::array();
  for (const ServedArchive& file : files) list.push_back(AsJson(source, file, damage, times));
  Json json;
  json["source"] = source.Path();
  json["files"] = std::move(list);
  asked->PrintJson(json);
}

// The last column is there only when a file has failed.
constexpr std::size_t kColumnsWithWhy = 6;

void PrintAsText(AskedSource* asked, const SourceFacts& source,
                 const std::vector<ServedArchive>& files, TimeFormat times) {
  asked->BeginText();
  std::vector<std::vector<std::string>> rows{{"file", "state", "start", "end", "entries"}};
  for (const ServedArchive& file : files) {
    const std::string name = Escaped(source.NameOf(file.path));
    if (file.HasIndex()) {
      rows.push_back({name, Name(file.state), TimeText(file.start, times),
                      TimeText(file.end, times), std::to_string(file.entries)});
    } else {
      rows.front().resize(kColumnsWithWhy, "why");
      rows.push_back({name, Name(file.state), "-", "-", "-", Escaped(file.why)});
    }
  }
  PrintTable(rows, {{"failed", Colour::kRed}});
}

int Index(const HostOptions& host, const IndexOptions& options, AskedSource* asked) {
  ServedSource source(host, asked->Given(), MissingIndexes::kBuild, asked->Teller());
  if (options.refresh) source.DropIndexes();
  ProgressBar progress;
  Timeline timeline(&source, &progress);
  timeline.IndexAll({options.jobs, true});
  const DamageByPath damage = FindDamage(&timeline, &progress);
  const std::vector<ServedArchive> files = FilesByName(timeline, source.Facts());
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(asked, source.Facts(), files, damage, options.style.Times());
  } else if (options.style.format == OutputFormat::kJsonLines) {
    for (const ServedArchive& file : files)
      asked->PrintJsonRow(AsJson(source.Facts(), file, damage, options.style.Times()));
  } else {
    PrintAsText(asked, source.Facts(), files, options.style.Times());
  }
  const bool anyIndexed = std::any_of(files.begin(), files.end(),
                                      [](const ServedArchive& file) { return file.HasIndex(); });
  if (!anyIndexed) return kExitFailed;
  return timeline.IsWhole() ? kExitDone : kExitDamaged;
}

}  // namespace

int RunIndex(const HostOptions& host, const IndexOptions& options) {
  if (options.watch) return WatchAndIndex(host, options);
  // The progress line must end with this process, and so must other processes.
  if (options.jobs > 1) {
    interruption::WatchAllEndings();
  } else {
    interruption::WatchTermination();
  }
  return AnswerForEach(options.sources, options.style.format,
                       [&](AskedSource* asked) { return Index(host, options, asked); });
}
