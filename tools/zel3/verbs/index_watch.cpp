#include "verbs/index_watch.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <optional>
#include <vector>

#include "archive/damage_scan.h"
#include "client/timeline.h"
#include "json/json_line.h"
#include "output/live_output.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "sources/archive_source.h"
#include "sources/finished_files.h"
#include "sources/followed_files.h"
#include "system/failure.h"
#include "system/file_status.h"
#include "system/interruption.h"
#include "text/shown_text.h"
#include "times/time_text.h"

namespace {

using Clock = FinishedFiles::Clock;

// When a file was last written to, and how long it was then.
struct Writing {
  std::int64_t seconds = 0;
  std::uint32_t nanoseconds = 0;
  std::uint64_t size = 0;

  bool operator==(const Writing& other) const {
    return seconds == other.seconds && nanoseconds == other.nanoseconds && size == other.size;
  }
};

std::optional<Writing> WritingOf(const std::string& path) {
  const auto status = StatusOf(path);
  if (!status) return std::nullopt;
  return Writing{status->stx_mtime.tv_sec, status->stx_mtime.tv_nsec, status->stx_size};
}

class IndexWatch {
 public:
  IndexWatch(const HostOptions& host, const IndexOptions& options)
      : mHost(host), mOptions(options), mFiles(options.sources, PrintNotice) {}

  // Runs until the user interrupts, or nobody reads what is printed.
  void Run() {
    FileNews news;
    news.appeared = mFiles.FindAll();
    std::vector<std::pair<Writing, FollowedFile>> byTime;
    for (const FollowedFile& file : news.appeared)
      byTime.emplace_back(WritingOf(file.path).value_or(Writing()), file);
    std::stable_sort(byTime.begin(), byTime.end(), [](const auto& one, const auto& two) {
      return std::make_pair(one.first.seconds, one.first.nanoseconds) <
             std::make_pair(two.first.seconds, two.first.nanoseconds);
    });
    for (std::size_t i = 0; i < byTime.size(); ++i) news.appeared[i] = byTime[i].second;
    while (!mFiles.IsReaderGone()) {
      Note(news);
      for (const std::string& path : mFinished.Take(Clock::now())) Index(path);
      news = mFiles.Wait(mFinished.Next(), STDOUT_FILENO);
    }
  }

 private:
  void Note(const FileNews& news) {
    mFinished.Renamed(news.renamed);
    std::vector<std::pair<std::string, Known>> moved;
    for (const auto& [from, to] : news.renamed) {
      moved.push_back({to.path, {to.source, mKnown[from].writing}});
      mKnown.erase(from);
    }
    for (const auto& [path, known] : moved) mKnown[path] = known;
    for (const std::string& path : news.gone) {
      mFinished.Gone(path);
      mKnown.erase(path);
    }
    const auto now = Clock::now();
    for (const FollowedFile& file : news.appeared) {
      const std::optional<Writing> writing = WritingOf(file.path);
      if (!writing) continue;
      const std::chrono::seconds age(std::clamp<std::int64_t>(time(nullptr) - writing->seconds, 0,
                                                              FinishedFiles::kQuiet.count()));
      mFinished.Appeared(file.path, now, now - age);
      mKnown[file.path] = {file.source, *writing};
    }
    for (const std::string& path : news.touched) {
      const std::optional<Writing> writing = WritingOf(path);
      if (!writing || mKnown[path].writing == *writing) continue;
      mKnown[path].writing = *writing;
      mFinished.Written(path, now);
    }
  }

  // A file that fails costs only its own index.
  void Index(const std::string& path) {
    try {
      ServedSource source(mHost, GivenSource{path, false, {path}}, MissingIndexes::kBuild,
                          PrintNotice);
      ProgressBar progress;
      Timeline timeline(&source, &progress);
      timeline.IndexAll({1, true});
      const ServedArchive& archive = timeline.Archives().front();
      if (archive.state != ServedArchive::State::kIndexed) return;
      const Damage damage = archive.damage ? *archive.damage : DamageOf(path);
      progress.Clear();
      Tell(path, damage);
      Print(archive, damage);
    } catch (const Failure& failure) {
      if (failure.Code() == kExitInterrupted || failure.Code() == kExitUsage) throw;
      PrintNotice(failure.what());
    }
    FlushLiveOutput();
  }

  static void Tell(const std::string& path, const Damage& damage) {
    const std::string name = archive_source::FileName(path);
    if (damage.damaged > 0) {
      PrintNotice(name + " has " + Counted(damage.damaged, "damaged byte") +
                  "; what they held is not in its index");
    }
    if (damage.cutOff > 0) {
      PrintNotice(name + " ends within a record; its " + Counted(damage.cutOff, "byte") +
                  " are not in its index");
    }
  }

  void Print(const ServedArchive& archive, const Damage& damage) {
    const TimeFormat times = mOptions.style.Times();
    const std::string name = archive_source::FileName(archive.path);
    if (mOptions.style.format == OutputFormat::kJsonLines) {
      Json json;
      if (mFiles.AreMany()) json["source"] = mFiles.Sources()[mKnown[archive.path].source];
      json["file"] = name;
      json["state"] = "indexed";
      json["start"] = TimeJson(archive.start, times);
      json["end"] = TimeJson(archive.end, times);
      json["entries"] = archive.entries;
      json["damagedBytes"] = damage.damaged;
      json["cutOffBytes"] = damage.cutOff;
      PrintJsonLine(json);
      return;
    }
    std::cout << fmt::format(
        "{}  indexed  {}  {}  {}\n", Escaped(mFiles.AreMany() ? archive.path : name),
        TimeText(archive.start, times), TimeText(archive.end, times), archive.entries);
  }

  struct Known {
    std::size_t source = 0;
    Writing writing;
  };

  const HostOptions& mHost;
  const IndexOptions& mOptions;
  FollowedFiles mFiles;
  FinishedFiles mFinished;
  std::map<std::string, Known> mKnown;
};

}  // namespace

int WatchAndIndex(const HostOptions& host, const IndexOptions& options) {
  if (options.style.format == OutputFormat::kJson) {
    throw Failure("--format json would never end with --watch; use jsonl", kExitUsage);
  }
  if (options.jobs > 1 || options.refresh || options.sources.merge) {
    throw Failure(
        "--watch indexes one file at a time, and only those without an index; it cannot be used "
        "with --jobs, --refresh or --merge",
        kExitUsage);
  }
  interruption::WatchTermination();
  IndexWatch(host, options).Run();
  EndWithoutReader();
}
