#include "verbs/read_follow.h"

#include <unistd.h>

#include <iostream>
#include <limits>

#include "archive/entry_at_end.h"
#include "output/live_output.h"
#include "output/notice.h"
#include "output/output_file.h"
#include "output/output_refusal.h"
#include "output/recording_file.h"
#include "sources/followed_archives.h"
#include "system/failure.h"
#include "system/interruption.h"
#include "text/shown_text.h"
#include "verbs/follow_range.h"
#include "verbs/live_archive.h"

namespace {

using FoundArchive = FollowedArchives::Found;

void BeginAtEntry(const FoundArchive& found, ArchiveTime time) {
  PlainFile file;
  if (!file.Open(found.file.path, PlainFile::Mode::kRead)) return;
  found.archive->BeginAt(LastEntry(file, file.Size(), time));
}

// Everything from the entry at or before `time` on or, when everything is earlier, the last entry.
void BeginFrom(const std::vector<FoundArchive>& found, ArchiveTime time) {
  const FoundArchive* last = nullptr;
  bool goesOn = false;
  for (const FoundArchive& each : found) {
    if (!each.end) continue;
    goesOn = goesOn || (*each.start <= time && time <= *each.end);
    if (*each.end < time && (last == nullptr || *last->end <= *each.end)) last = &each;
  }
  for (const FoundArchive& each : found) {
    if (!each.end || *each.start >= time) continue;
    if (*each.end >= time || (&each == last && !goesOn)) {
      BeginAtEntry(each, time);
    } else {
      each.archive->BeginAtEnd();
    }
  }
}

void RefuseToHarmArchives(const std::vector<FoundArchive>& found, const std::string& target) {
  if (OutputFile::IsStandardOutput(target)) return;
  std::vector<std::string> paths;
  for (const FoundArchive& each : found) paths.push_back(each.file.path);
  RefuseToHarm(paths, target);
}

void FlushIfPossible(LiveArchive* archive) {
  try {
    archive->Flush();
  } catch (const Failure& failure) {
    PrintNotice(failure.what());
  }
}

std::string TargetOf(const ReadOptions& options) {
  if (!options.output.empty()) return options.output;
  if (isatty(STDOUT_FILENO) == 1) {
    throw Failure("archive bytes do not go to a terminal: use -o FILE, or -o - to insist",
                  kExitUsage);
  }
  return "-";
}

}  // namespace

int FollowBytes(const ReadOptions& options) {
  const std::optional<ArchiveTime> from = FollowedFrom(options.range);
  if (options.stopAtGap || options.style.format != OutputFormat::kText) {
    throw Failure(
        "--follow goes on until it is interrupted; it cannot be used with --stop-at-gap or "
        "--format json",
        kExitUsage);
  }
  const std::string target = TargetOf(options);
  interruption::WatchTermination();
  FollowedFiles files(options.sources, PrintNotice);
  if (files.AreMany()) {
    throw Failure("read takes one timeline, but these may be several; --merge makes one of them",
                  kExitUsage);
  }
  RecordingFile output(target);
  LiveArchive archive([&](const std::vector<unsigned char>& bytes) { output.Write(bytes); });
  FollowedArchives archives(
      &files, [&](const FollowedFile&) { return archive.RecordsOf(); }, PrintNotice);
  const auto begin = [&](const std::vector<FoundArchive>& found) {
    RefuseToHarmArchives(found, target);
    BeginFrom(found, from.value_or(std::numeric_limits<ArchiveTime>::max()));
  };
  try {
    archives.Follow(begin, OutputFile::IsStandardOutput(target) ? STDOUT_FILENO : -1);
  } catch (const Failure& failure) {
    // A recording is kept, whatever ends it. An interrupt is the normal end; a second one discards
    // what has been written.
    const bool isInterrupted = failure.Code() == kExitInterrupted;
    if (isInterrupted) interruption::Forget();
    if (isInterrupted) FlushIfPossible(&archive);
    const std::string name = output.Finish();
    if (!name.empty() && name != target)
      PrintNotice(Escaped(target) + " is now another file; what was read is in " + Escaped(name));
    if (isInterrupted || output.BytesWritten() > 0) {
      std::cerr << Counted(archive.Entries(), "entry", "entries") << ", " << output.BytesWritten()
                << " bytes\n";
    }
    throw;
  }
  EndWithoutReader();
}
