#include "verbs/events_follow.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "archive/event_types.h"
#include "json/json_line.h"
#include "output/live_output.h"
#include "output/notice.h"
#include "output/tables.h"
#include "sources/followed_archives.h"
#include "system/failure.h"
#include "system/interruption.h"
#include "text/shown_text.h"
#include "verbs/follow_range.h"

namespace {

// Prints each event at once. Columns are wide enough for every kind of event.
class LiveEvents {
 public:
  LiveEvents(const OutputStyle& style, const FollowedFiles* files)
      : mFormat(style.format), mTimes(style.Times()), mFiles(*files) {
    for (const std::string& name : event_types::Names())
      mTypeWidth = std::max(mTypeWidth, name.size());
  }

  void Print(const RecordedEvent& event, std::size_t source) {
    const std::string time = TimeText(event.time, mTimes);
    const std::string type = event_types::Name(event.type);
    if (mFormat == OutputFormat::kJsonLines) {
      Json json;
      if (mFiles.AreMany()) json["source"] = mFiles.Sources()[source];
      json["time"] = TimeJson(event.time, mTimes);
      json["type"] = type;
      json["text"] = event.text;
      PrintJsonLine(json);
    } else {
      if (!std::exchange(mHasHeadings, true)) PrintRow("time", "type", "text", "source", time);
      PrintRow(time, type, Escaped(event.text), Escaped(mFiles.Sources()[source]), time);
    }
    FlushLiveOutput();
  }

 private:
  // `width`: a text as wide as times.
  void PrintRow(const std::string& time, const std::string& type, const std::string& text,
                const std::string& source, const std::string& width) const {
    if (mFormat == OutputFormat::kCsv) {
      std::vector<std::string> row{time, type, text};
      if (mFiles.AreMany()) row.insert(row.begin(), source);
      PrintCsv({row});
    } else {
      if (mFiles.AreMany()) std::cout << source << "  ";
      std::cout << fmt::format("{:{}}  {:{}}  {}\n", time, width.size(), type, mTypeWidth, text);
    }
  }

  const OutputFormat mFormat;
  const TimeFormat mTimes;
  const FollowedFiles& mFiles;
  std::size_t mTypeWidth = 0;
  bool mHasHeadings = false;
};

// The events of one archive.
class EventRecords : public FollowedRecords {
 public:
  // `source`: number of its timeline.
  using OnLiveEvent = std::function<void(const RecordedEvent& event, std::size_t source)>;

  EventRecords(std::size_t source, OnLiveEvent onEvent)
      : mSource(source), mOnEvent(std::move(onEvent)) {}

  void MovedTo(const FollowedFile& file) override { mSource = file.source; }
  void Begin() override { mEvent.time = 0; }
  void OnHeader(FilePosition /*position*/, const ArchiveHeader& /*header*/) override {}
  void OnIndex(FilePosition /*position*/, const IDX_T& index) override {
    mEvent.time = ToArchiveTime(index.time);
  }
  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* payload,
              Tag kind) override {
    if (kind != tag::kData) return;
    mEvent.type = head.type;
    mEvent.text.assign(reinterpret_cast<const char*>(payload), head.length);
    mOnEvent(mEvent, mSource);
  }
  void OnEmptyData(FilePosition /*position*/, std::uint64_t /*count*/, Tag /*kind*/) override {}

 private:
  std::size_t mSource;
  const OnLiveEvent mOnEvent;
  RecordedEvent mEvent;
};

}  // namespace

int FollowEvents(const EventsOptions& options) {
  if (options.style.format == OutputFormat::kJson) {
    throw Failure("--format json would never end with --follow; use jsonl", kExitUsage);
  }
  const std::optional<ArchiveTime> from = FollowedFrom(options.range);
  interruption::WatchTermination();
  FollowedFiles files(options.sources, PrintNotice);
  LiveEvents printer(options.style, &files);
  const auto isWanted = [&](const RecordedEvent& event) {
    return event.time >= from.value_or(0) &&
           (options.types.empty() || std::find(options.types.begin(), options.types.end(),
                                               event.type) != options.types.end());
  };
  FollowedArchives archives(
      &files,
      [&](const FollowedFile& file) {
        return std::make_unique<EventRecords>(file.source,
                                              [&](const RecordedEvent& event, std::size_t source) {
                                                if (isWanted(event)) printer.Print(event, source);
                                              });
      },
      PrintNotice);
  archives.Follow(
      [&](const std::vector<FollowedArchives::Found>& found) {
        for (const FollowedArchives::Found& each : found) {
          if (!from) each.archive->BeginAtEnd();
        }
        FlushLiveOutput();
      },
      STDOUT_FILENO);
  EndWithoutReader();
}
