#include "verbs/mend.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>

#include "json/json_line.h"
#include "output/notice.h"
#include "output/output_refusal.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "system/file_data.h"
#include "text/shown_text.h"
#include "verbs/mended_copy.h"
#include "verbs/new_archives_output.h"

namespace {

const char* Name(Mended::FirstHeader header) {
  switch (header) {
    case Mended::FirstHeader::kRestored:
      return "restored";
    case Mended::FirstHeader::kLater:
      return "later";
    case Mended::FirstHeader::kWhole:
      break;
  }
  return "whole";
}

Json OptionalTime(const std::optional<ArchiveTime>& time, TimeFormat times) {
  return time ? TimeJson(*time, times) : Json(nullptr);
}

void TellAsJson(const std::string& source, const Mended& mended,
                const std::vector<NewArchive>& archives, TimeFormat times) {
  Json losses = Json::array();
  for (const Loss& loss : mended.losses.Kept()) {
    Json each;
    each["cause"] = Name(loss.cause);
    each["position"] = loss.position;
    each["bytes"] = loss.bytes;
    each["from"] = OptionalTime(loss.before, times);
    each["to"] = OptionalTime(loss.after, times);
    losses.push_back(std::move(each));
  }
  Json json;
  json["source"] = source;
  json["files"] = AsJson(archives, times);
  json["entries"] = mended.entries;
  json["damagedEntries"] = mended.damagedEntries;
  json["lostBytes"] = mended.losses.Bytes();
  json["header"] = Name(mended.firstHeader);
  json["moreLosses"] = mended.losses.Count() - mended.losses.Kept().size();
  json["losses"] = std::move(losses);
  PrintJsonLine(json);
}

std::string Text(const std::optional<ArchiveTime>& time, TimeFormat times) {
  return time ? TimeText(*time, times) : "-";
}

void PrintLosses(const LossList& losses, TimeFormat times) {
  std::vector<std::vector<std::string>> rows{{"lost", "position", "bytes", "from", "to"}};
  for (const Loss& loss : losses.Kept()) {
    rows.push_back({Name(loss.cause), std::to_string(loss.position), std::to_string(loss.bytes),
                    Text(loss.before, times), Text(loss.after, times)});
  }
  PrintTable(rows);
  if (losses.Count() > losses.Kept().size())
    fmt::print("and {} more\n", losses.Count() - losses.Kept().size());
  std::cout << '\n';
}

void TellAsText(const Mended& mended, const std::vector<NewArchive>& archives, TimeFormat times) {
  if (mended.losses.Count() > 0) PrintLosses(mended.losses, times);
  PrintTable(archives, times);
  std::cout.flush();
}

void TellLosses(const Mended& mended) {
  if (mended.firstHeader == Mended::FirstHeader::kRestored) {
    PrintNotice("the stream header at the start is damaged, and was restored from what is left");
  } else if (mended.firstHeader == Mended::FirstHeader::kLater) {
    PrintNotice(
        fmt::format("the stream header at the start is lost; the one at byte {}, which declares "
                    "the data of the "
                    "entries before it, replaces it",
                    mended.laterHeader.value_or(0)));
  }
  if (mended.losses.Count() == 0) return;
  PrintNotice(fmt::format("{} lost in {}; {} damaged", Counted(mended.losses.Bytes(), "byte"),
                          Counted(mended.losses.Count(), "place"),
                          Counted(mended.damagedEntries, "entry", "entries")));
}

// Finds the archive, before anything is written.
std::string Located(const std::string& file) {
  const std::string path = archive_source::Locate(file);
  if (archive_source::IsFolder(path))
    throw Failure(path + " is a folder; mend takes one archive file");
  return path;
}

}  // namespace

int RunMend(const MendOptions& options) {
  const std::string path = Located(options.file);
  PlainFile file;
  if (!file.Open(path, PlainFile::Mode::kRead)) throw Failure("cannot open " + path);
  ProgressBar progress;
  WorkState work;
  work.what = "mending";
  work.name = archive_source::FileName(path);
  work.all = DataBytes(file.Handle(), 0, file.Size());
  const auto onBytes = [&work, &progress](std::uint64_t bytes) {
    work.done += bytes;
    progress.Show(work);
  };
  const auto refuse = [&path](const std::string& output) {
    const std::vector<std::string> source{path};
    RefuseToHarm(source, output);
    RefuseToShareIndex(source, output);
  };
  NewArchives archives({options.output, false, options.mayReplace}, refuse);
  archives.Begin();
  const Mended mended = CopyWhatIsWhole(file, &archives.File(), onBytes);
  if (mended.entries == 0) throw Failure("no entry of " + path + " is whole");
  archives.End(mended.entries);
  progress.Clear();
  archives.TakeNames();
  if (options.style.format == OutputFormat::kJson) {
    TellAsJson(path, mended, archives.Ended(), options.style.Times());
  } else {
    TellAsText(mended, archives.Ended(), options.style.Times());
  }
  TellLosses(mended);
  return mended.IsWhole() ? kExitDone : kExitDamaged;
}
